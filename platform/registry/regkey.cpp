#include "platform/registry/regkey.h"

#include "platform/registry/regbatch.h"
#include "platform/registry/regname.h"
#include "platform/registry/regnotify.h"

#include <atomic>
#include <iterator>

namespace
{
struct RegRoot
{
    RegStoreName eStore;
    const char* pPath;
};

// By the low bits of the root's handle. The two that are left out never had a store.
constexpr RegRoot g_aRoots[] = {
    { RegStoreName::LocalMachine, "Software\\Classes" },
    { RegStoreName::CurrentUser, "" },
    { RegStoreName::LocalMachine, "" },
    { RegStoreName::Users, "" },
    { RegStoreName::Users, nullptr },
    { RegStoreName::CurrentConfig, "" },
};

// Made on first use.
constinit std::atomic<RegistryKey*> g_apRootKeys[std::size( g_aRoots )]{};

// A root may come sign-extended or zero-extended. Result: its index, or the number of roots.
size_t IndexOfRoot( HKEY hKey ) noexcept
{
    const ULONG_PTR ulKey = reinterpret_cast<ULONG_PTR>( hKey );
    const ULONG_PTR ulHigh = ulKey >> 32;
    const DWORD dwIndex = static_cast<DWORD>( ulKey ) - 0x80000000u;
    const bool fRoot = ( ulHigh == 0 || ulHigh == 0xFFFFFFFFu ) && dwIndex < std::size( g_aRoots );
    return fRoot && g_aRoots[dwIndex].pPath != nullptr ? dwIndex : std::size( g_aRoots );
}

RegistryKey* MakeRoot( size_t nIndex ) noexcept
{
    try
    {
        RegistryKey* const pNew = new RegistryKey( GetRegStore( g_aRoots[nIndex].eStore ),
                                                   g_aRoots[nIndex].pPath, RegistryKey::ANY_ID );
        RegistryKey* pThere = nullptr;
        if ( g_apRootKeys[nIndex].compare_exchange_strong( pThere, pNew, std::memory_order_acq_rel ) )
            return pNew;
        pNew->Release();
        return pThere;
    }
    catch ( const std::bad_alloc& )
    {
        return nullptr;
    }
}

LONG ViewOfNothing( RegKeyView& rView ) noexcept
{
    RegImageUse aEmpty;
    aEmpty.Set( RegImage::Empty() );
    return aEmpty.Get()->GetRoot( rView );
}
} // namespace

RegistryKey* FindRegRoot( HKEY hKey ) noexcept
{
    const size_t nIndex = IndexOfRoot( hKey );
    if ( nIndex == std::size( g_aRoots ) )
        return nullptr;
    RegistryKey* const pRoot = g_apRootKeys[nIndex].load( std::memory_order_acquire );
    return pRoot != nullptr ? pRoot : MakeRoot( nIndex );
}

void CloseRegistry() noexcept
{
    for ( std::atomic<RegistryKey*>& rRoot : g_apRootKeys )
    {
        if ( RegistryKey* const pRoot = rRoot.exchange( nullptr ) )
            pRoot->Release();
    }
    CloseRegStores();
}

void ResetRegistryInChild()
{
    ResetRegStoresInChild();
    for ( const std::atomic<RegistryKey*>& rRoot : g_apRootKeys )
    {
        if ( RegistryKey* const pRoot = rRoot.load( std::memory_order_relaxed ) )
            pRoot->AbandonInChild();
    }
}

LONG FailOutOfMemory() noexcept
{
    if ( RegistryBatch* const pBatch = RegistryBatch::OfThread() )
        pBatch->Break();
    return ERROR_NOT_ENOUGH_MEMORY;
}

std::string_view RegTextOf( LPCSTR pText ) noexcept
{
    return pText != nullptr ? std::string_view( pText ) : std::string_view();
}

