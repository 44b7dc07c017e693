// bxtool reg: the text of .reg files alone, and the commands on a key of each test's own.
#include "tools/reg/regtext.h"
#include "tools/reg/utf16.h"
#include "tools/runprogram.h"
#include "tools/systemtext.h"
#include "tools/toolfailure.h"

#include <algorithm>
#include <atomic>
#include <random>
#include <thread>

namespace
{

using namespace std::string_literals;

constexpr char HEADER[] = "Windows Registry Editor Version 5.00\n\n";

// The steps of a text, a line each, or what is wrong with it.
std::string Steps( const std::string& strText )
{
    constexpr char SIGNS[] = { '[', '-', '=', '~' };
    std::string strAll;
    try
    {
        for ( const RegStep& rStep : ParseRegText( strText, "file" ) )
            strAll += std::to_string( rStep.nLine ) + SIGNS[static_cast<int>( rStep.aAction )] +
                      rStep.aKey.aPath + "|" + rStep.aValue.aName + "|" +
                      std::to_string( rStep.aValue.dwType ) + ":" + rStep.aValue.aBytes + "\n";
    }
    catch ( const ToolFailure& rFailure )
    {
        return rFailure.what();
    }
    return strAll;
}

const RegTree EVERY_KIND = { "",
                             { { "", REG_SZ, "default\0"s },
                               { "a \"quote\" \\ [x]=", REG_SZ, "C:\\x \"y\" \0"s },
                               { "b two lines", REG_SZ, "one\r\ntwo\0"s },
                               { "c no zero", REG_SZ, "abc" },
                               { "d zero inside", REG_EXPAND_SZ, "a\0b\0"s },
                               { "e dword", REG_DWORD, "\x01\x02\x03\x04" },
                               { "f short dword", REG_DWORD, "\x01" },
                               { "g qword", REG_QWORD, "\x01\0\0\0\0\0\0\x80"s },
                               { "h multi", REG_MULTI_SZ, "one\0two\0\0"s },
                               { "i binary", REG_BINARY, std::string( 100, '\xAB' ) },
                               { "j empty", REG_BINARY, "" },
                               { "k other", 0x4D, "\xFF\0"s },
                               { "l none", REG_NONE, "" } },
                             { { "Sub]key", { { "n", REG_DWORD, "\xFF\xFF\xFF\xFF" } }, {}, ERROR_SUCCESS } },
                             ERROR_SUCCESS };

std::string TextOf( const RegTree& rTree )
{
    std::string strText = GetRegHeader();
    AppendRegTree( strText, { HKEY_CURRENT_USER, "Test" }, rTree );
    return strText;
}

class RegTool : public ToolTest
{
protected:
    ~RegTool() override { Tool( "reg delete " + m_strKey + " -f" ); }

    const std::string m_strKey = "HKLM\\Software\\BXToolsTest" + std::to_string( std::random_device()() );
};

} // namespace

TEST( RegText, EveryFormIsRead )
{
    std::string strUmlaut = "\xC3\xA4";
    ASSERT_TRUE( ToSystemText( strUmlaut ) );
    const std::string strText =
        "Windows Registry Editor Version 5.00 \r\n; comment\r\n\r\n[HKLM\\A\\B] ; comment\r\n"
        "  @ = \"d\"\r\n\"a\\\\\\\"\"=dword:1F ; comment\r\n\"h\"=hex:01,\\\r\n  02 ,\\ \r\n ff\r\n"
        "\"e\"=hex(2):61,00,e4,00,00,00\r\n\"x\"=-\r\n@=-\r\n[-hkey_local_machine\\A]]\r\n"
        "[HKLM]\r\n\"two\nlines\"=\"x\ny\"";
    const std::string strSteps = "4[A\\B||0:\n5=A\\B||1:d\0\n6=A\\B|a\\\"|4:\x1F\0\0\0\n7=A\\B|h|3:\1\2\xFF\n"
                                 "10=A\\B|e|2:a"s +
                                 strUmlaut +
                                 "\0\n11~A\\B|x|0:\n12~A\\B||0:\n13-A]||0:\n14[||0:\n"
                                 "15=|two\nlines|1:x\ny\0\n"s;
    EXPECT_EQ( strSteps, Steps( strText ) );
    EXPECT_EQ( strSteps, Steps( "\xEF\xBB\xBF" + strText ) );
    EXPECT_EQ( strSteps, Steps( "\xFF\xFE" + ToUtf16( strText ) ) );
    EXPECT_EQ( "2[A||0:\n3=A|e|7:a\0\0\n"s, Steps( "REGEDIT4\r[HKCU\\A]\r\"e\"=hex(7):61,00,00" ) );
    EXPECT_EQ( "", Steps( HEADER ) );
}

