#include "support/failnew.h"
#include "support/recorder.h"

#include <bxtools/lists.h>

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>

namespace
{

// An element that knows how many of its kind are alive and in which order they went.
struct Counted
{
    explicit Counted( char cSign ) : cName( cSign ) { ++s_nAlive; }
    ~Counted()
    {
        --s_nAlive;
        s_strDestroyed += cName;
    }
    char cName;
    static int s_nAlive;
    static std::string s_strDestroyed;
};
int Counted::s_nAlive = 0;
std::string Counted::s_strDestroyed;

void DestroyListElement( Counted* pElement )
{
    delete pElement;
}

class CountedList : public TypedList<Counted>
{
    using TypedList::TypedList;
};

class Lists : public ::testing::Test
{
protected:
    Lists()
    {
        Counted::s_nAlive = 0;
        Counted::s_strDestroyed.clear();
    }

    static void Fill( CountedList& aList, const std::string& strNames )
    {
        for ( const char cName : strNames )
            EXPECT_TRUE( aList.Append( new Counted( cName ) ) );
    }

    static std::string Walk( CountedList& aList )
    {
        std::string strNames;
        for ( const Counted* p = aList.GetItem( 0, 5 ); p != NULL; p = aList.GetItem( 0, 2 ) )
            strNames += p->cName;
        return strNames;
    }

    static char Name( const Counted* p ) { return p != NULL ? p->cName : '-'; }

    HookRecorder m_aHooks;
    CountedList m_aList{ &HookRecorder::Debug };
};

} // namespace

TEST_F( Lists, InsertTakesEveryIndexBelowTheCountAndTheOneThatAppends )
{
    EXPECT_TRUE( m_aList.Insert( 0, new Counted( 'b' ) ) );
    EXPECT_TRUE( m_aList.Insert( 0, new Counted( 'a' ) ) );
    EXPECT_TRUE( m_aList.Insert( 0x7FFFFFFF, new Counted( 'd' ) ) );
    EXPECT_TRUE( m_aList.Insert( 2, new Counted( 'c' ) ) );
    Counted aRefused( 'x' );
    EXPECT_FALSE( m_aList.Insert( 4, &aRefused ) );
    EXPECT_FALSE( m_aList.Insert( -1, &aRefused ) );
    EXPECT_FALSE( CountedList( &HookRecorder::Debug ).Insert( 1, &aRefused ) );
    EXPECT_EQ( "abcd", Walk( m_aList ) );
    EXPECT_EQ( 4u, m_aList.ItemCount() );
}

TEST_F( Lists, AccessModesMoveTheCurrentPosition )
{
    for ( int nMode = 1; nMode <= 6; ++nMode )
        EXPECT_EQ( NULL, m_aList.GetItem( 0, nMode ) ) << nMode;
    Fill( m_aList, "ab" );
    // Mode and element, in turn; appending leaves the current node before the new one.
    for ( const char* p = "1a5a2b2-1b3a3-1a4b1b6a1a"; *p != 0; p += 2 )
        EXPECT_EQ( p[1], Name( m_aList.GetItem( 0, *p - '0' ) ) ) << p;
    EXPECT_EQ( '-', Name( m_aList.GetItem( 2, 5 ) ) ) << "the index must be in range in every mode";
    EXPECT_EQ( '-', Name( m_aList.GetItem( 1, 7 ) ) );
    EXPECT_TRUE( m_aHooks.OnlyReport( "From MYLINK* MyBaseList::GetObject( int nAccessMode )",
                                      " Error: unknown nAccessMode -> default case" ) );
}

