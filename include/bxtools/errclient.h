// The translated error record: what a person reads of an error.
//
// An error class is the section of national-language texts that holds its messages, and an error's number in
// decimal is the key (see nls.h); the language is that of the calling thread. The system's own classes,
// ERRCLS_SYS_LASTERROR and ERRCLS_SYS_HRESULT, take the system's text instead. Behind the message stands a block
// that names class, number and library; for an HRESULT also its severity, facility and code. All lines end in
// CR LF:
//
//     (empty line)
//     The settings tour.ini cannot be read.
//     (empty line)
//     Error class: SETTINGS
//     Error: 1 (hex: 0x00000001)
//     Source: Tour of the library
//
// In a message the replace token ("%" unless the common texts name another) stands for the next of the record's
// text parameters, and "[help file;topic]" may stand once anywhere: it is cut out, and GetHelpData gives it.
#pragma once

#include <bxtools/errobject.h>
#include <bxtools/export.h>
#include <bxtools/mstring.h>
#include <bxtools/wintypes.h>

class CallReport;

// A topic of a help file.
typedef USHORT HELP_ID;

// Filled as any record is (FromStream, Error2Object, Error2ObjectFromStream, assignment), then asked for its texts.
// They are made when they are first asked for, and kept until the record is filled again.
//
// For all functions: TRUE, or FALSE with the out arguments unchanged and one report from each step that failed.
// Nothing throws.
// Threads: one at a time, as for every record.
class DLL_EXPORT_MOD ErrObjectClient : public ErrObjectBase
{
public:
    // Reads the labels and the replace token in the calling thread's language. They stay as they are: a record made
    // for one language is not asked in another one. What is not found is "ErrCls", "Error", "SourceDescription" and
    // "%". The thread's last error survives.
    ErrObjectClient();
    // A copy has the texts that were made and shares the text parameters; see ErrObjectBase.
    ErrObjectClient( const ErrObjectClient& aErrObjectClient );
    ~ErrObjectClient() override;
    const ErrObjectClient& operator=( const ErrObjectClient& aErrObjectClient );
    // Fills this record; what was made of its old values is forgotten.
    const ErrObjectClient& operator=( const ErrObjectBase& aErrObjectBase );

    // The message with the block behind it, framed by CR LF; aTransText is replaced.
    //   A text that has another number of places than the record has parameters is taken as it stands, with one
    //   report; that is no failure.
    //   A class and number without a text give the origin text.
    //   Help sections are looked for when the parameters are in their places, and in the origin text, too: a "[" in
    //   one of those counts as the message's own; kept so.
    //   Of a text that brings its own CR LF, as the system's do, the CR stays in front of the frame's; kept so.
    //   ERRCLS_SYS_LASTERROR with a system error of 0 gives the text of the thread's last error; kept so.
    // FALSE: the record was never filled; a help section is opened and not closed; or the system's text cannot be
    // had, see AppendLastErrMsg.
    BOOL GetTranslatedErrText( MString& aTransText );

    // The optional text with CR LF behind it, or an empty text; aDetailsText is replaced. Translates first.
    BOOL GetDetailsErrText( MString& aDetailsText );

    // Help file and topic of the message, an empty text and 0 where it names none. Translates first.
    BOOL GetHelpData( MString& aHelpFileName, HELP_ID& usHelpID );

protected:
    // Forgets what was made, then as for every record. Labels and replace token stay.
    void ClearValues() override;

private:
    BOOL Init( MString& aTransText );
    BOOL GetTranslatedText( MString& aText, const MString& aOriginErrCls, ERR lCurErr, DWORD dwLastErr,
                            BOOL& fMapping );
    BOOL CheckForMapping( MString& aText, MString& aOriginNLSText, MString& aMappedErrCls, ERR& lMappedCurErr,
                          BOOL* pfMappingFound );
    BOOL FormatErrorMessage( MString& aTransText, const MString& aText );
    BOOL SetupHelpData( MString& aTranslatedErrMsg, BOOL fCutOffOnly );
    static void CheckFormat( MString& aText );
    void AppendLibInfo2TranslatedErrMsg( MString& aText, const MString& aErrCls, ERR lCurErr,
                                         DWORD dwLastErr ) const;
    static BOOL IsMyErrorClass( const MString& aErrCls, LPCTSTR pMyErrCls );
    static MString Error2Str( const MString& aErrCls, ERR lCurErr, DWORD dwLastErr );
    static MString GetNLSFacilityDescr( ERR lCurErr );
    static MString GetNLSSeverityDescr( ERR lCurErr );
    BOOL FillPlaces( CallReport& aReport, MString& aTransText, const MString& aText );
    void BuildDetails();
    void ForgetTexts();

    MString m_aTranslatedErrMsg;
    MString m_aDetailsErrText;
    // Of the error that another one stands for. Nothing maps errors yet.
    MString m_aOriginNLSText;
    MString m_aMappedErrCls;
    ERR m_lMappedCurErr = 0;
    HELP_ID m_usHelpID = 0;
    MString m_aHelpFileName;
    MString m_aErrClsLabel;
    MString m_aErrorLabel;
    MString m_aSourceLabel;
    MString m_aReplaceToken;
    BOOL m_fMappingFound = FALSE;
    BOOL m_fTranslated = FALSE;
    BOOL m_fDetailsBuilt = FALSE;
    BOOL m_fOriginInDetails = FALSE;
};
