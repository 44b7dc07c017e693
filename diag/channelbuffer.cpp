#include "core/callreport.h"
#include "diag/channellayout.h"
#include "diag/channelobjects.h"

#include <bxtools/channel.h>
#include <bxtools/platform.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

namespace
{

constexpr ULONG DEFAULT_SIZE = 10;
// What the memory grows by beyond the bytes that the vector counts.
constexpr ULONG GROWTH = 9;

class SectionEntered
{
public:
    explicit SectionEntered( CRITICAL_SECTION& rSection ) noexcept : m_rSection( rSection )
    {
        DeferThreadStop();
        EnterCriticalSection( &m_rSection );
    }
    ~SectionEntered()
    {
        LeaveCriticalSection( &m_rSection );
        AllowThreadStop();
    }
    SectionEntered( const SectionEntered& ) = delete;
    SectionEntered& operator=( const SectionEntered& ) = delete;

private:
    CRITICAL_SECTION& m_rSection;
};

template <class Part>
std::shared_ptr<Part> MakeShared() noexcept
{
    try
    {
        return std::make_shared<Part>();
    }
    catch ( const std::bad_alloc& )
    {
        SetLastError( ERROR_NOT_ENOUGH_MEMORY );
        return nullptr;
    }
}

} // namespace

// ---- the memory -------------------------------------------------------------------------------------------

BOOL ChannelBuffer::Map() noexcept
{
    // Without a name each side would have memory of its own; without a size there was no Init.
    if ( m_aChannelName.IsEmpty() || m_ulBufferSize == 0 )
        return FALSE;
    std::shared_ptr<ChannelMemory> pMemory = MakeShared<ChannelMemory>();
    if ( pMemory == NULL || !pMemory->Make( m_aChannelName, m_nIsSender != 0, m_ulBufferSize ) )
        return FALSE;
    m_pMemory = std::move( pMemory );
    m_hFileMapping = m_pMemory->hMapping;
    m_pView = static_cast<BYTE*>( m_pMemory->pView );
    return TRUE;
}

BOOL ChannelBuffer::Unmap() noexcept
{
    if ( m_pMemory.use_count() == 1 && !m_pMemory->Release() )
    {
        m_hFileMapping = m_pMemory->hMapping;
        m_pView = static_cast<BYTE*>( m_pMemory->pView );
        return FALSE;
    }
    m_pMemory.reset();
    m_hFileMapping = NULL;
    m_pView = NULL;
    return TRUE;
}

// Where it does not succeed the memory is as before, as far as the system has it.
BOOL ChannelBuffer::CheckBuffSize( ULONG ulBytes ) noexcept
{
    const ULONG ulOldSize = m_ulBufferSize;
    const ULONGLONG ullBytes = ulBytes;
    if ( m_pView != NULL && ullBytes + CHANNEL_UNCOUNTED_BYTES <= ulOldSize )
        return TRUE;
    // The memory must live while this side has none mapped: the other one's process may just be ending.
    const MString aChannelName( m_aChannelName );
    const KernelHandle aKeptAlive( OpenFileMappingA( FILE_MAP_READ, FALSE, aChannelName ) );
    // How much may be mapped of memory that is there its maker has decided.
    const ULONG ulMost =
        aKeptAlive ? std::numeric_limits<ULONG>::max() : std::max( ulOldSize, CHANNEL_RESERVED_BYTES );
    if ( ullBytes + GROWTH > ulMost )
        return FALSE;
    const ULONG ulNewSize = std::max( ulBytes + GROWTH, m_pView != NULL ? 0 : ulOldSize );
    if ( Unmap() && Init( aChannelName, m_nIsSender, ulNewSize, m_pCallBackFunc, m_pExtraData ) && Map() )
        return TRUE;
    const LastErrorGuard aLastError;
    m_ulBufferSize = ulOldSize;
    if ( m_pView == NULL )
        Map();
    return FALSE;
}

