// bxtool nls and bxtool errors explain: language files, release files, and what users read.
#include "tools/runprogram.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

namespace
{

constexpr char HEADER[] = "Key;German=049;English=044\n";

class NlsFolder : public ProgramFolder
{
public:
    NlsFolder() { std::filesystem::create_directory( Path( "texts" ) ); }

    void Write( const std::string& strName, const std::string& strText ) const
    {
        WriteBytes( Path( "texts/" + strName ), strText );
    }
    ProgramResult Nls( std::vector<std::string> aArguments ) const
    {
        aArguments.insert( aArguments.begin(), "nls" );
        return Run( BXTOOL_PROGRAM, aArguments );
    }
    // Exit code, blank, output.
    std::string Outcome( const std::vector<std::string>& aArguments ) const
    {
        const ProgramResult aResult = Nls( aArguments );
        return std::to_string( aResult.nExitCode ) + " " + aResult.strOutput;
    }
    std::string Get( const std::string& strKey, const std::string& strLanguage,
                     const std::string& strTexts = "a.nls" ) const
    {
        return Outcome( { "get", strTexts, "Module.Group", strKey, "--language", strLanguage } );
    }
};

} // namespace

TEST( NlsTool, ReleaseFileGivesTheTextsOfAllLanguages )
{
    const NlsFolder aFolder;
    // As a spreadsheet writes it.
    aFolder.Write( "MODULE.CSV", "\xEF\xBB\xBFKey;German=049;English=044;;\r\n"
                                 "; a comment;;\r\n"
                                 "[Group];;\r\n"
                                 "Title=Titel;Title;\r\n"
                                 "\"Two=Eins; \"\"zwei\"\"\";\"One;\n\"\"two\"\"\"\r\n"
                                 "-1=\xC3\x84rger mit %;Trouble with %" );
    const ProgramResult aBuilt = aFolder.Nls( { "build", "texts", "a.nls", "--file-version", "1.2" } );
    EXPECT_EQ( 0, aBuilt.nExitCode ) << aBuilt.strErrors;
    EXPECT_EQ( "a.nls: 6 texts, languages 44, 49, version 1.2\n", aBuilt.strOutput );
    EXPECT_EQ( "0 Titel\n", aFolder.Get( "Title", "49" ) );
    EXPECT_EQ( "0 Title\n", aFolder.Get( "TITLE", "44" ) );
    EXPECT_EQ( "0 Eins; \"zwei\"\n", aFolder.Get( "two", "49" ) );
    EXPECT_EQ( "0 One;\n\"two\"\n", aFolder.Get( "two", "44" ) );
    EXPECT_EQ( "1 ", aFolder.Get( "Title", "33" ) );
    EXPECT_EQ( "1 ", aFolder.Get( "None", "49" ) );
    EXPECT_EQ( "0 Title\n", aFolder.Get( "Title", "44", "texts" ) ) << "the language files alone";
    EXPECT_EQ( "0 044MODULE.GROUP-1 = Trouble with %\n"
               "044MODULE.GROUPTITLE = Title\n"
               "044MODULE.GROUPTWO = One;\\n\"two\"\n",
               aFolder.Outcome( { "dump", "a.nls", "--language", "44" } ) );
    const auto aDump = nlohmann::json::parse( aFolder.Nls( { "dump", "a.nls", "--json" } ).strOutput );
    ASSERT_EQ( 7u, aDump.size() );
    EXPECT_EQ( "my_unique_nlsfile_version", aDump[6]["key"].get<std::string>() );
    EXPECT_EQ( "1.2", aDump[6]["text"].get<std::string>() );

    // The next one replaces it; the same texts have the same version of their own.
    const auto Version = [&]
    {
        const ProgramResult aResult = aFolder.Nls( { "build", "texts", "a.nls", "--json" } );
        EXPECT_EQ( 0, aResult.nExitCode ) << aResult.strErrors;
        return nlohmann::json::parse( aResult.strOutput )["version"].get<std::string>();
    };
    const std::string strVersion = Version();
    EXPECT_EQ( strVersion, Version() );
    aFolder.Write( "MODULE.CSV", HEADER + std::string( "[Group]\nTitle=Neu;New\n" ) );
    EXPECT_NE( strVersion, Version() );
    EXPECT_EQ( "0 Neu\n", aFolder.Get( "Title", "49" ) );
    EXPECT_EQ( "1 ", aFolder.Get( "two", "49" ) );

    EXPECT_EQ( 3, aFolder.Nls( { "build", "none", "a.nls" } ).nExitCode );
    EXPECT_EQ( 5, aFolder.Nls( { "build", "texts", "no/folder/a.nls" } ).nExitCode );
    EXPECT_EQ( 3, aFolder.Nls( { "dump", "texts/MODULE.CSV" } ).nExitCode );
    EXPECT_EQ( "0 Neu\n", aFolder.Get( "Title", "49" ) );
}

