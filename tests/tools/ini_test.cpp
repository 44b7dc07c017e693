// bxtool ini on files of each test's own.
#include "tools/runprogram.h"

#include <gtest/gtest.h>

namespace
{

class IniFolder : public ProgramFolder
{
public:
    explicit IniFolder( const std::string& strText ) { WriteBytes( Path( "a.ini" ), strText ); }
    // Exit code, blank, output, for "bxtool ini <command> a.ini <arguments>".
    std::string Ini( const std::string& strCommand, const std::vector<std::string>& aArguments = {} ) const
    {
        std::vector<std::string> aAll = { "ini", strCommand, "a.ini" };
        aAll.insert( aAll.end(), aArguments.begin(), aArguments.end() );
        const ProgramResult aResult = Run( BXTOOL_PROGRAM, aAll );
        return std::to_string( aResult.nExitCode ) + " " + aResult.strOutput;
    }
    std::string Text() const { return ReadBytes( Path( "a.ini" ) ); }
};

} // namespace

TEST( IniTool, WhatIsSetIsReadBack )
{
    const IniFolder aFolder( "top=0\n[A]\n; note\nk=1\n" );
    EXPECT_EQ( "0 1\n", aFolder.Ini( "get", { "a", "K" } ) );
    EXPECT_EQ( "0 {\"group\":\"\",\"key\":\"top\",\"value\":\"0\"}\n",
               aFolder.Ini( "get", { "", "top", "--json" } ) );
    EXPECT_EQ( "1 ", aFolder.Ini( "get", { "A", "none" } ) );
    for ( const std::string strValue : { " > ", "\"quoted\"", "'", "a;b", "" } )
    {
        EXPECT_EQ( "0 ", aFolder.Ini( "set", { "A", "v", strValue } ) );
        EXPECT_EQ( "0 " + strValue + "\n", aFolder.Ini( "get", { "A", "v" } ) );
    }
    EXPECT_EQ( "0 ", aFolder.Ini( "set", { "A", "v", std::string( 40000, 'x' ) } ) );
    EXPECT_EQ( 40003u, aFolder.Ini( "get", { "A", "v" } ).size() );
    const std::string strBefore = aFolder.Text();
    for ( const std::vector<std::string>& rBad : std::vector<std::vector<std::string>>{ { "A", "v", "a\nb" },
                                                                                        { "A", "a=b", "" },
                                                                                        { "A", ";c", "" },
                                                                                        { "A", " ", "" },
                                                                                        { "", "k", "" } } )
        EXPECT_EQ( "2 ", aFolder.Ini( "set", rBad ) );
    EXPECT_EQ( strBefore, aFolder.Text() );
    EXPECT_EQ( "0 ", aFolder.Ini( "delete", { "A", "v" } ) );
    EXPECT_EQ( "1 ", aFolder.Ini( "delete", { "A", "v" } ) );
    EXPECT_EQ( "top=0\n[A]\n; note\nk=1\n", aFolder.Text() );
    EXPECT_EQ( "0 ", aFolder.Ini( "delete", { "a" } ) );
    EXPECT_EQ( "top=0\n", aFolder.Text() );
    EXPECT_EQ( 3, aFolder.Run( BXTOOL_PROGRAM, { "ini", "get", "missing.ini", "A", "k" } ).nExitCode );
    EXPECT_EQ( 5, aFolder.Run( BXTOOL_PROGRAM, { "ini", "set", "no/folder.ini", "A", "k", "v" } ).nExitCode );
}

TEST( IniTool, GroupsAreListedCopiedAndRenamed )
{
    const IniFolder aFolder( "top=0\n[A]\nk=1\nK=2\nq=\" x \"\n[B]\nold=1\n[Empty]\n" );
    EXPECT_EQ( "0 A\nB\nEmpty\n", aFolder.Ini( "groups" ) );
    EXPECT_EQ( "0 []\ntop = 0\n[A]\nk = 1\nq =  x \n[B]\nold = 1\n[Empty]\n", aFolder.Ini( "list" ) );
    EXPECT_EQ( "2 ", aFolder.Ini( "copy-group", { "A", "b" } ) );
    EXPECT_EQ( "0 ", aFolder.Ini( "copy-group", { "A", "b", "--replace" } ) );
    EXPECT_EQ( "0 ", aFolder.Ini( "rename-group", { "b", "C" } ) );
    EXPECT_EQ( "0 A\nEmpty\nC\n", aFolder.Ini( "groups" ) );
    EXPECT_EQ( "0 [C]\nk = 1\nq =  x \n", aFolder.Ini( "list", { "C" } ) );
    EXPECT_EQ( "1 ", aFolder.Ini( "rename-group", { "none", "D" } ) );
    EXPECT_EQ( "2 ", aFolder.Ini( "rename-group", { "Empty", "D" } ) );
    EXPECT_EQ( "2 ", aFolder.Ini( "rename-group", { "A", "a" } ) );
    // One group for some systems, two for others.
    const IniFolder aOther( "[\xC3\x84]\nk=1\n" );
    EXPECT_EQ( "0 ", aOther.Ini( "rename-group", { "\xC3\x84", "\xC3\xA4", "--replace" } ) );
    EXPECT_EQ( "0 1\n", aOther.Ini( "get", { "\xC3\xA4", "k" } ) );
}

TEST( IniTool, CheckNamesEachLineThatIsNotRead )
{
    const IniFolder aFolder( std::string(
        "\xEF\xBB\xBF[A]\r\nk=1\rno entry\n[a\n=v\nK=2\n;c\n[]\nx=1\n[ a ] tail\nk=1\nz\0=1", 60 ) );
    EXPECT_EQ( "4 a.ini:3: \"no entry\" is no entry: it has no =\n"
               "a.ini:4: \"[a\" lacks its closing bracket: it begins no group\n"
               "a.ini:5: a key without a name\n"
               "a.ini:6: key \"K\" of [A] is there already, in line 2: this one is not read\n"
               "a.ini:8: a group without a name: its keys are not read\n"
               "a.ini:10: group [a] is there already, in line 1: the keys here are not read\n"
               "a.ini:12: a zero byte: what follows it in the line is not read\n"
               "a.ini:12: \"z\" is no entry: it has no =\n",
               aFolder.Ini( "check" ) );
    EXPECT_EQ( "0 []\n", IniFolder( "[A]\nk=1\n" ).Ini( "check", { "--json" } ) );
}
