// A module that registers itself where it may, and cannot unregister itself.
#include <bxtools/export.h>
#include <bxtools/wintypes.h>

#include <cstdlib>

extern "C" __attribute__( ( visibility( "default" ) ) ) HRESULT DLL_EXPORT DllRegisterServer()
{
    const char* pMay = std::getenv( "BX_MAY_REGISTER" );
    return pMay != NULL && *pMay != '\0' ? 0 : static_cast<HRESULT>( 0x80040200 );
}
