#include "core/callreport.h"
#include "error/errstream.h"

#include <bxtools/platform.h>

#include <charconv>
#include <new>
#include <system_error>
#include <utility>

namespace
{

constexpr std::string_view FIELD_SEPARATOR = ERROBJECT_FIELD_SEPARATOR;
constexpr std::string_view VERSION = ERROBJECT_VERSION;
// The longest decimal form of a 32-bit number, with its sign.
constexpr size_t NUMBER_ROOM = 11;

constexpr char TOSTREAM_HEADER[] = "From BOOL ErrObjectBase::ToStream( MString& aStream )";

template <class Number>
char* AppendNumber( char* pOut, Number aValue ) noexcept
{
    return std::to_chars( pOut, pOut + NUMBER_ROOM, aValue ).ptr;
}

void AssignView( MString& rTarget, std::string_view aText )
{
    rTarget.RWCString::assign( aText.data(), aText.size() );
}

} // namespace

ErrObjectBase::ErrObjectBase() = default;

ErrObjectBase::ErrObjectBase( const ErrObjectBase& aErrObjectBase )
    : m_paStrList( aErrObjectBase.m_paStrList ),
      m_aOriginErrText( aErrObjectBase.m_aOriginErrText ),
      m_aOptionalText( aErrObjectBase.m_aOptionalText ),
      m_aErrCls( aErrObjectBase.m_aErrCls ),
      m_lCurErr( aErrObjectBase.m_lCurErr ),
      m_dwSysLastErr( aErrObjectBase.m_dwSysLastErr ),
      m_aDumpStr( aErrObjectBase.m_aDumpStr ),
      m_fInitialized( aErrObjectBase.m_fInitialized )
{
    if ( m_paStrList != NULL )
        m_paStrList->AddOwner();
}

ErrObjectBase::~ErrObjectBase()
{
    MMStringList::Release( m_paStrList );
}

const ErrObjectBase& ErrObjectBase::operator=( const ErrObjectBase& aErrObjectBase )
{
    if ( this == &aErrObjectBase )
        return *this;
    // A derived record forgets what it made of its old values. The list may be others', too: it stays filled for them.
    MMStringList* const paStrList = std::exchange( m_paStrList, static_cast<MMStringList*>( NULL ) );
    ClearValues();
    m_paStrList = paStrList;
    m_aOriginErrText = aErrObjectBase.m_aOriginErrText;
    m_aOptionalText = aErrObjectBase.m_aOptionalText;
    m_aErrCls = aErrObjectBase.m_aErrCls;
    m_lCurErr = aErrObjectBase.m_lCurErr;
    m_dwSysLastErr = aErrObjectBase.m_dwSysLastErr;
    m_aDumpStr = aErrObjectBase.m_aDumpStr;
    m_fInitialized = aErrObjectBase.m_fInitialized;
    CopyStrList( aErrObjectBase );
    return *this;
}

void ErrObjectBase::CopyStrList( const ErrObjectBase& aErrObjectBase )
{
    if ( aErrObjectBase.m_paStrList == NULL )
    {
        MMStringList::Release( m_paStrList );
        m_paStrList = NULL;
    }
    else if ( CheckList() )
        *m_paStrList = *aErrObjectBase.m_paStrList;
}

BOOL ErrObjectBase::ToStream( MString& aStream )
{
    if ( !PrepareStream() )
        return FALSE;
    CallReport aReport( *this, TOSTREAM_HEADER );
    return aReport.Guard(
        [&]() -> BOOL
        {
            aStream.RWCString::operator=(
                RWCString::written( StreamRoom(), [this]( char* pOut ) { return WriteStream( pOut ); } ) );
            return TRUE;
        } );
}

// The first half of ToStream.
BOOL ErrObjectBase::PrepareStream()
{
    CallReport aReport( *this, TOSTREAM_HEADER );
    ClearDumpStr();
    if ( !CheckList() )
        return aReport.Fail( " Error: !CheckList()" );
    return TRUE;
}

// How many characters WriteStream needs at most.
size_t ErrObjectBase::StreamRoom() const
{
    return VERSION.size() + ( ERRFIELD_COUNT - 1 ) * FIELD_SEPARATOR.size() + 2 * NUMBER_ROOM +
           m_aErrCls.length() + m_aOriginErrText.length() + m_aOptionalText.length() +
           m_paStrList->JoinedLength();
}

// Writes the record's text; PrepareStream must have succeeded. Result: behind its last character.
char* ErrObjectBase::WriteStream( char* pOut ) const
{
    pOut = AppendView( AppendView( pOut, VERSION ), FIELD_SEPARATOR );
    pOut = AppendView( AppendView( pOut, ViewOf( m_aErrCls ) ), FIELD_SEPARATOR );
    pOut = AppendView( AppendNumber( pOut, m_lCurErr ), FIELD_SEPARATOR );
    pOut = AppendView( AppendNumber( pOut, m_dwSysLastErr ), FIELD_SEPARATOR );
    pOut = AppendView( AppendView( pOut, ViewOf( m_aOriginErrText ) ), FIELD_SEPARATOR );
    pOut = AppendView( AppendView( pOut, ViewOf( m_aOptionalText ) ), FIELD_SEPARATOR );
    return m_paStrList->WriteJoined( pOut );
}

BOOL ErrObjectBase::FromStream( const MString& aStream )
{
    // A text of the record itself goes with its old values.
    const RWCString aKept( aStream );
    return ReadRecord( ViewOf( aKept ) );
}