TEST_F( Lists, RemoveMovesTheCurrentPositionToANeighbour )
{
    Fill( m_aList, "abcd" );
    EXPECT_TRUE( m_aList.Remove( 4, TRUE ) == NULL && m_aList.Remove( -1, TRUE ) == NULL );
    delete m_aList.Remove( 3, FALSE );
    EXPECT_EQ( 'c', Name( m_aList.GetItem( 0, 1 ) ) ) << "at the tail: the one before";
    delete m_aList.Remove( 1, FALSE );
    EXPECT_EQ( 'c', Name( m_aList.GetItem( 0, 1 ) ) ) << "in the middle: the one behind";
    delete m_aList.Remove( 0, FALSE );
    EXPECT_EQ( "c", Walk( m_aList ) );
    delete m_aList.Remove( 0, FALSE );
    Fill( m_aList, "ef" );
    EXPECT_EQ( "ef", Walk( m_aList ) );
}

TEST_F( Lists, ElementsAreDestroyedWhenToldAndAtTheEnd )
{
    auto pList = std::make_unique<CountedList>( &HookRecorder::Debug );
    Fill( *pList, "abcdefg" );
    EXPECT_NE( nullptr, pList->Remove( 1, TRUE ) );
    EXPECT_NE( nullptr, pList->Replace( 0, new Counted( 'A' ), TRUE ) );
    EXPECT_EQ( NULL, pList->Replace( 9, NULL, TRUE ) );
    EXPECT_EQ( "ba", Counted::s_strDestroyed );
    const std::unique_ptr<Counted> pKept( pList->Remove( 4, FALSE ) );
    const std::unique_ptr<Counted> pReplaced( pList->Replace( 1, new Counted( 'C' ), FALSE ) );
    EXPECT_TRUE( pKept->cName == 'f' && pReplaced->cName == 'c' );
    EXPECT_EQ( "ACdeg", Walk( *pList ) );
    pList->ClearList( TRUE );
    EXPECT_EQ( "baACdeg", Counted::s_strDestroyed );
    Fill( *pList, "x" );
    const std::unique_ptr<Counted> pLeft( pList->GetItem( 0 ) );
    pList->ClearList( FALSE );
    Fill( *pList, "yz" );
    pList.reset();
    EXPECT_EQ( "baACdegyz", Counted::s_strDestroyed );
}

TEST_F( Lists, CopiesSeeWhatTheOtherDoes )
{
    Fill( m_aList, "abc" );
    CountedList aCopy( m_aList );
    Fill( aCopy, "d" );
    EXPECT_EQ( 3u, m_aList.ItemCount() );
    EXPECT_EQ( 4u, aCopy.ItemCount() );
    EXPECT_EQ( "abcd", Walk( m_aList ) );

    m_aList.GetItem( 1 );
    aCopy.Remove( 1, TRUE );
    EXPECT_EQ( 'c', Name( m_aList.GetItem( 0, 1 ) ) ) << "its own current node was taken out";
    aCopy.Remove( 0, TRUE );
    EXPECT_EQ( "cd", Walk( m_aList ) );
    aCopy.Replace( 0, new Counted( 'C' ), TRUE );
    aCopy.Insert( 0, new Counted( 'B' ) );
    EXPECT_EQ( "Cd", Walk( m_aList ) ) << "each list has a head of its own";
    EXPECT_EQ( "BCd", Walk( aCopy ) );
    EXPECT_EQ( NULL, m_aList.GetItem( 2 ) ) << "its own count has not followed";
    EXPECT_TRUE( m_aHooks.OnlyReport( "From MYLINK* MyBaseList::GetObjectByIndex( ULONG uIndex )",
                                      " Error: Item not found -> wrong uIndex = 2, ItemCount = 2" ) );
}

TEST_F( Lists, TheLastListFreesWhatIsShared )
{
    CountedList aLast( &HookRecorder::Debug );
    {
        CountedList aFirst( &HookRecorder::Debug );
        CountedList aOther( &HookRecorder::Debug );
        Fill( aFirst, "ab" );
        Fill( aOther, "x" );
        aLast = aOther;
        aLast = aFirst;
        aLast = *&aLast;
        aOther = aLast;
        EXPECT_EQ( "x", Counted::s_strDestroyed );
        aFirst.Insert( 0, new Counted( '0' ) );
        aOther.ClearList( TRUE );
        EXPECT_EQ( "", Walk( aLast ) );
        Fill( aFirst, "p" );
        Fill( aOther, "q" );
    }
    Fill( aLast, "r" );
    EXPECT_EQ( "pqr", Walk( aLast ) );
    aLast.ClearList( TRUE );
    EXPECT_EQ( "x0abpqr", Counted::s_strDestroyed );
}

