// bxtool ini on files of each test's own.
#include "tools/runprogram.h"

namespace
{

class IniTool : public ToolTest
{
protected:
    void Write( const std::string& strText ) const { WriteBytes( Path( "a.ini" ), strText ); }
    // Line ends are the system's.
    std::string Text() const
    {
        std::string strText = ReadBytes( Path( "a.ini" ) );
        std::erase( strText, '\r' );
        return strText;
    }
};

} // namespace

TEST_F( IniTool, WhatIsSetIsReadBack )
{
    Write( "top=0\n[A]\n; note\nk=1\n" );
    EXPECT_EQ( "0 1\n", Outcome( "ini get a.ini a K" ) );
    EXPECT_EQ( "0 {\"group\":\"\",\"key\":\"top\",\"value\":\"0\"}\n",
               Outcome( "ini get a.ini '' top --json" ) );
    EXPECT_EQ( "1 ", Outcome( "ini get a.ini A none" ) );
    for ( const std::string strValue : { " > ", "\"quoted\"", "'", "a;b", "" } )
    {
        EXPECT_TRUE(
            RunProgram( BXTOOL_PROGRAM, { "ini", "set", "a.ini", "A", "v", strValue } ).Is( 0, {} ) );
        EXPECT_EQ( "0 " + strValue + "\n", Outcome( "ini get a.ini A v" ) );
    }
    EXPECT_EQ( "0 ", Outcome( "ini set a.ini A v " + std::string( 32000, 'x' ) ) );
    EXPECT_EQ( 32003u, Outcome( "ini get a.ini A v" ).size() );
    const std::string strBefore = Text();
    for ( const std::string strBad : { "A v 'a\nb'", "A a=b ''", "A ;c ''", "A ' ' ''", "'' k ''" } )
        EXPECT_EQ( "2 ", Outcome( "ini set a.ini " + strBad ) ) << strBad;
    EXPECT_EQ( strBefore, Text() );
    EXPECT_EQ( "0 ", Outcome( "ini delete a.ini A v" ) );
    EXPECT_EQ( "1 ", Outcome( "ini delete a.ini A v" ) );
    EXPECT_EQ( "top=0\n[A]\n; note\nk=1\n", Text() );
    EXPECT_EQ( "0 ", Outcome( "ini delete a.ini a" ) );
    EXPECT_EQ( "top=0\n", Text() );
    EXPECT_EQ( "3 ", Outcome( "ini get missing.ini A k" ) );
    EXPECT_EQ( "5 ", Outcome( "ini set no/folder.ini A k v" ) );
}

TEST_F( IniTool, GroupsAreListedCopiedAndRenamed )
{
    Write( "top=0\n[A]\nk=1\nK=2\nq=\" x \"\n[B]\nold=1\n[Empty]\n" );
    const std::pair<const char*, const char*> aSteps[] = {
        { "groups a.ini", "0 A\nB\nEmpty\n" },
        { "list a.ini", "0 []\ntop = 0\n[A]\nk = 1\nq =  x \n[B]\nold = 1\n[Empty]\n" },
        { "copy-group a.ini A b", "2 " },
        { "copy-group a.ini A b --replace", "0 " },
        { "rename-group a.ini b C", "0 " },
        { "groups a.ini", "0 A\nEmpty\nC\n" },
        { "list a.ini C", "0 [C]\nk = 1\nq =  x \n" },
        { "rename-group a.ini none D", "1 " },
        { "rename-group a.ini Empty D", "2 " },
        { "rename-group a.ini A a", "2 " },
    };
    for ( const auto& [pWords, pOutcome] : aSteps )
        EXPECT_EQ( pOutcome, Outcome( std::string( "ini " ) + pWords ) ) << pWords;
    // One group for some systems, two for others.
    Write( "[\xC3\x84]\nk=1\n" );
    EXPECT_EQ( "0 ", Outcome( "ini rename-group a.ini \xC3\x84 \xC3\xA4 --replace" ) );
    EXPECT_EQ( "0 1\n", Outcome( "ini get a.ini \xC3\xA4 k" ) );
}

TEST_F( IniTool, CheckNamesEachLineThatIsNotRead )
{
    Write( std::string( "\xEF\xBB\xBF[A]\r\nk=1\rno entry\n[a\n=v\nK=2\n;c\n[]\nx=1\n[ a ] tail\nk=1\nz\0=1",
                        60 ) );
    EXPECT_EQ( "4 a.ini:3: \"no entry\" is no entry: it has no =\n"
               "a.ini:4: \"[a\" lacks its closing bracket: it begins no group\n"
               "a.ini:5: a key without a name\n"
               "a.ini:6: key \"K\" of [A] is there already, in line 2: this one is not read\n"
               "a.ini:8: a group without a name: its keys are not read\n"
               "a.ini:10: group [a] is there already, in line 1: the keys here are not read\n"
               "a.ini:12: a zero byte: what follows it in the line is not read\n"
               "a.ini:12: \"z\" is no entry: it has no =\n",
               Outcome( "ini check a.ini" ) );
    Write( "[A]\nk=1\n" );
    EXPECT_EQ( "0 []\n", Outcome( "ini check a.ini --json" ) );
}
