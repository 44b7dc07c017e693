// bxtool nls and bxtool errors explain: language files, release files, and what users read.
#include "tools/runprogram.h"

#include <bxtools/wintypes.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

namespace
{

using namespace std::string_literals;

const std::string HEADER = "Key;German=049;English=044\n";

class NlsTool : public ToolTest
{
protected:
    NlsTool() { std::filesystem::create_directory( Path( "texts" ) ); }

    void Write( const std::string& strName, const std::string& strText ) const
    {
        WriteBytes( Path( "texts/" + strName ), strText );
    }
    std::string Get( const std::string& strKey, const std::string& strLanguage,
                     const std::string& strTexts = "a.nls" ) const
    {
        return Outcome( "nls get " + strTexts + " Module.Group " + strKey + " --language " + strLanguage );
    }
    nlohmann::json Json( const std::string& strWords ) const
    {
        return nlohmann::json::parse( Tool( strWords + " --json" ).strOutput );
    }
};

} // namespace

TEST_F( NlsTool, ReleaseFileGivesTheTextsOfAllLanguages )
{
    // As a spreadsheet writes it.
    Write( "MODULE.CSV", "\xEF\xBB\xBFKey;German=049;English=044;;\r\n"
                         "; a comment;;\r\n"
                         "[Group];;\r\n"
                         "Title=Titel;Title;\r\n"
                         "\"Two=Eins; \"\"zwei\"\"\";\"One;\n\"\"two\"\"\"\r\n"
                         "-1=\xC3\x84rger mit %;Trouble with %" );
    EXPECT_EQ( "0 a.nls: 6 texts, languages 44, 49, version 1.2\n",
               Outcome( "nls build texts a.nls --file-version 1.2" ) );
    EXPECT_EQ( "0 Titel\n", Get( "Title", "49" ) );
    EXPECT_EQ( "0 Title\n", Get( "TITLE", "44" ) );
    EXPECT_EQ( "0 Eins; \"zwei\"\n", Get( "two", "49" ) );
    EXPECT_EQ( "0 One;\n\"two\"\n", Get( "two", "44" ) );
    EXPECT_EQ( "1 ", Get( "Title", "33" ) );
    EXPECT_EQ( "1 ", Get( "None", "49" ) );
    EXPECT_EQ( "0 Title\n", Get( "Title", "44", "texts" ) ) << "the language files alone";
    EXPECT_EQ( "0 044MODULE.GROUP-1 = Trouble with %\n"
               "044MODULE.GROUPTITLE = Title\n"
               "044MODULE.GROUPTWO = One;\\n\"two\"\n",
               Outcome( "nls dump a.nls --language 44" ) );
    const auto aDump = Json( "nls dump a.nls" );
    ASSERT_EQ( 7u, aDump.size() );
    EXPECT_EQ( "my_unique_nlsfile_version", aDump[6]["key"] );
    EXPECT_EQ( "1.2", aDump[6]["text"] );

    // The next one replaces it; the same texts have the same version of their own.
    const auto Version = [&] { return Json( "nls build texts a.nls" )["version"].get<std::string>(); };
    const std::string strVersion = Version();
    EXPECT_EQ( strVersion, Version() );
    Write( "MODULE.CSV", HEADER + "[Group]\nTitle=Neu;New\n" );
    EXPECT_NE( strVersion, Version() );
    EXPECT_EQ( "0 Neu\n", Get( "Title", "49" ) );
    EXPECT_EQ( "1 ", Get( "two", "49" ) );

    EXPECT_EQ( "3 ", Outcome( "nls build none a.nls" ) );
    EXPECT_EQ( "5 ", Outcome( "nls build texts no/folder/a.nls" ) );
    EXPECT_EQ( "3 ", Outcome( "nls dump texts/MODULE.CSV" ) );
    EXPECT_EQ( "0 Neu\n", Get( "Title", "49" ) );
}