// Random operations on lists that come to share nodes in every way: whatever happens, no element is lost or destroyed
// twice, and no node is touched after it is freed.
TEST_F( Lists, NoOrderOfOperationsLosesOrDoublesAnElement )
{
    std::mt19937 aRandom( 20 );
    const auto Below = [&]( unsigned uLimit ) { return static_cast<long>( aRandom() % uLimit ); };
    for ( int nRound = 0; nRound < 300; ++nRound )
    {
        std::unique_ptr<CountedList> apLists[3];
        for ( auto& pList : apLists )
            pList = std::make_unique<CountedList>( &HookRecorder::Debug );
        for ( int nStep = 0; nStep < 60; ++nStep )
        {
            auto& pList = apLists[Below( 3 )];
            const long lIndex = Below( 5 );
            auto pNew = std::make_unique<Counted>( 'n' );
            bool fTaken = false;
            switch ( Below( 9 ) )
            {
            case 0:
            case 1: EXPECT_TRUE( fTaken = pList->Append( pNew.get() ) != FALSE ); break;
            case 2: fTaken = pList->Insert( lIndex, pNew.get() ) != FALSE; break;
            case 3: pList->Remove( lIndex, TRUE ); break;
            case 4: pNew.reset( pList->Remove( lIndex, FALSE ) ); break;
            case 5: fTaken = pList->Replace( lIndex, pNew.get(), TRUE ) != NULL; break;
            case 6: *pList = *apLists[Below( 3 )]; break;
            case 7: pList = std::make_unique<CountedList>( *apLists[Below( 3 )] ); break;
            default:
                if ( lIndex == 0 )
                    pList->ClearList( TRUE );
                for ( int nMode = 1; nMode <= 6; ++nMode )
                    pList->GetItem( lIndex, nMode );
            }
            if ( fTaken )
                pNew.release();
        }
        for ( auto& pList : apLists )
            pList.reset();
        ASSERT_EQ( 0, Counted::s_nAlive ) << "round " << nRound;
    }
    for ( const Report& rReport : m_aHooks.TakeReports() )
        EXPECT_TRUE( rReport.second.starts_with( " Error: Item not found" ) ) << rReport.second;
}

TEST( OutOfMemory, ListsStayAsTheyWereAndCopiesAreEmpty )
{
    const Report aNotInserted( "From MYLINK* MyBaseList::CreateItem( long lIndex, MYBASEDATA* p )",
                               " Error: pObj = new MYLINK() failed" );
    const Report aNotShared( "From MyBaseList::MyBaseList( const MyBaseList& aBaseList )",
                             " Error: m_pShare = new ListShare() failed" );
    HookRecorder aHooks;
    int anElements[2];
    const auto InsertAndCopy = [&]( NewFault& rFault )
    {
        MyBaseList aList( 10, &HookRecorder::Debug );
        aList.Append( &anElements[0] );
        rFault.Arm();
        const bool fInserted = aList.Insert( 0, &anElements[1] ) != FALSE;
        MyBaseList aCopy( aList );
        rFault.Disarm();
        EXPECT_TRUE( rFault.Hit() ? aHooks.OnlyReports( { fInserted ? aNotShared : aNotInserted } )
                                  : aHooks.Silent() );
        EXPECT_EQ( &anElements[fInserted ? 1 : 0], aList.GetItem( 0 ) );
        EXPECT_TRUE( aList.Append( &anElements[0] ) );
        EXPECT_EQ( fInserted ? 3u : 2u, aList.ItemCount() );
        EXPECT_EQ( !fInserted ? 1u : rFault.Hit() ? 0u : 2u, aCopy.ItemCount() );
    };
    EXPECT_EQ( 2u, ForEachFailingNew( InsertAndCopy ) );
}
