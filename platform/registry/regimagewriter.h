// A tree's bytes. What has not been touched is not copied on the way: it is written from where it stands.
#pragma once

#include "platform/registry/regtree.h"

#include <sys/uio.h>

class RegImageWriter
{
public:
    // The tree, the image that it came from, and the writer's own memory must stay until the bytes are written. Throws
    // std::bad_alloc. Result: 0, or 223 when a key is too large for the format.
    LONG Plan( RegTree& rTree );
    // A file of a key alone, with everything below it.
    LONG PlanKey( RegTree& rTree, RegTreeKey& rKey );

    ULONGLONG GetSize() const noexcept { return m_ullSize; }
    // Writes to the file's end. 0, or the error; the file is unusable then.
    LONG WriteTo( int nFile );
    // Exactly GetSize() bytes.
    void CopyTo( BYTE* pBytes ) const noexcept;

private:
    bool Measure( RegTreeKey& rKey );
    void Append( const void* pBytes, size_t nSize );
    void AppendHead( const RegTree& rTree );
    void AppendKey( RegTreeKey& rKey );
    void AppendBlock( RegTreeKey& rKey );

    RegArena m_aArena;
    std::vector<iovec> m_aPieces;
    ULONGLONG m_ullSize = 0;
};