TEST( RegText, WrongFilesAreRefusedWithTheirLine )
{
    const std::string strKey = HEADER + "[HKLM\\A]\n"s;
    const std::tuple<std::string, int, const char*> aCases[] = {
        { "", 1, "no .reg file" },
        { "\n[HKLM\\A]", 2, "no .reg file" },
        { HEADER + "\"a\"=\"b\""s, 3, "before the first key" },
        { HEADER + "[HKLM\\A"s, 3, "ends with ]" },
        { HEADER + "[HKLM\\A] x"s, 3, "behind the key" },
        { HEADER + "[Software\\A]"s, 3, "\"Software\" is no root" },
        { HEADER + "[HKLM/A]"s, 3, "no root" },
        { HEADER + "[HKLM\\A\\\\B]"s, 3, "empty between" },
        { HEADER + "[HKLM\\"s + std::string( 256, 'x' ) + "]", 3, "longer than 255" },
        { HEADER + "[-HKLM]"s, 3, "root cannot be deleted" },
        { HEADER + "[-HKLM\\A]\n@=\"x\""s, 4, "below a key that is deleted" },
        { strKey + "text", 4, "a line begins with" },
        { strKey + "\"a", 4, "no quote at its end" },
        { strKey + "\"a\"", 4, "= is wanted" },
        { strKey + "\"a\"=", 4, "a value is" },
        { strKey + "\"a\"=\"b\" c", 4, "should end" },
        { strKey + "\"a\"=\"C:\\new\"", 4, "written \\\\" },
        { strKey + "\n\"a\"=\"b\nc", 5, "no quote at its end" },
        { strKey + "\"a\"=dword:", 4, "one to eight" },
        { strKey + "\"a\"=dword:123456789", 4, "should end" },
        { strKey + "\"a\"=hex(123456789):00", 4, "in hex(TYPE)" },
        { strKey + "\"a\"=hex", 4, "followed by :" },
        { strKey + "\"a\"=hex:1,,2", 4, "byte in hexadecimal" },
        { strKey + "\"a\"=hex:01,\\\n  02,\\\nzz", 6, "byte in hexadecimal" },
        { strKey + "\"a\"=hex:01 \\ 02", 4, "should end" },
        { strKey + "\"a\"=hex(1):61,00,62", 4, "half a one" },
        { strKey + "\"a\0b\"=-"s, 4, "zero byte" },
    };
    for ( const auto& [strText, nLine, pPart] : aCases )
    {
        const std::string strWhat = Steps( strText );
        EXPECT_TRUE( strWhat.starts_with( "file:" + std::to_string( nLine ) + ": " ) ) << strWhat << "\n"
                                                                                       << strText;
        EXPECT_TRUE( Holds( strWhat, pPart ) ) << strWhat << "\n" << strText;
    }
    EXPECT_TRUE( Holds( Steps( "\xFE\xFF\0W"s ), "iconv" ) );
    EXPECT_TRUE( Holds( Steps( "\xFF\xFEW"s ), "half a character" ) );
    const std::string strGood = TextOf( EVERY_KIND );
    for ( size_t n = 0; n < strGood.size(); n++ )
        Steps( strGood.substr( 0, n ) + "\xFF" + strGood.substr( n ) ); // ends, whatever it says
}

TEST( RegText, WhatIsWrittenReadsBack )
{
    const std::string strText = TextOf( EVERY_KIND );
    EXPECT_TRUE( Holds( strText, "\n\"a \\\"quote\\\" \\\\ [x]=\"=\"C:\\\\x \\\"y\\\" \"\n" ) ) << strText;
    EXPECT_TRUE( Holds( strText, "\n\"e dword\"=dword:04030201\n\"f short dword\"=hex(4):01\n" ) );
    EXPECT_TRUE( Holds( strText, ",\\\n  ab,ab," ) );
    for ( const std::string& strForm : { strText, "\xFF\xFE" + ToUtf16( strText ) } )
    {
        const std::vector<RegStep> aSteps = ParseRegText( strForm, "file" );
        ASSERT_EQ( EVERY_KIND.aValues.size() + 3, aSteps.size() );
        for ( size_t n = 0; n < EVERY_KIND.aValues.size(); n++ )
            EXPECT_EQ( EVERY_KIND.aValues[n], aSteps[n + 1].aValue ) << EVERY_KIND.aValues[n].aName;
        EXPECT_EQ( "Test\\Sub]key", aSteps.back().aKey.aPath );
    }
    EXPECT_THROW( TextOf( { "", { { "a\nb", REG_SZ, "" } }, {}, ERROR_SUCCESS } ), ToolFailure );
    // Bytes that are not UTF-8 survive, in either form.
    const std::string strBytes = "\xC3\x28 \xED\xB2\x80 \xF4\x90\x80\x80 \xFF";
    EXPECT_EQ( strBytes, FromUtf16( ToUtf16( strBytes ) ) );
    EXPECT_EQ( "\x3D\xD8\xA9\xDC", ToUtf16( "\xF0\x9F\x92\xA9" ) );
}