// ---- life -------------------------------------------------------------------------------------------------

ChannelBuffer::ChannelBuffer( CHANNELCALLBACK pCallBackFunc, ExtraData* pExtraData ) noexcept
    : m_pCallBackFunc( pCallBackFunc ),
      m_pExtraData( pExtraData )
{
    InitializeCriticalSection( &m_aCriticalSection );
}

ChannelBuffer::ChannelBuffer( const ChannelBuffer& aChannelBuffer ) noexcept
{
    InitializeCriticalSection( &m_aCriticalSection );
    CopyMembers( aChannelBuffer );
}

ChannelBuffer& ChannelBuffer::operator=( const ChannelBuffer& aChannelBuffer ) noexcept
{
    if ( this != &aChannelBuffer )
        CopyMembers( aChannelBuffer );
    return *this;
}

ChannelBuffer::~ChannelBuffer()
{
    InternalClear();
    DeleteCriticalSection( &m_aCriticalSection );
}

void ChannelBuffer::CopyMembers( const ChannelBuffer& aChannelBuffer ) noexcept
{
    m_hFileMapping = aChannelBuffer.m_hFileMapping;
    m_nIsSender = aChannelBuffer.m_nIsSender;
    m_ulBufferSize = aChannelBuffer.m_ulBufferSize;
    m_pView = aChannelBuffer.m_pView;
    m_aChannelName = aChannelBuffer.m_aChannelName;
    m_pCallBackFunc = aChannelBuffer.m_pCallBackFunc;
    m_pExtraData = aChannelBuffer.m_pExtraData;
    m_fInitialized = aChannelBuffer.m_fInitialized;
    std::copy_n( aChannelBuffer.m_aHDLArray, m_dwHDLCount, m_aHDLArray );
    m_hStartWorkEvent = aChannelBuffer.m_hStartWorkEvent;
    m_hAckDataReadEvent = aChannelBuffer.m_hAckDataReadEvent;
    m_hCriticalSecMutex = aChannelBuffer.m_hCriticalSecMutex;
    const BOOL fRunLoop = aChannelBuffer.IsRunLoop();
    {
        const SectionEntered aEntered( m_aCriticalSection );
        m_fRunLoop = fRunLoop;
    }
    m_ulReceiveVecCapacity = aChannelBuffer.m_ulReceiveVecCapacity;
    m_pReceiveVec = aChannelBuffer.m_pReceiveVec;
    m_pObjects = aChannelBuffer.m_pObjects;
    m_pMemory = aChannelBuffer.m_pMemory;
}

BOOL ChannelBuffer::Init( LPCTSTR pChannelName, int nIsSender, ULONG ulSize, CHANNELCALLBACK pCallBackFunc,
                          ExtraData* pExtraData ) noexcept
{
    if ( m_hFileMapping != NULL )
        return FALSE;
    if ( pChannelName == NULL )
        pChannelName = "";
    MString aChannelName( pChannelName );
    if ( aChannelName.length() != std::strlen( pChannelName ) ) // short of memory
        return FALSE;
    if ( m_pCallBackFunc == NULL && nIsSender == 0 )
    {
        m_pCallBackFunc = pCallBackFunc;
        m_pExtraData = pExtraData;
    }
    m_aChannelName = std::move( aChannelName );
    m_nIsSender = nIsSender;
    m_ulBufferSize = ulSize != 0 ? ulSize : DEFAULT_SIZE;
    return TRUE;
}

BOOL ChannelBuffer::CheckInitState() noexcept
{
    const SectionEntered aEntered( m_aCriticalSection );
    return m_fInitialized || InternalInit();
}

BOOL ChannelBuffer::InternalInit() noexcept
{
    m_fInitialized = InitSyncObjects() && Map();
    if ( !m_fInitialized )
        InternalClear();
    return m_fInitialized;
}

