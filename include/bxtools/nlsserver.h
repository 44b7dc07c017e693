// The server of national-language texts: where a thread's texts come from, and in which language. Programs read texts through
// nls.h; this header is for those that choose the language themselves, that build a release file, or that read language files.
//
// A server works in one of two modes:
// - In edit mode it reads the language files themselves, as they are at the moment of each lookup: an INI file per project,
//
//       Key;German=049;English=044
//       [MAINWINDOW]
//       TITLE=Titel;Title
//
//   whose first line, the language header, names the country codes in the order of the texts that each value holds, divided by
//   semicolons. The first column stands for the key. A code stands alone or behind a name; it consists of digits.
// - In release mode it reads the release file, a tree file (btree.h) of one language or several. The key of a text is country
//   code, section and key with nothing between them: 049EDITOR.MAINWINDOWTITLE.
// Lookups ask in upper case, so sections and keys of a release file, and the names of language files, are in upper case. In
// language files the case of sections and keys does not matter.
//
// The country code is the telephone's, as three digits at least: 049. The mode, the folder of the language files and the code are
// read from the registry below HKEY_LOCAL_MACHINE\Software\Q.R.N. GmbH\brindlex\1.0\NLS when a server is made:
//   EditMode  "Yes", "1" or "TRUE" in any case: edit mode. Release mode otherwise.
//   Path      the folder.
//   Language  the code; without it that of the system, and 49 where the system has none.
// The registry names no release file: a server made with its settings outside edit mode has none, its status is FALSE, and every
// key is its own text; kept so. SetNlsSettings names one.
//
// Nothing throws. What fails is reported to the library's debug hook.
// Threads: an object belongs to one thread at a time; servers of several threads share nothing.
#pragma once

#include <bxtools/baseobject.h>
#include <bxtools/btree.h>
#include <bxtools/config.h>
#include <bxtools/lists.h>
#include <bxtools/mstring.h>

#include <string_view>

// ---- settings ---------------------------------------------------------------------------------------------

struct NlsSettings
{
    BOOL fEditMode = FALSE;
    // TRUE: a server reports its settings when it is made, and each key that has no text.
    BOOL fDebugMessages = FALSE;
    // The folder of the language files; edit mode only. Up to 259 characters.
    MString stLanguagePath;
    // Release mode only.
    MString stReleaseFile;
    // 0: the system's.
    USHORT usCountryCode = 0;
};

// Makes settings those of this process, in the place of the registry's.
//   pSettings  copied. NULL: the registry's again.
// The calling thread's server is given up, so that its next lookup has them; a lookup under way, out of whose reports this is
// called, ends with the old ones. Other threads take them when their servers are made. Short of memory everything stays as it
// was, with one report.
// Threads: any. Never throws.
DLL_EXPORT_MOD void DLL_EXPORT SetNlsSettings( const NlsSettings* pSettings );

// Reads the settings: those of SetNlsSettings, else the registry's.
//   all   out, not NULL.
//   pstIniFile  empty, always; kept so. pstReleaseFile  empty unless SetNlsSettings gave one; kept so.
//   pstCSVFilesPath  without a delimiter at its end; empty where there is no such folder.
//   pstCountryCode  as CheckCountryCode makes it.
// Result: TRUE, whatever could be read. What could not is reported, a step at a time, and has its default.
DLL_EXPORT_MOD BOOL GetNlsContentsFromIniFile( BOOL* pfDebugMessages, BOOL* pfEditMode, MString* pstIniFile,
                                               MString* pstCSVFilesPath, MString* pstReleaseFile,
                                               MString* pstCountryCode );

// Makes a country code a number and a text of three digits at least. 0, what is above 1000 and, with fSetDefault, what is no
// number become 49. Any other code that is not supported is kept, with a warning; so is one that is not the system's.
//   pCountryCode    out: the number. Untouched on failure. Not NULL.
//   pstCountryCode  in: the code; out: its text. Untouched on failure. Not NULL.
//   fSetDefault     FALSE: an empty text, and one that is no number, fails.
// Result: TRUE; FALSE with one report. A warning is a report, too: one for all of them.
DLL_EXPORT_MOD BOOL CheckCountryCode( USHORT* pCountryCode, MString* pstCountryCode, BOOL fSetDefault );

// One of the system's items of language and country.
//   lctype  as for GetLocaleInfoA.
// Result: TRUE; FALSE with one report, and an empty text.
DLL_EXPORT_MOD BOOL GetLocaleString( LCTYPE lctype, MString& str );

// ---- language files ---------------------------------------------------------------------------------------

