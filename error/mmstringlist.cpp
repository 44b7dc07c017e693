#include "core/callreport.h"
#include "error/errstream.h"
#include "string/textsearch.h"

#include <bxtools/platform.h>

#include <memory>
#include <new>
#include <utility>

namespace
{

constexpr std::string_view ITEM_SEPARATOR = STRLIST_ITEM_SEPARATOR;

// The second half of BuildupStrList, which was put off until somebody wants the items.
constexpr char BUILDUP_HEADER[] =
    "From BOOL ErrObjectBase::BuildupStrList( const MString& aOptionalTextParams, LPCTSTR pSeparatorStr )";
constexpr char BUILDUP_FAILED[] = " Error: pStr = new MString(...) or m_paStrList->Append( pStr ) failed";

} // namespace

const MMStringList& MMStringList::operator=( const MMStringList& rObj )
{
    CallReport aReport( *this,
                        "From const MMStringList& MMStringList::operator=( const MMStringList& rObj )" );
    aReport.Guard(
        [&]() -> BOOL
        {
            if ( this == &rObj )
                return TRUE;
            if ( rObj.HasItems() )
                CopyItems( const_cast<MMStringList&>( rObj ) );
            else
                SetJoinedText( rObj.m_aJoined );
            return TRUE;
        } );
    return *this;
}

// Brings the number of items to that of rSource, then each item's text.
void MMStringList::CopyItems( MMStringList& rSource )
{
    Clear( m_aJoined );
    const ULONG ulCount = rSource.ItemCount();
    while ( TypedList::ItemCount() > ulCount )
        TypedList::Remove( static_cast<long>( TypedList::ItemCount() ) - 1, TRUE );
    while ( TypedList::ItemCount() < ulCount )
        AppendCopy( {} );

    const MString* pTheirs = rSource.TypedList::GetItem( 0, 5 );
    for ( MString* pOurs = TypedList::GetItem( 0, 5 ); pOurs != NULL; pOurs = TypedList::GetItem( 0, 2 ) )
    {
        *pOurs = *pTheirs;
        pTheirs = rSource.TypedList::GetItem( 0, 2 );
    }
}

ULONG MMStringList::ItemCount() const
{
    if ( m_aJoined.length() == 0 )
        return TypedList::ItemCount();
    return static_cast<ULONG>( 1 + CountSeparator( ViewOf( m_aJoined ), ITEM_SEPARATOR ) );
}

BOOL MMStringList::Append( MString* pItem )
{
    return MakeItems() && TypedList::Append( pItem );
}

BOOL MMStringList::Insert( long lIndex, MString* pItem )
{
    return MakeItems() && TypedList::Insert( lIndex, pItem );
}

MString* MMStringList::GetItem( long lIndex, int nAccessMode )
{
    return MakeItems() ? TypedList::GetItem( lIndex, nAccessMode ) : NULL;
}

MString* MMStringList::Remove( long lIndex, BOOL fDelete )
{
    return MakeItems() ? TypedList::Remove( lIndex, fDelete ) : NULL;
}

MString* MMStringList::Replace( long lIndex, MString* pItem, BOOL fDelete )
{
    return MakeItems() ? TypedList::Replace( lIndex, pItem, fDelete ) : NULL;
}

void MMStringList::ClearList( BOOL fDelete )
{
    Clear( m_aJoined );
    if ( HasItems() )
        TypedList::ClearList( fDelete );
}

void MMStringList::SetJoinedText( const RWCString& aText ) noexcept
{
    RWCString aJoined( aText ); // may be an item's
    ClearList( TRUE );
    m_aJoined = std::move( aJoined );
}

size_t MMStringList::JoinedLength()
{
    if ( !HasItems() )
        return m_aJoined.length();
    size_t ulLength = ( TypedList::ItemCount() - 1 ) * ITEM_SEPARATOR.size();
    for ( const MString* pItem = TypedList::GetItem( 0, 5 ); pItem != NULL;
          pItem = TypedList::GetItem( 0, 2 ) )
        ulLength += pItem->length();
    return ulLength;
}

char* MMStringList::WriteJoined( char* pOut )
{
    if ( !HasItems() )
        return AppendView( pOut, ViewOf( m_aJoined ) );
    const MString* pItem = TypedList::GetItem( 0, 5 );
    pOut = AppendView( pOut, ViewOf( *pItem ) );
    while ( ( pItem = TypedList::GetItem( 0, 2 ) ) != NULL )
        pOut = AppendView( AppendView( pOut, ITEM_SEPARATOR ), ViewOf( *pItem ) );
    return pOut;
}

void MMStringList::AddOwner()
{
    InterlockedIncrement( &m_lOwners );
}

void MMStringList::Release( MMStringList* pList )
{
    if ( pList != NULL && InterlockedDecrement( &pList->m_lOwners ) == 0 )
        delete pList;
}

// Makes the items that the joined text stands for. Result: false when memory is short; the text is then kept.
bool MMStringList::MakeItems()
{
    if ( m_aJoined.length() == 0 )
        return true;
    CallReport aReport( *this, BUILDUP_HEADER );
    const BOOL fMade = aReport.Guard( FALSE, BUILDUP_FAILED,
                                      [&]() -> BOOL
                                      {
                                          std::string_view aRest = ViewOf( m_aJoined );
                                          std::string_view aPart;
                                          while ( CutAt( aRest, ITEM_SEPARATOR, aPart ) )
                                              AppendCopy( aPart );
                                          AppendCopy( aPart );
                                          return TRUE;
                                      } );
    if ( fMade )
        Clear( m_aJoined );
    else
        TypedList::ClearList( TRUE );
    return fMade;
}

// Adds one item at the end; throws when memory is short.
void MMStringList::AppendCopy( std::string_view aText )
{
    std::unique_ptr<MString> pItem( new MString );
    pItem->RWCString::assign( aText.data(), aText.size() );
    if ( !TypedList::Append( pItem.get() ) )
        throw std::bad_alloc();
    pItem.release();
}
