#include "platform/registry/regformat.h"
#include "runtime/checksum.h"

ULONGLONG ChecksumOfReg( const BYTE* pBytes, size_t nSize ) noexcept
{
    return ChecksumOf( 0x42585245, pBytes, nSize );
}