REGSAM MapRegAccess( REGSAM dwAccess ) noexcept
{
    struct Mapping
    {
        REGSAM dwGeneric;
        REGSAM dwRights;
    };
    static constexpr Mapping g_aMappings[] = {
        { 0x80000000u, KEY_READ },       { 0x40000000u, KEY_WRITE },      { 0x20000000u, KEY_EXECUTE },
        { 0x10000000u, KEY_ALL_ACCESS }, { 0x02000000u, KEY_ALL_ACCESS }, // as much as there is
    };
    REGSAM dwRights = dwAccess & KEY_ALL_ACCESS;
    for ( const Mapping& rMapping : g_aMappings )
    {
        if ( ( dwAccess & rMapping.dwGeneric ) != 0 )
            dwRights |= rMapping.dwRights;
    }
    return dwRights;
}

LONG MakeKeyHandle( RegistryKey* pKey, REGSAM dwAccess, PHKEY pResult ) noexcept
{
    const HANDLE hKey = MakeHandle( pKey, MapRegAccess( dwAccess ) );
    if ( hKey == nullptr )
        return static_cast<LONG>( GetLastError() );
    *pResult = reinterpret_cast<HKEY>( hKey );
    return ERROR_SUCCESS;
}

// ---- a key ----------------------------------------------------------------------------------------------------------

RegistryKey::~RegistryKey()
{
    m_rStore.Remove( *this );
}

std::string RegistryKey::PathOf( std::string_view aSubKey ) const
{
    if ( !aSubKey.empty() && aSubKey.back() == '\\' )
        aSubKey.remove_suffix( 1 );
    std::string strPath;
    strPath.reserve( m_strPath.size() + 1 + aSubKey.size() );
    strPath = m_strPath;
    if ( !strPath.empty() && !aSubKey.empty() )
        strPath += '\\';
    return strPath.append( aSubKey );
}

LONG RegistryKey::Find( const RegImage& rImage, RegKeyView& rView ) const noexcept
{
    RegKeyView aRoot;
    LONG lError = rImage.GetRoot( aRoot );
    if ( lError == ERROR_SUCCESS )
        lError = aRoot.FindPath( m_strPath, rView );
    if ( m_ullId == ANY_ID )
        return lError == ERROR_FILE_NOT_FOUND ? ViewOfNothing( rView ) : lError;
    const bool fGone =
        lError == ERROR_FILE_NOT_FOUND || ( lError == ERROR_SUCCESS && rView.GetHead().ullId != m_ullId );
    return fGone ? ERROR_KEY_DELETED : lError;
}

LONG RegistryKey::Look( RegKeyView& rView ) noexcept
{
    const ULONGLONG ullGeneration = m_rStore.GetGeneration();
    if ( ullGeneration == 0 || ullGeneration != m_ullSeen )
    {
        RegImage* pImage = nullptr;
        ULONGLONG ullSeen = 0;
        m_ullSeen = 0;
        if ( const LONG lError = m_rStore.TakeImage( pImage, ullSeen ) )
            return lError;
        m_aImage.Set( pImage );
        if ( const LONG lError = Find( *pImage, m_aView ) )
            return lError;
        m_ullSeen = ullSeen;
    }
    rView = m_aView;
    return ERROR_SUCCESS;
}

void RegistryKey::Remember( RegImage* pImage, const RegKeyView& aView, ULONGLONG ullGeneration ) noexcept
{
    pImage->AddReference();
    Lock();
    m_aImage.Set( pImage );
    m_aView = aView;
    m_ullSeen = ullGeneration;
    Unlock();
}

LONG RegistryKey::LookInTree( RegTree& rTree, RegTreePath& rPath ) const
{
    rPath.assign( 1, &rTree.GetRoot() );
    std::string_view aLeft = m_strPath;
    std::string_view aName;
    while ( TakeRegName( aLeft, aName ) )
    {
        RegTreeKey* pKey = rTree.FindChild( *rPath.back(), aName );
        if ( pKey == nullptr && m_ullId != ANY_ID )
            return ERROR_KEY_DELETED;
        if ( pKey == nullptr )
        {
            pKey = &rTree.AddChild( *rPath.back(), aName, {}, 0 );
            rTree.NoteChange( rPath, REG_NOTIFY_CHANGE_NAME );
        }
        rPath.push_back( pKey );
    }
    return m_ullId == ANY_ID || rPath.back()->ullId == m_ullId ? ERROR_SUCCESS : ERROR_KEY_DELETED;
}