BOOL ChannelBuffer::InitSyncObjects() noexcept
{
    if ( m_pObjects != NULL )
        return TRUE;
    m_pObjects = MakeShared<ChannelObjects>();
    if ( m_pObjects == NULL || !m_pObjects->Make( m_nIsSender != 0 ) )
    {
        ClearSyncObjects();
        return FALSE;
    }
    m_hCriticalSecMutex = m_pObjects->aMutex.Get();
    m_hStartWorkEvent = m_pObjects->aStartWork.Get();
    m_hAckDataReadEvent = m_pObjects->aAckDataRead.Get();
    m_aHDLArray[0] = m_hCriticalSecMutex;
    m_aHDLArray[1] = m_hStartWorkEvent;
    return TRUE;
}

void ChannelBuffer::ClearSyncObjects() noexcept
{
    m_aHDLArray[0] = m_aHDLArray[1] = NULL;
    m_hCriticalSecMutex = m_hStartWorkEvent = m_hAckDataReadEvent = NULL;
    m_pObjects.reset();
}

void ChannelBuffer::InternalClear() noexcept
{
    const LastErrorGuard aLastError;
    ClearSyncObjects();
    Unmap();
}

// ---- the sender -------------------------------------------------------------------------------------------

BOOL ChannelBuffer::InternalWrite( const DATAELEM* pDataVec, ULONG ulVecSize ) noexcept
{
    ULONG ulBytes = 0;
    // A receiver's view cannot be written to.
    if ( pDataVec == NULL || ulVecSize == 0 || m_nIsSender == 0 ||
         !CountChannelBytes( pDataVec, ulVecSize, ulBytes ) || !CheckBuffSize( ulBytes ) )
        return FALSE;
    WriteChannelVector( m_pView, pDataVec, ulVecSize, ulBytes );
    return TRUE;
}

BOOL ChannelBuffer::SenderWritesData( DATAELEM* pDataVec, ULONG ulVecSize ) noexcept
{
    CallReport aReport( "From BOOL ChannelBuffer::SenderWritesData( DATAELEM* pDataVec, ULONG ulVecSize )" );
    if ( !CheckInitState() )
        return aReport.Fail( " Error: !CheckInitState()" );
    const SenderTurn aTurn( *m_pObjects );
    if ( !aTurn.IsMine() )
        return aReport.Fail( " Error: WaitForSingleObject( m_hSenderGateMutex, INFINITE ) == WAIT_FAILED" );
    if ( WaitForSingleObject( m_hCriticalSecMutex, INFINITE ) == WAIT_FAILED )
        return aReport.Fail( " Error: WaitForSingleObject( m_hCriticalSecMutex, INFINITE ) == WAIT_FAILED" );
    m_pObjects->ForgetLastVector();

    const BOOL fWritten = InternalWrite( pDataVec, ulVecSize );
    if ( !fWritten )
        aReport.Fail( " Error: !InternalWrite( pDataVec, ulVecSize )" );
    // A vector for which there is no room would be lost behind an acknowledgement.
    const bool fRefused = !fWritten && pDataVec != NULL && ulVecSize != 0;
    if ( !fRefused )
    {
        SetEvent( m_pObjects->aUnread.Get() );
        if ( !SetEvent( m_hStartWorkEvent ) )
            aReport.Fail( " Error: !SetEvent( m_hStartWorkEvent )" );
    }
    if ( !ReleaseMutex( m_hCriticalSecMutex ) )
        aReport.Fail( " Error: !ReleaseMutex( m_hCriticalSecMutex )" );
    if ( fRefused )
        return FALSE;
    if ( WaitForSingleObject( m_hAckDataReadEvent, INFINITE ) == WAIT_FAILED )
        return aReport.Fail( " Error: WaitForSingleObject( m_hAckDataReadEvent, INFINITE ) == WAIT_FAILED" );
    aReport.Drop();
    return TRUE;
}

// ---- the receiver -----------------------------------------------------------------------------------------

