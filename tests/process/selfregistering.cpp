// A module that registers itself where it may, throws where it is told to, and cannot unregister itself.
#include <bxtools/export.h>
#include <bxtools/wintypes.h>

#include <cstdlib>
#include <cstring>

namespace
{

volatile int g_nRefusals = 0;

// Its destructor is code of the module, which must still be there when it runs.
struct Refusal
{
    ~Refusal() { g_nRefusals = 1; }
};

} // namespace

extern "C" __attribute__( ( visibility( "default" ) ) ) HRESULT DLL_EXPORT DllRegisterServer()
{
    const char* pMay = std::getenv( "BX_MAY_REGISTER" );
    if ( pMay != NULL && std::strcmp( pMay, "throw" ) == 0 )
        throw Refusal();
    return pMay != NULL && *pMay != '\0' ? 0 : static_cast<HRESULT>( 0x80040200 );
}