TEST( NlsTool, CheckNamesEachFaultWithItsPlace )
{
    const NlsFolder aFolder;
    aFolder.Write( "A.CSV", HEADER + std::string( "x=1;1\n"
                                                  "[G.H]\n"
                                                  "[G];text\n"
                                                  "Both= Zwei ;Two;drei;vier\n"
                                                  "One=eins\n"
                                                  "one=zwei;two\n"
                                                  "None=;none\n"
                                                  "no entry;at all\n"
                                                  "1=%% von %;\xC3\x9C of %\n"
                                                  "2=Hilfe [a.hlp;No help [b\n"
                                                  "3=\"x;y\n"
                                                  "[g]\n"
                                                  "4=\xFF;y\n"
                                                  "\"5=a\"b;\"open\n" ) );
    aFolder.Write( "B.CSV", "; late\nKey;49;44\n" );
    aFolder.Write( "C.CSV", "Key;German=abc;49;049\n[A]\n1=a;b;c\n" );
    aFolder.Write( "d.csv", HEADER + std::string( "[X]\n12=a;b\n[X1]\n2=a;b\nLongest=a;b\n"
                                                  "\"7=[a.hlp;65536]\";[]\n" ) );
    const ProgramResult aResult = aFolder.Nls( { "check", "texts", "--key-length", "9" } );
    EXPECT_EQ( 4, aResult.nExitCode ) << aResult.strErrors;
    const std::string strFile = "texts/A.CSV:";
    const std::string strExpected =
        strFile + "2:1: a key outside a group\n" + strFile +
        "3:1: \"G.H\" cannot be asked for: a group has a name, and no dot in it\n" + strFile +
        "4:5: column 2 is one too many: a group has no texts\n" + strFile +
        "5:17: column 3 is one too many: the header names 2 languages; a text with a semicolon is put in quotes\n" +
        strFile + "6:1: key \"One\" has no text for language 044\n" + strFile +
        "7:1: key \"one\" of [G] is there already, in line 6\n" + strFile +
        "8:6: key \"None\" has no text for language 049\n" + strFile +
        "9:1: \"no entry\" is no entry: it has no =\n" + strFile +
        "10:12: places for parameters: 1 here, 3 in the text for language 049\n" + strFile +
        "11:3: the bracket begins a help section and is not closed: this error cannot be translated\n" +
        strFile +
        "11:16: the bracket begins a help section and is not closed: this error cannot be translated\n";
    EXPECT_EQ( strExpected, aResult.strOutput.substr( 0, strExpected.size() ) );
    for ( const char* pLine :
          { "A.CSV:12:3: a quote begins this text", "A.CSV:13:1: group [g] is there already, in line 4\n",
            "A.CSV:14:3: \"\xEF\xBF\xBD\" is not UTF-8\n",
            "A.CSV:15:6: text behind the closing quote is not read", "A.CSV:15:8: this quote is not closed",
            "B.CSV:1:1: the first line is no header", "C.CSV:1:5: \"German=abc\" is no language",
            "C.CSV:1:19: language 049 is there already\n",
            "d.csv:1:1: programs do not find this file: they look for D.CSV\n",
            "d.csv:5:1: section and key together are \"D.X12\", as those of ",
            "d.csv:6:1: key \"D.X1LONGEST\" has 11 bytes; the longest that fits has 9\n",
            "d.csv:7:4: \"[a.hlp;65536]\" is no help section", "d.csv:7:19: \"[]\" is no help section" } )
        EXPECT_TRUE( Holds( aResult.strOutput, pLine ) ) << pLine << aResult.strOutput;

    const auto aJson = nlohmann::json::parse( aFolder.Nls( { "check", "texts", "--json" } ).strOutput );
    EXPECT_EQ( 2u, aJson[0]["line"].get<size_t>() );
    const ProgramResult aRefused = aFolder.Nls( { "build", "texts", "a.nls" } );
    EXPECT_EQ( 3, aRefused.nExitCode );
    EXPECT_TRUE( Holds( aRefused.strErrors, "bxtool: texts/A.CSV:2:1: a key outside a group\n" ) )
        << aRefused.strErrors;
    EXPECT_EQ( "3 ", aFolder.Outcome( { "dump", "a.nls" } ) );
    EXPECT_EQ( 4, aFolder.Nls( { "build", "texts", "a.nls", "--force" } ).nExitCode );
}

