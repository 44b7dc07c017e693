#include "platform/registry/regbatch.h"

#include "platform/registry/regimagewriter.h"
#include "platform/registry/regkey.h"

namespace
{
constinit thread_local RegistryBatch* t_pBatch = nullptr;
}

RegistryBatch::RegistryBatch() noexcept = default;

RegistryBatch::~RegistryBatch()
{
    End();
}

RegistryBatch* RegistryBatch::OfThread() noexcept
{
    return t_pBatch;
}

bool RegistryBatch::IsAbout( HKEY hKey ) noexcept
{
    if ( t_pBatch == nullptr )
        return false;
    const RegKeyUse aUse( hKey, 0 );
    return aUse.GetError() == ERROR_SUCCESS && t_pBatch->m_pStore == &aUse.GetKey().GetStore();
}

void RegistryBatch::End() noexcept
{
    if ( m_pStore == nullptr )
        return;
    t_pBatch = nullptr;
    if ( m_pImage != nullptr )
        m_pImage->Release();
    m_pImage = nullptr;
    m_pTransaction.reset();
    m_pStore = nullptr;
    m_fChanged = m_fBroken = false;
    m_fUnseen = true;
}

LONG RegistryBatch::Begin( HKEY hKey ) noexcept
{
    return RunRegCall(
        [&]() -> LONG
        {
            const RegKeyUse aUse( hKey, 0 );
            if ( aUse.GetError() != ERROR_SUCCESS )
                return aUse.GetError();
            if ( t_pBatch != nullptr )
                return ERROR_BUSY;
            auto pTransaction = std::make_unique<RegTransaction>();
            if ( const LONG lError = pTransaction->Begin( aUse.GetKey().GetStore() ) )
                return lError;
            m_pTransaction = std::move( pTransaction );
            m_pStore = &aUse.GetKey().GetStore();
            t_pBatch = this;
            return ERROR_SUCCESS;
        } );
}

LONG RegistryBatch::Commit() noexcept
{
    const LONG lResult = RunRegCall(
        [&]() -> LONG
        {
            if ( m_pStore == nullptr )
                return ERROR_INVALID_HANDLE;
            if ( m_fBroken )
                return ERROR_NOT_ENOUGH_MEMORY;
            return m_fChanged ? m_pTransaction->Commit() : ERROR_SUCCESS;
        } );
    End();
    return lResult;
}

LONG RegistryBatch::TakeImage( RegImage*& rpImage )
{
    if ( m_fUnseen )
    {
        RegImageWriter aWriter;
        if ( const LONG lError = aWriter.Plan( m_pTransaction->GetTree() ) )
            return lError;
        auto pBytes = std::make_unique<BYTE[]>( aWriter.GetSize() );
        aWriter.CopyTo( pBytes.get() );
        RegImage* pImage = nullptr;
        if ( const LONG lError = RegImage::Adopt( std::move( pBytes ), aWriter.GetSize(), pImage ) )
            return lError;
        pImage->MarkAllGood();
        if ( m_pImage != nullptr )
            m_pImage->Release();
        m_pImage = pImage;
        m_fUnseen = false;
    }
    m_pImage->AddReference();
    rpImage = m_pImage;
    return ERROR_SUCCESS;
}