BOOL ChannelBuffer::CheckDataVector( ULONG ulVecSize ) noexcept
{
    if ( ulVecSize <= m_ulReceiveVecCapacity )
        return TRUE;
    try
    {
        std::shared_ptr<DATAELEM[]> pReceiveVec( new DATAELEM[ulVecSize]() );
        std::copy_n( m_pReceiveVec.get(), m_ulReceiveVecCapacity, pReceiveVec.get() );
        m_pReceiveVec = std::move( pReceiveVec );
        m_ulReceiveVecCapacity = ulVecSize;
        return TRUE;
    }
    catch ( const std::bad_alloc& )
    {
        return FALSE;
    }
}

BOOL ChannelBuffer::SetupDataVector( ULONG ulBytes, ULONG& rulVecSize ) noexcept
{
    rulVecSize = ReadChannelNumber( m_pView, CHANNEL_COUNT_INDEX );
    return IsChannelCount( rulVecSize, ulBytes ) && CheckDataVector( rulVecSize ) &&
           ReadChannelVector( m_pView, ulBytes, m_pReceiveVec.get(), rulVecSize );
}

BOOL ChannelBuffer::InternalRead( DATAELEM*& rpDataVec, ULONG& rulVecSize ) noexcept
{
    if ( m_pView == NULL && !Map() )
        return FALSE;
    const ULONG ulBytes = ReadChannelNumber( m_pView, CHANNEL_BYTES_INDEX );
    if ( !CheckBuffSize( ulBytes ) || !SetupDataVector( ulBytes, rulVecSize ) )
        return FALSE;
    rpDataVec = m_pReceiveVec.get();
    return TRUE;
}

// With the mutex.
BOOL ChannelBuffer::HandleVector( CallReport& rReport )
{
    DATAELEM* pDataVec = NULL;
    ULONG ulVecSize = 0;
    if ( !InternalRead( pDataVec, ulVecSize ) )
        rReport.Fail( " Error: !InternalRead( pDataVec, ulVecSize )" );
    else if ( m_pCallBackFunc == NULL )
        rReport.Fail( " Error: m_pCallBackFunc == NULL" );
    else
        rReport.Guard(
            [&]() -> BOOL
            {
                return ( *m_pCallBackFunc )( pDataVec, ulVecSize, m_pExtraData ) != 0 ||
                       rReport.Fail(
                           " Error: !( fRet = (*m_pCallBackFunc) ( pDataVec, ulVecSize, m_pExtraData ) )" );
            } );
    if ( !SetEvent( m_hAckDataReadEvent ) )
        rReport.Fail( " Error: !SetEvent( m_hAckDataReadEvent )" );
    ResetEvent( m_pObjects->aUnread.Get() );
    return !rReport.Failed();
}

BOOL ChannelBuffer::ReceiverWaitsForData()
{
    CallReport aReport( "From BOOL ChannelBuffer::ReceiverWaitsForData()" );
    if ( !CheckInitState() )
        return aReport.Fail( " Error: !CheckInitState()" );
    m_pObjects->WakeForUnreadVector();
    do
    {
        if ( WaitForMultipleObjects( m_dwHDLCount, m_aHDLArray, TRUE, INFINITE ) == WAIT_FAILED )
            return aReport.Fail(
                " Error: WaitForMultipleObjects( m_dwHDLCount, m_aHDLArray, TRUE, INFINITE ) == WAIT_FAILED" );
        if ( !HandleVector( aReport ) )
            return FALSE;
    } while ( IsRunLoop() && ReleaseMutex( m_hCriticalSecMutex ) );
    return TRUE;
}

BOOL ChannelBuffer::StopWaitingForData() noexcept
{
    const SectionEntered aEntered( m_aCriticalSection );
    m_fRunLoop = FALSE;
    return FALSE;
}

BOOL ChannelBuffer::IsRunLoop() const noexcept
{
    const SectionEntered aEntered( m_aCriticalSection );
    return m_fRunLoop;
}
