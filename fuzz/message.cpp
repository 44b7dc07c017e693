// Messages of any bytes, with any parameters and any replace token: every one has a translation or a reason why not, and
// what is filled in and cut out is what was to be.
#include "diag/sharedvalues.h"
#include "fuzz/require.h"

#include <bxtools/btree.h>
#include <bxtools/errclient.h>
#include <bxtools/nlsserver.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace
{

// A release file of one message; it is written anew for each input.
class OneMessage
{
public:
    OneMessage() : m_strPath( std::string( std::getenv( "BXTOOLS_OBJECT_DIR" ) ) + "/message.nls" ) {}
    ~OneMessage() { std::filesystem::remove( m_strPath ); }
    OneMessage( const OneMessage& ) = delete;
    OneMessage& operator=( const OneMessage& ) = delete;

    void Write( const std::string& strMessage, const std::string& strToken )
    {
        SetNlsSettings( NULL );
        std::filesystem::remove( m_strPath );
        const LPVOID lTree = BTreeOnDiskInit( m_strPath.c_str(), 48, "rb+", FALSE );
        BTreeOnDiskWriteKeyStringPairToFile( lTree, "049FUZZ.CLASS1", strMessage.c_str() );
        BTreeOnDiskWriteKeyStringPairToFile( lTree, "049BXCOMMON.NLSCOMMONERRORMSG_REPLACE_TOKEN",
                                             strToken.c_str() );
        BTreeOnDiskDelete( lTree );
        NlsSettings aSettings;
        aSettings.stReleaseFile = m_strPath.c_str();
        aSettings.usCountryCode = 49;
        SetNlsSettings( &aSettings );
    }

private:
    const std::string m_strPath;
};

size_t Count( const std::string& strText, const std::string& strPart )
{
    size_t nCount = 0;
    for ( size_t nAt = 0; !strPart.empty() && ( nAt = strText.find( strPart, nAt ) ) != std::string::npos;
          nAt += strPart.size() )
        nCount++;
    return nCount;
}

// The part of the input before the next zero byte, which it is freed of.
std::string TakePart( std::string& rInput )
{
    const std::string strPart = rInput.substr( 0, rInput.find( '\0' ) );
    rInput.erase( 0, strPart.size() + 1 );
    return strPart;
}

} // namespace

// The input is token, parameters and message with zero bytes between them.
extern "C" int LLVMFuzzerTestOneInput( const uint8_t* pBytes, size_t nBytes )
{
    SetDebugEnabled( false );
    static OneMessage s_aMessage;
    std::string strInput( reinterpret_cast<const char*>( pBytes ), nBytes );
    const std::string strToken = TakePart( strInput );
    const std::string strParameters = TakePart( strInput );
    const std::string strMessage = TakePart( strInput );
    s_aMessage.Write( strMessage, strToken );

    ErrObjectClient aClient;
    if ( !aClient.FromStream( ( "1.0.0+?+FUZZ.CLASS+?+1+?+0+?+origin+?++?+" + strParameters ).c_str() ) )
        return 0;
    MString aText;
    MString aHelpFile;
    HELP_ID usTopic = 0;
    const bool fTranslated = aClient.GetTranslatedErrText( aText );
    Require( fTranslated == bool( aClient.GetHelpData( aHelpFile, usTopic ) ) );

    const size_t nPlaces = Count( strMessage, strToken );
    const size_t nParameters = strParameters.empty() ? 0 : Count( strParameters, STRLIST_ITEM_SEPARATOR ) + 1;
    // Where nothing is filled in, the message alone says what must come of it.
    if ( nPlaces == 0 || nPlaces != nParameters )
    {
        const size_t nOpen = strMessage.find( '[' );
        const bool fHelp = nOpen != std::string::npos;
        Require( fTranslated == ( !fHelp || strMessage.find( ']', nOpen ) != std::string::npos ) );
        Require( fHelp || ( aHelpFile.IsEmpty() && usTopic == 0 ) );
    }
    if ( fTranslated )
        Require( aText.GetLength() >= 4 && aText[0] == '\r' && aText[1] == '\n' );
    return 0;
}
