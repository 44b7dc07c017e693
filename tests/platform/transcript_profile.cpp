// Profile files: what a read gives back of any text, and what a write makes of it.

#include "platform/transcript.h"
#include "support/scratchfolder.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string>

namespace
{
namespace fs = std::filesystem;

struct ReadCase
{
    const char* pName;
    const char* pSection;
    const char* pKey;
    const char* pDefault = "(none)";
    DWORD dwSize = 120;
};

struct WriteCase
{
    const char* pName;
    const char* pBefore; // null: there is no file
    const char* pSection;
    const char* pKey;
    const char* pValue;
};

constexpr char TEXT[] =
    "early=1\n[Plain]\nkey=value\n Two = 2 \n\tThree\t=\t3\t\nempty=\nkey=second\nNo equals sign\n"
    "tail = a ; b # c\n;comment=1\n  ;indented=1\n#hash=2\n=nameless\neq=a=b\nvt=\va\v\n"
    "[ Blanks ] behind\nq1=\"dd\"\nq2=\"\"dd\"\"\nq3='s'\nq4=\"open\nq5=' in '\nq6=\"\nq7=\"a'\nq8=''\n"
    "  [Indented]\nk=1\n[a]b]\nk=2\n[open\nk=3\n[x=5\n[]\nk=4\n[PLAIN]\nother=1\n[\xC3\x84rger]\n"
    "\xC3\x96l=5\n[crlf]\r\na=1\r\nb=2\r\n[cr]\rc=3\rd=4\r\n[last]\nend=x";

constexpr ReadCase READ_CASES[] = {
    { "read", "Plain", "key" },
    { "names in another case, with blanks", " pLAIN ", "\tKEY " },
    { "blanks around the name", "Plain", "two" },
    { "tabs around the name", "Plain", "three" },
    { "empty value", "Plain", "empty" },
    { "semicolon in a value", "Plain", "tail" },
    { "key of a comment", "Plain", ";comment" },
    { "key with a hash", "Plain", "#hash" },
    { "key without a name", "Plain", "" },
    { "line without equals sign", "Plain", "No equals sign" },
    { "equals sign in the value", "Plain", "eq" },
    { "vertical tabs", "Plain", "vt" },
    { "before the first section", "", "early" },
    { "missing key", "Plain", "missing" },
    { "missing section", "Missing", "key" },
    { "key of the second section of a name", "Plain", "other" },
    { "header with blanks and a tail", "Blanks", "q1" },
    { "two pairs of quotes", "Blanks", "q2" },
    { "single quotes", "Blanks", "q3" },
    { "open quote", "Blanks", "q4" },
    { "blanks in quotes", "Blanks", "q5" },
    { "one quote", "Blanks", "q6" },
    { "two kinds of quotes", "Blanks", "q7" },
    { "nothing in quotes", "Blanks", "q8" },
    { "indented header", "Indented", "k" },
    { "bracket in a header", "a]b", "k" },
    { "open header", "open", "k" },
    { "open header as key", "a]b", "[x" },
    { "header without a name", "", "k" },
    { "other case above 127", "\xC3\xA4RGER", "\xC3\xB6L" },
    { "CR LF", "crlf", "a" },
    { "CR alone", "cr", "c" },
    { "second after CR alone", "cr", "d" },
    { "no line end", "last", "end" },
    { "default with blanks", "Plain", "missing", "  a b  " },
    { "default with tab", "Plain", "missing", "a\t" },
    { "default of blanks", "Plain", "missing", "   " },
    { "default in quotes", "Plain", "missing", "\"a\"" },
    { "no default", "Plain", "missing", NULL },
    { "cut value", "Plain", "key", "", 4 },
    { "value that just fits", "Plain", "key", "", 6 },
    { "cut default", "Plain", "missing", "default", 4 },
    { "size 1", "Plain", "key", "", 1 },
    { "size 0", "Plain", "key", "", 0 },
    { "keys", "Plain", NULL },
    { "keys of a section without a name", "", NULL },
    { "keys of a missing section", "Missing", NULL, "d " },
    { "keys of a missing section, no default", "Missing", NULL, "" },
    { "keys cut within a name", "crlf", NULL, "", 3 },
    { "keys cut at their end", "Plain", NULL, "", 9 },
    { "keys cut before the last zero", "crlf", NULL, "", 4 },
    { "keys that just fit", "crlf", NULL, "", 5 },
    { "keys, size 2", "crlf", NULL, "", 2 },
    { "keys, size 1", "crlf", NULL, "", 1 },
    { "sections", NULL, NULL },
    { "sections though a key is given", NULL, "key" },
    { "sections cut", NULL, NULL, "", 10 },
};

constexpr char OLD[] = "; top\n[A]\nk = 1\n; c\n x=2\n[B]\n; of b\ny=3\n[A]\nk=9\n";

constexpr WriteCase WRITE_CASES[] = {
    { "new file", NULL, "Sec", "key", "val" },
    { "delete in no file", NULL, "Sec", "key", NULL },
    { "flush", NULL, NULL, NULL, NULL },
    { "no section", "[A]\r\nk=1\r\n", NULL, "k", "v" },
    { "key replaced", "[A]\r\nKey=1\r\n;c\r\n", " a ", " kEY ", "new" },
    { "key added after comments", "[A]\r\nk=1\r\n;c\r\n[B]\r\nz=1\r\n", "A", "n", "v" },
    { "section added", "[A]\r\nk=1\r\n", "New", "n", "v" },
    { "line end added", "[A]\r\nk=1", "A", "n", "v" },
    { "line end added before a section", "[A]\r\nk=1", "B", "n", "v" },
    { "blanks around names", "[A]\r\n", "  B ", " n ", "v" },
    { "blanks around the value", "[A]\r\n", "A", "n", "  v  " },
    { "quotes stay", "[A]\r\n", "A", "n", "\" v \"" },
    { "line end in the value", "[A]\r\n", "A", "n", "a\r\nb" },
    { "key with equals sign", "[A]\r\n", "A", "a=b", "c" },
    { "empty key", "[A]\r\n", "A", "", "v" },
    { "empty key deleted", "[A]\r\n=v\r\nk=1\r\n", "A", "", NULL },
    { "empty section", "[A]\r\n", "", "k", "v" },
    { "first key deleted", "[A]\r\nk=1\r\nK=2\r\n", "A", "k", NULL },
    { "last key deleted", "[A]\r\nk=1\r\n", "A", "k", NULL },
    { "missing key deleted", "[A]\r\nk=1\r\n", "A", "m", NULL },
    { "section deleted", "[A]\r\nk=1\r\n;c\r\n[B]\r\nz=1\r\n[a]\r\nk=2\r\n", "A", NULL, "text" },
    { "only section deleted", "[A]\r\nk=1\r\n", "A", NULL, NULL },
    { "missing section deleted", "[A]\r\nk=1\r\n", "B", NULL, NULL },
    { "same value", "[A]\n k  =  1\n\n\n[B]\n", "A", "k", "1" },
    { "edited in place", OLD, "a", "K", "new" },
    { "added in place", OLD, "a", "n", "v" },
    { "deleted in place", OLD, "a", "x", NULL },
    { "section deleted in place", OLD, "B", NULL, NULL },
    { "key before the first section", "k=1\r\n[A]\r\n", "", "k", "2" },
};

// Zeros, line ends and tabs made visible; what follows the last changed byte is left out.
std::string Visible( const std::string& strBytes )
{
    std::string strText;
    for ( const char c : strBytes.substr( 0, strBytes.find_last_not_of( '~' ) + 1 ) )
    {
        constexpr char HIDDEN[] = { '\0', '\r', '\n', '\t', '\v' };
        constexpr const char* SHOWN[] = { "|", "<r>", "<n>", "<t>", "<v>" };
        const char* const pFound = std::find( std::begin( HIDDEN ), std::end( HIDDEN ), c );
        strText += pFound == std::end( HIDDEN ) ? std::string( 1, c ) : SHOWN[pFound - HIDDEN];
    }
    return strText;
}

void SayRead( const ReadCase& rCase, const std::string& strFile )
{
    std::string strBuffer( 200, '~' );
    SetLastError( UNTOUCHED );
    const DWORD dwResult = GetPrivateProfileStringA( rCase.pSection, rCase.pKey, rCase.pDefault,
                                                     strBuffer.data(), rCase.dwSize, strFile.c_str() );
    Say( rCase.pName, "%u %u '%s'", static_cast<unsigned>( dwResult ),
         static_cast<unsigned>( GetLastError() ), Visible( strBuffer ).c_str() );
}

void SayWrite( const WriteCase& rCase, const std::string& strFile )
{
    if ( rCase.pBefore )
        WriteBytes( strFile, rCase.pBefore );
    SetLastError( UNTOUCHED );
    const BOOL fDone =
        WritePrivateProfileStringA( rCase.pSection, rCase.pKey, rCase.pValue, strFile.c_str() );
    const DWORD dwError = GetLastError();
    WritePrivateProfileStringA( NULL, NULL, NULL, strFile.c_str() );
    const std::string strAfter = fs::exists( strFile ) ? ReadBytes( strFile ) : "(no file)";
    Say( rCase.pName, "%d %u %s", fDone, static_cast<unsigned>( fDone ? 0 : dwError ),
         Visible( strAfter ).c_str() );
}

void SayRefusal( const char* pName, const std::string& strFile )
{
    SayOutcome( pName, WritePrivateProfileStringA( "s", "k", "v", strFile.c_str() ) );
}

void SayErrors( const ScratchFolder& rFolder )
{
    SayRead( { "no file", "s", "k" }, rFolder.Path( "missing.ini" ) );
    SayRead( { "sections of no file", NULL, NULL, "" }, rFolder.Path( "missing.ini" ) );
    SayRead( { "no folder", "s", "k" }, rFolder.Path( "missing/a.ini" ) );
    SayRead( { "a folder", "s", "k" }, rFolder.Path() );
    SayRead( { "empty path", "s", "k" }, "" );
    WriteBytes( rFolder.Path( "bare.ini" ), "k=1\r\n[e]\r\n;c=1\r\n" );
    SayRead( { "keys of a section with comments only", "e", NULL }, rFolder.Path( "bare.ini" ) );
    SayRead( { "missing section with sections", "m", "k" }, rFolder.Path( "bare.ini" ) );
    WriteBytes( rFolder.Path( "none.ini" ), "k=1\r\n" );
    SayRead( { "sections where there are none", NULL, NULL }, rFolder.Path( "none.ini" ) );
    SayRefusal( "write without folder", rFolder.Path( "missing/a.ini" ) );
    SayRefusal( "write to a folder", rFolder.Path() );
    const std::string strLocked = rFolder.Path( "readonly.ini" );
    WriteBytes( strLocked, "[s]\n" );
    fs::permissions( strLocked, fs::perms::owner_read );
    SayRefusal( "write to a read-only file", strLocked );
    fs::permissions( strLocked, fs::perms::owner_all );
}
} // namespace

int main()
{
    const ScratchFolder aFolder;
    WriteBytes( aFolder.Path( "text.ini" ), TEXT );
    for ( const ReadCase& rCase : READ_CASES )
        SayRead( rCase, aFolder.Path( "text.ini" ) );
    int nFile = 0;
    for ( const WriteCase& rCase : WRITE_CASES )
        SayWrite( rCase, aFolder.Path( std::to_string( nFile++ ) + ".ini" ) );
    SayErrors( aFolder );
    return 0;
}
