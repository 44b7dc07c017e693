#include "support/secondprocess.h"
#include "tools/runprogram.h"

#include <bxtools/platform.h>

#include <regex>

class IpcTool : public ToolTest
{
protected:
    // Exit code, blank, output with every age as 0.
    std::string Listed( const std::string& strOptions = "" ) const
    {
        const std::regex aAge( "(age +|\"age\":)[0-9]+" );
        const ProgramResult aResult = Tool( "ipc ls " + strOptions );
        return std::to_string( aResult.nExitCode ) + " " +
               std::regex_replace( aResult.strOutput + aResult.strErrors, aAge, "$010" );
    }
};

BX_ROLE( ipc_listener )
{
    const HANDLE ahObjects[] = { CreateMutexA( NULL, TRUE, "b mutex" ),
                                 CreateEventA( NULL, FALSE, FALSE, "a \x1B event" ) };
    TellTest( std::to_string( GetCurrentThreadId() ) );
    WaitForMultipleObjects( 1, ahObjects + 1, FALSE, INFINITE );
    return 0;
}

TEST_F( IpcTool, ListsWhatIsSharedWithHoldersAndWaiters )
{
    EXPECT_EQ( "1 ", Listed() );
    EXPECT_EQ( "1 {\"objects\":[]}\n", Listed( "--json" ) );
    SecondProcess aListener( "ipc_listener", {} );
    const std::string strThread = aListener.ReadLine();
    const HANDLE ahObjects[] = {
        CreateEventA( NULL, FALSE, FALSE, "a \x1B event" ), CreateEventA( NULL, TRUE, TRUE, "d set" ),
        CreateFileMappingA( INVALID_HANDLE_VALUE, NULL, PAGE_READWRITE, 0, 5000, "c memory" )
    };
    // Its place is below that of the process that came first.
    const std::string strOwn = std::to_string( GetCurrentProcessId() );
    const std::string strBoth = std::to_string( aListener.Id() ) + ", " + strOwn;
    const auto Object = []( const std::string& strName, const std::string& strType,
                            const std::string& strState, const std::string& strHolders,
                            const std::string& strWaiters )
    {
        return strName + "\n  type     " + strType + "\n  state    " + strState + "\n  holders  " +
               strHolders + "\n  waiters  " + strWaiters + "\n  age      0 s\n";
    };
    const std::string strExpected =
        "0 " + Object( "a \\x1B event", "event", "not set, automatic reset", strBoth, "1" ) +
        Object( "b mutex", "mutex", "owned by thread " + strThread, std::to_string( aListener.Id() ), "0" ) +
        Object( "c memory", "mapping", "5000 bytes", strOwn, "0" ) +
        Object( "d set", "event", "set, manual reset", strOwn, "0" );
    std::string strListed = Listed();
    while ( !Holds( strListed, "waiters  1" ) ) // until it waits
        strListed = Listed();
    EXPECT_EQ( strExpected, strListed );
    EXPECT_TRUE(
        Holds( Listed( "--json" ),
               "{\"name\":\"d set\",\"type\":\"event\",\"state\":\"set, manual reset\",\"holders\":[" +
                   strOwn + "],\"waiters\":0,\"age\":0}]}" ) );
    aListener.Kill();
    aListener.Wait();
    EXPECT_FALSE( Holds( Listed(), std::to_string( aListener.Id() ) ) );
    for ( const HANDLE hObject : ahObjects )
        CloseHandle( hObject );
}