void RegistryKey::DropImage() noexcept
{
    if ( !TryEnterCriticalSection( &m_aLock ) )
        return;
    if ( !m_fInUse )
    {
        m_aImage.Set( nullptr );
        m_ullSeen = 0;
    }
    LeaveCriticalSection( &m_aLock );
}

void RegistryKey::HandleClosed() noexcept
{
    TellRegWatchesOfClose( *this );
}

// A lost thread may have been in the middle of finding the key: what it held is given up, and not given back.
void RegistryKey::AbandonInChild() noexcept
{
    AbandonRegWatchesInChild( *this );
    new ( &m_aImage ) RegImageUse;
    m_ullSeen = 0;
    m_fInUse = false;
}

// ---- uses -----------------------------------------------------------------------------------------------------------

RegKeyUse::RegKeyUse( HKEY hKey, REGSAM dwAccess ) noexcept
{
    m_pKey = FindRegRoot( hKey );
    if ( m_pKey != nullptr )
        return;
    const DWORD dwLastError = GetLastError();
    m_aHandle.emplace( reinterpret_cast<HANDLE>( hKey ), KIND_REGISTRY_KEY, dwAccess );
    if ( m_aHandle->IsGood() )
    {
        m_pKey = m_aHandle->GetObject<RegistryKey>();
        return;
    }
    m_lError = static_cast<LONG>( GetLastError() );
    SetLastError( dwLastError );
}

RegKeyReader::RegKeyReader( HKEY hKey, REGSAM dwAccess ) noexcept
    : m_aUse( hKey, dwAccess ),
      m_lError( m_aUse.GetError() )
{
    if ( m_lError != ERROR_SUCCESS )
        return;
    RegistryKey& rKey = m_aUse.GetKey();
    RegistryBatch* const pBatch = RegistryBatch::OfThread();
    if ( pBatch != nullptr && pBatch->GetStore() == &rKey.GetStore() )
    {
        m_lError = LookInBatch( *pBatch );
        return;
    }
    rKey.Lock();
    m_fLocked = true;
    m_lError = rKey.Look( m_aView );
}

LONG RegKeyReader::LookInBatch( RegistryBatch& rBatch ) noexcept
{
    return RunRegCall(
        [&]() -> LONG
        {
            RegImage* pImage = nullptr;
            if ( const LONG lError = rBatch.TakeImage( pImage ) )
                return lError;
            m_aOfBatch.Set( pImage );
            return m_aUse.GetKey().Find( *pImage, m_aView );
        } );
}

RegKeyReader::~RegKeyReader()
{
    if ( m_fLocked )
        m_aUse.GetKey().Unlock();
}

RegImage* RegKeyReader::GetImage() const noexcept
{
    return m_fLocked ? m_aUse.GetKey().GetImage() : m_aOfBatch.Get();
}

ULONGLONG RegKeyReader::GetGeneration() const noexcept
{
    return m_fLocked ? m_aUse.GetKey().GetSeen() : 0;
}

LONG RegChange::Begin( const RegKeyUse& rUse )
{
    if ( rUse.GetError() != ERROR_SUCCESS )
        return rUse.GetError();
    RegistryKey& rKey = rUse.GetKey();
    RegistryBatch* const pBatch = RegistryBatch::OfThread();
    if ( pBatch != nullptr && pBatch->GetStore() != &rKey.GetStore() )
        return ERROR_BUSY;
    m_pBatch = pBatch;
    m_pTransaction = pBatch != nullptr ? pBatch->GetTransaction() : &m_aOwn;
    if ( pBatch == nullptr )
    {
        if ( const LONG lError = m_aOwn.Begin( rKey.GetStore() ) )
            return lError;
    }
    return rKey.LookInTree( GetTree(), m_aPath );
}

LONG RegChange::Commit( DWORD dwKinds )
{
    GetTree().NoteChange( m_aPath, dwKinds );
    if ( m_pBatch == nullptr )
        return m_aOwn.Commit();
    m_pBatch->NoteChanged();
    return ERROR_SUCCESS;
}
