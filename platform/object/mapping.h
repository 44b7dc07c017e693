// Shared memory.
#pragma once

#include "platform/object/namedobjects.h"

#include <memory>

class FileMapping final : public KernelObject
{
public:
    // Of this process only.
    //   nDescriptor  its memory, which the object takes over.
    FileMapping( int nDescriptor, ULONGLONG ullBytes, bool fReadOnly ) noexcept;
    // One with a name.
    explicit FileMapping( std::unique_ptr<NamedObject> pNamed ) noexcept;
    ~FileMapping() override;

    // What a new one with a name is.
    void Initialise( bool fReadOnly ) noexcept;
    ULONGLONG GetBytes() const noexcept { return m_ullBytes; }
    bool IsReadOnly() const noexcept;
    // Where the memory lies. False: somebody closed the descriptor.
    bool GetMemory( int& rnDescriptor, ULONGLONG& rullOffset ) const noexcept;

    void HandleClosed() noexcept override;
    void AbandonInChild() noexcept override {}

private:
    const std::unique_ptr<NamedObject> m_pNamed; // null without a name
    int m_nDescriptor;
    const ULONGLONG m_ullBytes;
    const bool m_fReadOnly;
};