inline constexpr long INDEXNOTFOUND = -1;

// The country codes of a language file, in the order of its texts.
class DLL_EXPORT_MOD LanguageCodeList : public MyLanguageCodeList
{
public:
    using MyLanguageCodeList::MyLanguageCodeList;
    // The place of a code's first occurrence, from 0; INDEXNOTFOUND.
    long GetIndexForNLSToken( LONG lLanguageCode );
};

// One language file. Whatever it reads as a configuration (config.h) becomes the text of a language on the way; the language is
// that of the country code that ReadText is given, and none otherwise.
class DLL_EXPORT_MOD MyErrNlsInterFaceConfig : public MConfig
{
public:
    // The file need not be there.
    explicit MyErrNlsInterFaceConfig( const MString& aFileName );
    MyErrNlsInterFaceConfig( const MyErrNlsInterFaceConfig& ) = delete;
    MyErrNlsInterFaceConfig& operator=( const MyErrNlsInterFaceConfig& ) = delete;

    // The text of a key. Its section is the current group afterwards.
    //   rDefault  given when there is no such key.
    // A file without a usable header, and a header without the code, are reported at each text that is read, which then is the
    // whole value, with all languages; kept so.
    MString ReadText( const MString& aSec, const MString& rKey, const MString& rDefault,
                      const MString& stCountry );

    // The first line of a file, without its end, which is CR, CR LF or LF, and without a UTF-8 mark before it.
    // Result: FALSE, with the report of the operation that failed, when the file cannot be read; FALSE without a report when the
    // line has 65,536 bytes or more.
    BOOL GetLanguageHeader( const MString& aFileName, MString& aNlsHeader );
    // Reads a file's header and takes its codes into a list, which it empties before.
    //   pList  NULL fails, with a report.
    // Result: TRUE; FALSE with one report. Codes before one that is not numeric stay in the list.
    BOOL internalGetLanguageHeader( const MString& aFileName, MString& aNlsHeader, LanguageCodeList* pList );

protected:
    void OnKeyRead( MString& aValue, const MString& stCountry, const MString& rDefault ) override;

private:
    BOOL ReadHeader( CallReport& rReport );

    LanguageCodeList m_aLanguageCodeList;
    MString m_aNlsHeader; // empty until it was read
    USHORT m_usAttemptsCount = 0;
};

// The language files of a folder, each loaded when a section first asks for it. A loaded file stays so: its languages are those
// of its header at that time, its texts those of each lookup.
class DLL_EXPORT_MOD MyCfgFiles : public MyCfgList
{
public:
    // Access modes of GetItem, for a walk over all files.
    enum
    {
        FIRST = 5,
        NEXT = 2
    };

    //   stCfgName       where there is no folder: a file that lists the language files; see BuildupAllConfigFiles.
    //   stCSVFilesPath  the folder, up to 259 characters. One that is not there is reported, and the status stays TRUE; kept so.
    MyCfgFiles( const MString& stCfgName, const MString& stCSVFilesPath );

    // FALSE when the listed files could not be loaded.
    BOOL IsStatusOk() const { return m_fStatus; }
    // With the delimiter at its end that it was given with, if any.
    const MString& GetFilesPath() const { return m_stCSVFilesPath; }

    // The text of a key. Every loaded file is asked, in the order in which they were loaded and whatever its name; then the file
    // that the section names, which is loaded now.
    //   stSec      FILE.SECTION.
    //   stCountry  the country code.
    //   bFound     out.
    // Result: the text, the key where there is none; the object's, valid until the next call.
    DATABUFTYPE ReadStringValue( const MString& stSec, const MString& stKey, const MString& stCountry,
                                 BOOL& bFound );
    // Takes a section's name apart.
    //   aSec, aFileName  out: the group, and the name of its file. Untouched on failure.
    //   fRelease         TRUE: the file's name gets the country code and the extension NLS; FALSE: the extension CSV.
    // Result: TRUE; FALSE with one report unless there are two pieces with one dot between them.
    BOOL CheckSectionName( const MString& stSec, const MString& stCountry, MString& aSec, MString& aFileName,
                           BOOL fRelease );
    // Loads the files that a file lists: the first column of each key of its group "ConfigFileSection" is a path.
    // Result: TRUE; FALSE with one report when it has no such keys, or memory runs out. A file that cannot be read, or is loaded
    // already, is reported and passed over.
    BOOL BuildupAllConfigFiles( const MString& stCfgName );

private:
    BOOL AskFile( MyErrNlsInterFaceConfig& rFile, const MString& aSec, const MString& stKey,
                  const MString& stCountry );
    BOOL AskFiles( const MString& aSec, const MString& stKey, const MString& stCountry );
    BOOL AskNamedFile( CallReport& rReport, const MString& aFileName, const MString& aSec,
                       const MString& stKey, const MString& stCountry );
    BOOL IsLoaded( const MString& aPath );
    MyErrNlsInterFaceConfig* Load( const MString& aPath );
    BOOL LoadListedFile( CallReport& rReport, const MString& aPath );