TEST( NlsTool, TheLibrarysOwnTextsAreWithoutFault )
{
    const NlsFolder aFolder;
    EXPECT_EQ( "0 ", aFolder.Outcome( { "check", BXTOOLS_TEXTS } ) );
    EXPECT_EQ( "0 ", aFolder.Outcome( { "check", BXTOOLS_TEXTS, BXTOUR_TEXTS } ) );
}

TEST( NlsTool, ErrorsAreExplainedInSeveralLanguages )
{
    const NlsFolder aFolder;
    aFolder.Write( "MODULE.CSV", HEADER + std::string( "[Group]\nDescription=Modul;Module\n"
                                                       "\"1=Kein % [hilfe.hlp;12]\";\"No % [help.hlp;12]\"\n"
                                                       "2=[;[\n" ) );
    ASSERT_EQ( 4, aFolder.Nls( { "build", "texts", BXTOOLS_TEXTS, "a.nls", "--force" } ).nExitCode );
    const std::string strStream = StreamOf( { RECORD_B, "1.0.0+?+MODULE.GROUP+?+1+?+0+?+origin+?+more+?+Wert",
                                              "broken", "1.0.0+?+MODULE.GROUP+?+2+?+0+?++?++?+" } );
    const ProgramResult aText =
        aFolder.Errors( { "explain", "--texts", "a.nls", "--language", "49,44" }, strStream );
    EXPECT_EQ( 4, aText.nExitCode );
    EXPECT_TRUE( Holds( aText.strOutput,
                        "record 1, language 49\n    Kein Wert \n\n    Fehlerklasse: GROUP\n"
                        "    Fehler: 1 (hex: 0x00000001)\n    Quelle: Modul\n\n    more\n\n"
                        "    hilfe.hlp, topic 12\n\nrecord 1, language 44\n    No Wert \n" ) )
        << aText.strOutput;
    EXPECT_TRUE( Holds( aText.strOutput, "Schweregrad: Fehler\n    Bereich: Betriebssystem (Win32)\n"
                                         "    Nummer: 5 (hex: 0x00000005)\n" ) )
        << aText.strOutput;
    for ( const char* pLine :
          { "record 2 is broken: ",
            "record 3 is broken: it cannot be translated: From BOOL ErrObjectClient::SetupHelpData" } )
        EXPECT_TRUE( Holds( aText.strErrors, pLine ) ) << aText.strErrors;

    const auto aJson = nlohmann::json::parse(
        aFolder
            .Errors( { "explain", "--texts", BXTOOLS_TEXTS, "--language", "44", "--json" },
                     StreamOf( { "1.0.0+?+BXTOOLS.ERRCLS_SYS_ERRNO+?+2+?+0+?++?++?+" } ) )
            .strOutput );
    EXPECT_EQ(
        "There is no such file or directory.\n\nError class: ERRCLS_SYS_ERRNO\nError: 2 (hex: 0x00000002)\n"
        "Source: C run-time library",
        aJson["records"][0]["texts"][0]["message"].get<std::string>() );
    // Without a word it finds the library's own texts.
    EXPECT_EQ( 0, aFolder.Errors( { "explain" }, StreamOf( { RECORD_A } ) ).nExitCode );
    EXPECT_EQ( 3, aFolder.Errors( { "explain", "--texts", "none" }, strStream ).nExitCode );
}