TEST_F( RegTool, ValuesAreSetPrintedAndDeleted )
{
    std::string strSlashed = m_strKey;
    std::ranges::replace( strSlashed, '\\', '/' );
    const std::string strTitle = "HKEY_LOCAL_MACHINE" + m_strKey.substr( 4 );
    const std::pair<std::string, std::string> aSteps[] = {
        { "set " + strSlashed + "/Sub Level 0x10 --type dword", "0 " },
        { "get " + m_strKey + "\\sub LEVEL", "0 16\n" },
        { "set " + m_strKey + " '' 'the default'", "0 " },
        { "get " + m_strKey, "0 the default\n" },
        { "set " + m_strKey + " m a 'b c' --type multi", "0 " },
        { "get " + m_strKey + " m --json",
          "0 {\"name\":\"m\",\"type\":\"multi\",\"data\":[\"a\",\"b c\"]}\n" },
        { "set " + m_strKey + " bin 00,Ff --type binary", "0 " },
        { "list " + m_strKey + " --values",
          "0 " + strTitle +
              "\n  (default) = string \"the default\"\n  bin = binary 00ff\n"
              "  m = multi \"a\" \"b c\"\n  Sub\n    Level = dword 16\n" },
        { "list " + m_strKey, "0 " + strTitle + "\n  Sub\n" },
        { "get " + m_strKey + " missing", "1 " },
        { "list " + m_strKey + "\\missing", "1 " },
        { "delete " + m_strKey + " missing", "1 " },
        { "get Software\\x", "2 " },
        { "set " + m_strKey + " n -1 --type dword", "2 " },
        { "set " + m_strKey + " n 4294967296 --type dword", "2 " },
        { "set " + m_strKey + " n 0ff --type binary", "2 " },
        { "delete " + m_strKey, "2 " }, // it has a subkey
        { "delete " + m_strKey + " ''", "0 " },
        { "get " + m_strKey, "1 " },
    };
    for ( const auto& [strWords, strOutcome] : aSteps )
        EXPECT_EQ( strOutcome, Outcome( "reg " + strWords ) ) << strWords;
    EXPECT_TRUE( Tool( "reg delete " + m_strKey + " -f" )
                     .Is( 0, {}, { "bxtool: deleted " + strTitle + ", 1 subkey, 3 values\n" } ) );
}

TEST_F( RegTool, AnExportedKeyIsImportedAsItWas )
{
    std::string strText = GetRegHeader();
    AppendRegTree( strText, { HKEY_LOCAL_MACHINE, m_strKey.substr( 5 ) }, EVERY_KIND );
    EXPECT_EQ( "0 ", Outcome( "reg import -", strText ) );
    EXPECT_EQ( "0 " + strText, Outcome( "reg export " + m_strKey ) );
    EXPECT_EQ( "0 ", Outcome( "reg export " + m_strKey + " wide.reg" ) );
    EXPECT_EQ( "0 ", Outcome( "reg export " + m_strKey + " wide.reg --utf16" ) );
    EXPECT_EQ( "0 ", Outcome( "reg delete " + m_strKey + " -f" ) );
    EXPECT_EQ( "0 ", Outcome( "reg import wide.reg" ) );
    EXPECT_EQ( "0 " + strText, Outcome( "reg export " + m_strKey ) );

    const std::string strKeyLine = HEADER + "["s + m_strKey + "]\n";
    EXPECT_TRUE( Tool( "reg import -", strKeyLine + "\"new\"=\"x\"\n@=-\nwrong" )
                     .Is( 3, {}, { "standard input:6: " } ) );
    EXPECT_EQ( "1 ", Outcome( "reg get " + m_strKey + " new" ) ) << "nothing was changed";
    EXPECT_EQ( "0 ", Outcome( "reg import -", strKeyLine + "@=-\n[-" + m_strKey + "\\Sub]key]\n" ) );
    EXPECT_EQ( "1 ", Outcome( "reg get " + m_strKey ) );
    EXPECT_EQ( "1 ", Outcome( "reg list " + m_strKey + "\\Sub]key" ) );
}

TEST_F( RegTool, WatchPrintsAChange )
{
    const std::string strSet = "reg set " + m_strKey + "\\Sub n ";
    ASSERT_EQ( "0 ", Outcome( strSet + "0" ) );
    std::atomic<bool> fDone = false;
    ProgramResult aWatched;
    std::thread aWatcher(
        [&]
        {
            aWatched = ProgramFolder().Tool( "reg watch " + m_strKey + " --subtree --once" );
            fDone = true;
        } );
    // Until the program has begun to watch, changes go unseen.
    for ( int n = 1; !fDone; n++ )
        Tool( strSet + std::to_string( n ) );
    aWatcher.join();
    EXPECT_TRUE( aWatched.Is( 0, { "changed HKEY_LOCAL_MACHINE", "\\Sub: n = string \"" }, { "" } ) );
}