    BOOL m_fStatus = TRUE;
    MString m_stResult;
    MString m_stCSVFilesPath;
    LPCTSTR m_pResult = NULL;
};

// ---- the server -------------------------------------------------------------------------------------------

class TextMemo;

class DLL_EXPORT_MOD NLSServer : public BaseObject2
{
public:
    //   MaxKeyLen    0: a server that reads, with the settings. Otherwise a writer of a new release file: the length of its
    //                longest key, without the country code.
    //   releaseFile  the writer's file, made with its folders. An empty one takes the place of one that is there; who reads that
    //                one keeps it until his server is made anew, and on Windows is in the way. Nor can it be replaced while
    //                somebody writes to it. Not used by a server that reads.
    // What fails is reported, and the status is FALSE then.
    NLSServer( USHORT MaxKeyLen, LPCTSTR releaseFile );
    // Closes the release file: a new one is complete then.
    ~NLSServer();
    NLSServer( const NLSServer& ) = delete;
    NLSServer& operator=( const NLSServer& ) = delete;

    // Whether it can be used.
    BOOL IsStatusOk() const;
    BOOL IsEditMode() const { return m_fEditMode; }
    BOOL IsDebugMessages() const { return m_fDebugMessages; }
    // Three digits at least.
    const MString& GetCountryCode() const { return m_stCountryCode; }

    // The text of a key.
    //   pstSec, pstKey    NULL is "". In release mode upper and lower case differ; an empty section makes the key the whole key.
    //   bWithCountryCode  release mode: whether the key begins with the country code. Edit mode always reads the code's texts.
    //   pbFound           out: 1 when there is a text, otherwise untouched; may be NULL.
    //   ppData            out: the text, pstKey where there is none; the server's, valid until the next call. May be NULL.
    //   pFullKey          out: the key that was asked for, in edit mode without a country code; may be NULL.
    // Result: TRUE, with or without a text; FALSE with one report when the server cannot be used.
    BOOL ReadStringValue( LPCTSTR pstSec, LPCTSTR pstKey, BOOL bWithCountryCode, BOOL* pbFound,
                          DATABUFTYPE* ppData, MString* pFullKey );
    // The same with the country code, of a section and a key that are in any case. pbFound is FALSE before; neither it nor
    // ppData is NULL. The text is valid until the next call of this function, too.
    BOOL ReadInUpperCase( std::string_view aSec, std::string_view aKey, BOOL* pbFound, DATABUFTYPE* ppData );
    // Adds a pair to the release file that a writer makes. Of a key that is written twice the first text stays; kept so.
    //   pstKey  the whole key, with the country code.
    // Result: TRUE; FALSE with one report, and those of the tree file before it.
    BOOL WriteStringValue( LPCTSTR pstKey, LPCTSTR pstValue );

    // Whether the release file is there and may be read and written.
    //   fExistanceOnly  FALSE: it is made first, with its folders, and empty, as for a writer.
    // Result: TRUE; FALSE with one report.
    BOOL CheckReleaseFile( BOOL fExistanceOnly );
    // Reports the settings, where the debug flag is set: task, mode, and the files.
    void PutDebugMessages();

private:
    BOOL OpenLanguageFiles( CallReport& rReport );
    BOOL OpenReleaseFile( CallReport& rReport, USHORT MaxKeyLen, LPCTSTR releaseFile );
    BOOL Read( LPCTSTR pstSec, LPCTSTR pstKey, LPCTSTR pFullKey, BOOL* pbFound, DATABUFTYPE* ppData );

    LPVOID m_lNlsBTreeOnDisk = NULL;
    BOOL m_fDebugMessages = FALSE;
    MString m_stIniFile;
    MString m_stCSVFilesPath;
    MString m_stReleaseFile;
    MString m_stCountryCode;
    BOOL m_fStatus = TRUE;
    BOOL m_fEditMode = FALSE;
    MyCfgFiles* m_pCfgFiles = NULL;
    TextMemo* m_pTextMemo = NULL; // owned; NULL: none is needed, or there was no memory
    DATABUFTYPE m_pLastValue = NULL;
};