TEST_F( NlsTool, CheckNamesEachFaultWithItsPlace )
{
    // Lines of a file, and what is said of each.
    const std::pair<std::string, Texts> aLines[] = {
        { "x=1;1", { "1: a key outside a group\n" } },
        { "[G.H]", { "1: \"G.H\" cannot be asked for: a group has a name, and no dot in it\n" } },
        { "[G];text", { "5: column 2 is one too many: a group has no texts\n" } },
        { "Both= Zwei ;Two;drei;vier",
          { "17: column 3 is one too many: the header names 2 languages; a text with a semicolon is put in quotes\n" } },
        { "One=eins", { "1: key \"One\" has no text for language 044\n" } },
        { "one=zwei;two", { "1: key \"one\" of [G] is there already, in line 6\n" } },
        { "None=;none", { "6: key \"None\" has no text for language 049\n" } },
        { "no entry;at all", { "1: \"no entry\" is no entry: it has no =\n" } },
        { "1=%% von %;\xC3\x9C of %",
          { "12: places for parameters: 1 here, 3 in the text for language 049\n" } },
        { "2=Hilfe [a.hlp;No help [b",
          { "3: the bracket begins a help section and is not closed: this error cannot be translated\n",
            "16: the bracket begins a help section and is not closed: this error cannot be translated\n" } },
        { "3=\"x;y", { "3: a quote begins this text" } },
        { "[g]", { "1: group [g] is there already, in line 4\n" } },
        { "4=\xFF;y",
          { MYCH_DELIMDIR == '/' ? "3: \"\xEF\xBF\xBD\" is not UTF-8\n"
                                 : "3: \"\xC3\xBF\" is not UTF-8\n" } },
        { "\"5=a\"b;\"open",
          { "6: text behind the closing quote is not read", "8: this quote is not closed" } },
    };
    std::string strFile = HEADER;
    Texts aExpected = {
        "B.CSV:1:1: the first line is no header",
        "C.CSV:1:5: \"German=abc\" is no language",
        "C.CSV:1:19: language 049 is there already\n",
        "d.csv:1:1: programs do not find this file: they look for D.CSV\n",
        "d.csv:5:1: section and key together are \"D.X12\", as those of ",
        "d.csv:6:1: key \"D.X1LONGEST\" has 11 bytes; the longest that fits has 9\n",
        "d.csv:7:4: \"[a.hlp;65536]\" is no help section",
        "d.csv:7:19: \"[]\" is no help section",
    };
    for ( const auto& [strLine, aFaults] : aLines )
    {
        strFile += strLine + "\n";
        const auto nLine = std::ranges::count( strFile, '\n' );
        for ( const std::string& strFault : aFaults )
            aExpected.push_back( "texts/A.CSV:" + std::to_string( nLine ) + ":" + strFault );
    }
    Write( "A.CSV", strFile );
    Write( "B.CSV", "; late\nKey;49;44\n" );
    Write( "C.CSV", "Key;German=abc;49;049\n[A]\n1=a;b;c\n" );
    Write( "d.csv", HEADER + "[X]\n12=a;b\n[X1]\n2=a;b\nLongest=a;b\n\"7=[a.hlp;65536]\";[]\n" );
    const ProgramResult aChecked = Tool( "nls check texts --key-length 9" );
    EXPECT_TRUE( aChecked.Is( 4, aExpected ) );
    EXPECT_EQ( aExpected.size(), static_cast<size_t>( std::ranges::count( aChecked.strOutput, '\n' ) ) );
    EXPECT_EQ( 2, Json( "nls check texts" )[0]["line"] );
    EXPECT_TRUE(
        Tool( "nls build texts a.nls" ).Is( 3, {}, { "bxtool: texts/A.CSV:2:1: a key outside a group\n" } ) );
    EXPECT_EQ( "3 ", Outcome( "nls dump a.nls" ) );
    EXPECT_EQ( 4, Tool( "nls build texts a.nls --force" ).nExitCode );
}

TEST_F( NlsTool, TheLibrarysOwnTextsAreWithoutFault )
{
    EXPECT_EQ( "0 ", Outcome( "nls check '" BXTOOLS_TEXTS "'" ) );
    EXPECT_EQ( "0 ", Outcome( "nls check '" BXTOOLS_TEXTS "' '" BXTOUR_TEXTS "'" ) );
}

TEST_F( NlsTool, ErrorsAreExplainedInSeveralLanguages )
{
    Write( "MODULE.CSV", HEADER + "[Group]\nDescription=Modul;Module\n"
                                  "\"1=Kein % [hilfe.hlp;12]\";\"No % [help.hlp;12]\"\n"
                                  "2=[;[\n" );
    ASSERT_EQ( 4, Tool( "nls build texts '" BXTOOLS_TEXTS "' a.nls --force" ).nExitCode );
    const std::string strStream = StreamOf( { RECORD_B, "1.0.0+?+MODULE.GROUP+?+1+?+0+?+origin+?+more+?+Wert",
                                              "broken", "1.0.0+?+MODULE.GROUP+?+2+?+0+?++?++?+" } );
    EXPECT_TRUE(
        Tool( "errors explain --language 49,44 --texts a.nls", strStream )
            .Is(
                4,
                { "record 1, language 49\n    Kein Wert \n\n    Fehlerklasse: GROUP\n"
                  "    Fehler: 1 (hex: 0x00000001)\n    Quelle: Modul\n\n    more\n\n"
                  "    hilfe.hlp, topic 12\n\nrecord 1, language 44\n    No Wert \n",
                  "Schweregrad: Fehler\n    Bereich: Betriebssystem (Win32)\n"
                  "    Nummer: 5 (hex: 0x00000005)\n" },
                { "record 2 is broken: ",
                  "record 3 is broken: it cannot be translated: From BOOL ErrObjectClient::SetupHelpData" } ) );
    EXPECT_TRUE(
        Tool( "errors explain --language 44 --json --texts '" BXTOOLS_TEXTS "'",
              StreamOf( { "1.0.0+?+BXTOOLS.ERRCLS_SYS_ERRNO+?+2+?+0+?++?++?+" } ) )
            .Is( 0, { R"("message": "There is no such file or directory.\n\nError class: ERRCLS_SYS_ERRNO\n)"
                      R"(Error: 2 (hex: 0x00000002)\nSource: C run-time library")" } ) );
    // Without a word it finds the library's own texts.
    EXPECT_EQ( 0, Tool( "errors explain", StreamOf( { RECORD_A } ) ).nExitCode );
    EXPECT_EQ( "3 ", Outcome( "errors explain --texts none", strStream ) );
}