// FromStream for a record that may be part of a longer text.
BOOL ErrObjectBase::ReadRecord( std::string_view aRecord )
{
    CallReport aReport( *this, "From BOOL ErrObjectBase::FromStream( const MString& aStream )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            ClearDumpStr();
            if ( !HasOurVersion( aRecord ) )
                return aReport.Fail( " Error: aVersion != ERROBJECT_VERSION -> version mismatch" );
            ErrFields aFields;
            if ( !SplitRecord( aRecord, aFields ) )
                return aReport.Fail( " Error: usCount != 7 -> wrong stream format" );

            ClearValues();
            AssignView( m_aErrCls, aFields[ERRFIELD_CLASS] );
            m_lCurErr = ReadSigned( aFields[ERRFIELD_NUMBER] );
            m_dwSysLastErr = ReadUnsigned( aFields[ERRFIELD_SYSTEM_ERROR] );
            AssignView( m_aOriginErrText, aFields[ERRFIELD_ORIGIN_TEXT] );
            AssignView( m_aOptionalText, aFields[ERRFIELD_OPTIONAL_TEXT] );
            MString aTempStr;
            AssignView( aTempStr, aFields[ERRFIELD_PARAMETERS] );
            m_fInitialized = TRUE;
            if ( !BuildupStrList( aTempStr ) )
                return aReport.Fail( " Error: !BuildupStrList( aTempStr, STRLIST_ITEM_SEPARATOR )" );
            return TRUE;
        } );
}

BOOL ErrObjectBase::GetOriginError( MString& aOriginErrCls, ERR& lCurErr, DWORD& dwSysLastErr ) const
{
    aOriginErrCls = m_aErrCls;
    lCurErr = m_lCurErr;
    dwSysLastErr = m_dwSysLastErr;
    return TRUE;
}

BOOL ErrObjectBase::GetDumpStr( MString& aDumpStr ) const
{
    aDumpStr = m_aDumpStr;
    return TRUE;
}

void ErrObjectBase::ClearValues()
{
    InternalClearValues();
}

void ErrObjectBase::InternalClearValues()
{
    if ( m_paStrList != NULL )
        m_paStrList->ClearList( TRUE );
    Clear( m_aOriginErrText );
    Clear( m_aOptionalText );
    Clear( m_aErrCls );
    m_lCurErr = 0;
    m_dwSysLastErr = 0;
    m_fInitialized = FALSE;
}

void ErrObjectBase::ClearDumpStr()
{
    Clear( m_aDumpStr );
}

BOOL ErrObjectBase::CheckList()
{
    CallReport aReport( *this, "From BOOL ErrObjectBase::CheckList()" );
    if ( m_paStrList == NULL )
        m_paStrList = new ( std::nothrow ) MMStringList;
    if ( m_paStrList == NULL )
        return aReport.Fail( " Error: m_paStrList = new MMStringList() failed" );
    return TRUE;
}

BOOL ErrObjectBase::MySetLastErr( LPCTSTR szCurErrCls, ERR lCurErr, DWORD dwSysLastErr,
                                  const MString& aOriginErrText, const MString& aOptionalText,
                                  const MString& aOptionalTextParams )
{
    // Read before anything below can change it.
    const DWORD dwThreadError = GetLastError();
    CallReport aReport(
        *this,
        "From BOOL ErrObjectBase::MySetLastErr( LPCTSTR szCurErrCls, ERR lCurErr, DWORD dwSysLastErr, ...)" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            ClearDumpStr();
            // Texts of the record itself go with its old values.
            MString aNewOriginErrText( aOriginErrText );
            MString aNewOptionalText( aOptionalText );
            const MString aNewTextParams( aOptionalTextParams );
            MString aNewErrCls;
            AssignView( aNewErrCls, szCurErrCls != NULL ? szCurErrCls : "" );
            ClearValues();
            m_aOriginErrText = std::move( aNewOriginErrText );
            m_aOptionalText = std::move( aNewOptionalText );
            m_aErrCls = std::move( aNewErrCls );
            m_lCurErr = lCurErr;
            m_dwSysLastErr = dwSysLastErr;
            TakeSystemValues( dwThreadError );
            if ( !BuildupStrList( aNewTextParams ) )
                return aReport.Fail(
                    " Error: !BuildupStrList( aOptionalTextParams, STRLIST_ITEM_SEPARATOR )" );
            m_fInitialized = TRUE;
            if ( !LoggThis() )
                return aReport.Fail( " Error: !LoggThis()" );
            return TRUE;
        } );
}

// What the system's own error classes leave to the system.
void ErrObjectBase::TakeSystemValues( DWORD dwThreadError )
{
    if ( ViewOf( m_aErrCls ) == ERRCLS_SYS_ERRNO )
    {
        if ( m_aOriginErrText.IsEmpty() )
            AssignView( m_aOriginErrText, std::generic_category().message( m_lCurErr ) );
    }
    else if ( ViewOf( m_aErrCls ) == ERRCLS_SYS_LASTERROR )
    {
        if ( m_dwSysLastErr == 0 )
            m_dwSysLastErr = dwThreadError;
        SetLastError( 0 );
    }
}

// The header names the separator, too, which is the same in all records.
BOOL ErrObjectBase::BuildupStrList( const MString& aOptionalTextParams )
{
    CallReport aReport(
        *this,
        "From BOOL ErrObjectBase::BuildupStrList( const MString& aOptionalTextParams, LPCTSTR pSeparatorStr )" );
    if ( !CheckList() )
        return aReport.Fail( " Error: !CheckList()" );
    m_paStrList->SetJoinedText( aOptionalTextParams );
    return TRUE;
}

// Where every error that is set could be recorded.
BOOL ErrObjectBase::LoggThis()
{
    return TRUE;
}
