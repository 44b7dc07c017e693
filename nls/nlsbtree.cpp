#include "core/callreport.h"
#include "file/ownpath.h"
#include "runtime/rwbtreeondisk.h"

#include <bxtools/btree.h>

#include <cstring>

namespace
{
// What the tree's interface asks for; our pages decide for themselves.
constexpr unsigned BUFFERS = 10;
constexpr unsigned HALF_ORDER = 10;
constexpr unsigned MIN_FILL = 10;
constexpr unsigned DEFAULT_KEY_LENGTH = 16;

// NULL is the empty text. A text may be its own source.
void Assign( RWCString& rText, LPCTSTR pText )
{
    rText.assign( pText != NULL ? pText : "", pText != NULL ? std::strlen( pText ) : 0 );
}

// Runs aOperation. An error of the file is the reason of the report, with the key at work; result: FALSE then.
template <class Operation>
BOOL Perform( CallReport& rReport, const RWCString& rKey, Operation aOperation )
{
    return rReport.Guard(
        [&]() -> BOOL
        {
            try
            {
                aOperation();
                return TRUE;
            }
            catch ( const RWFileErr& rError )
            {
                rReport.Fail( "" );
                rReport.Tail( rError.what() ).Tail( "\r\nm_stKey = " ).Tail( rKey.data() );
                return FALSE;
            }
        } );
}
} // namespace

NlsBTreeOnDisk::NlsBTreeOnDisk( MYLPCSTR pFile, unsigned MaxKeyLength, MYLPCSTR pMode, BOOL bDebugMessage )
    : m_stFileName( pFile ),
      m_MaxKeyLength( MaxKeyLength != 0 ? MaxKeyLength : DEFAULT_KEY_LENGTH ),
      m_bCreate( MaxKeyLength != 0 ),
      m_bDebugMessage( bDebugMessage ),
      m_stFileMode( MaxKeyLength != 0 ? "rb+" : pMode )
{
    Init();
}

NlsBTreeOnDisk::~NlsBTreeOnDisk()
{
    Close();
    delete m_pbDiskTree;
    delete m_pDataFile;
    if ( m_bDebugMessage )
        MyDbgMessage( "Object NlsBTreeOnDisk removed", "" );
}

void NlsBTreeOnDisk::Init()
{
    CallReport aReport( *this, "From void NlsBTreeOnDisk::Init()" );
    if ( !m_bStatusOk || m_pbDiskTree != NULL )
        return;
    const LPCTSTR pFileText =
        m_bCreate ? " Error: m_pDataFile = new RWFileManager( m_stFileName, rwnil ) ) == NULL"
                  : " Error: m_pDataFile = new RWFileManager( m_stFileName, m_stFileMode ) failed";
    m_bStatusOk =
        aReport.Guard( BOOL( FALSE ), pFileText,
                       [&]() -> BOOL
                       {
                           m_pDataFile = new RWFileManager( OwnPath( m_stFileName.data() ).data(),
                                                            m_bCreate ? NULL : m_stFileMode.data() );
                           return TRUE;
                       } ) &&
        aReport.Guard(
            BOOL( FALSE ),
            " Error: m_pbDiskTree = new RWBTreeOnDisk( *m_pDataFile, (unsigned) 10, RWBTreeOnDisk::createMode::autoCreate, m_MaxKeyLength, FALSE, RWNIL, RWBTreeOnDisk::styleMode::V6Style, (unsigned) 10, (unsigned) 10 ) failed",
            [&]() -> BOOL
            {
                m_pbDiskTree =
                    new RWBTreeOnDisk( *m_pDataFile, BUFFERS, RWBTreeOnDisk::autoCreate, m_MaxKeyLength,
                                       FALSE, RWNIL, RWBTreeOnDisk::V6Style, HALF_ORDER, MIN_FILL );
                return TRUE;
            } );
    if ( !m_bStatusOk )
        aReport.Tail( "\r\nm_stFileName = " ).Tail( m_stFileName.data() );
}

BOOL NlsBTreeOnDisk::Close()
{
    CallReport aReport( *this, "From BOOL NlsBTreeOnDisk::Close()" );
    return m_pbDiskTree == NULL || Perform( aReport, m_stKey, [this] { m_pbDiskTree->Flush(); } );
}

BOOL NlsBTreeOnDisk::WriteKeyStringPairToFile( MYLPCSTR pKey, LPCTSTR pValue )
{
    CallReport aReport(
        *this, "From BOOL NlsBTreeOnDisk::WriteKeyStringPairToFile( MYLPCSTR pKey, LPCTSTR pValue )" );
    if ( !m_bStatusOk )
        return aReport.Fail( " Error: !m_bStatusOk" );
    Perform( aReport, m_stKey,
             [&]
             {
                 Assign( m_stKey, pKey );
                 Assign( m_stValue, pValue );
                 m_loc = m_pDataFile->allocate( static_cast<unsigned long>( m_stValue.length() + 4 ) );
                 m_pDataFile->SeekTo( m_loc );
                 m_stValue.saveOn( *m_pDataFile );
                 m_pbDiskTree->insertKeyAndValue( m_stKey.data(), m_loc );
             } );
    return m_bStatusOk;
}

DATABUFTYPE NlsBTreeOnDisk::ReadKeyStringPairFromFile( MYLPCSTR pKey, int& nFound, LPCTSTR pPartialKey )
{
    CallReport aReport(
        *this,
        "From DATABUFTYPE NlsBTreeOnDisk::ReadKeyStringPairFromFile( MYLPCSTR pKey, int& nFound, LPCTSTR pPartialKey )" );
    nFound = 0;
    if ( !m_bStatusOk )
        aReport.Fail( " Error: !m_bStatusOk" );
    else
        Perform( aReport, m_stKey,
                 [&]
                 {
                     Assign( m_stKey, pKey );
                     RWoffset lPlace = RWNIL;
                     const bool fHas = m_pbDiskTree->findKeyAndValue( m_stKey.data(), m_stKey, lPlace );
                     m_loc = lPlace;
                     if ( fHas && m_pDataFile->SeekTo( lPlace ) )
                     {
                         m_stValue.restoreFrom( *m_pDataFile );
                         nFound = 1;
                     }
                     else
                         aReport.Fail( " Error: m_loc == RWNIL" );
                 } );
    if ( nFound == 0 )
        Perform( aReport, m_stKey, [&] { Assign( m_stValue, pPartialKey ); } );
    return m_stValue.data();
}

ULONGLONG NlsBTreeOnDisk::GetState() const noexcept
{
    try
    {
        return m_pbDiskTree != NULL ? m_pbDiskTree->FollowState() : 0;
    }
    catch ( const std::exception& )
    {
        return 0;
    }
}
