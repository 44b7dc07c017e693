#include "platform/nocancellation.h"
#include "platform/profile/inicache.h"
#include "platform/profile/inipath.h"
#include "platform/profile/inisave.h"

#include <bxtools/platform.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace
{
std::string_view TextOf( LPCSTR pText ) noexcept
{
    return pText != NULL ? pText : "";
}

// The caller's buffer, of one byte or more.
class Answer
{
public:
    Answer( LPSTR pBuffer, DWORD dwSize ) noexcept : m_pBuffer( pBuffer ), m_nSize( dwSize ) {}

    // A text, cut to the buffer; it may lie in the buffer itself.
    DWORD Give( std::string_view aText ) noexcept
    {
        const size_t nBytes = std::min( aText.size(), m_nSize - 1 );
        std::memmove( m_pBuffer, aText.data(), nBytes );
        m_pBuffer[nBytes] = '\0';
        return static_cast<DWORD>( nBytes );
    }

    // One more name of a list. False: the buffer is full, further names make no difference.
    bool AddName( std::string_view aName ) noexcept
    {
        const size_t nBytes = std::min( aName.size(), m_nSize - m_nUsed );
        std::memcpy( m_pBuffer + m_nUsed, aName.data(), nBytes );
        m_nUsed += nBytes;
        if ( m_nUsed < m_nSize )
            m_pBuffer[m_nUsed++] = '\0';
        else
            m_fCut = true;
        m_fCut = m_fCut || m_nUsed == m_nSize;
        return !m_fCut;
    }
    bool HasNoName() const noexcept { return m_nUsed == 0; }
    // Ends the list.
    DWORD EndList() noexcept
    {
        if ( !m_fCut )
        {
            m_pBuffer[m_nUsed] = '\0';
            return static_cast<DWORD>( m_nUsed );
        }
        const size_t nBytes = m_nSize > 2 ? m_nSize - 2 : 0;
        std::memset( m_pBuffer + nBytes, 0, m_nSize - nBytes );
        return static_cast<DWORD>( nBytes );
    }

private:
    LPSTR m_pBuffer;
    size_t m_nSize;
    size_t m_nUsed = 0;
    bool m_fCut = false;
};

std::string_view WithoutQuotes( std::string_view aValue ) noexcept
{
    const bool fQuoted = aValue.size() > 1 && aValue.front() == aValue.back() &&
                         ( aValue.front() == '"' || aValue.front() == '\'' );
    return fQuoted ? aValue.substr( 1, aValue.size() - 2 ) : aValue;
}

std::string_view WithoutTrailingSpaces( std::string_view aDefault ) noexcept
{
    const size_t nLast = aDefault.find_last_not_of( ' ' );
    return aDefault.substr( 0, nLast == aDefault.npos ? 0 : nLast + 1 );
}

DWORD GiveSections( std::string_view aText, Answer& rAnswer ) noexcept
{
    IniScanner aScanner( aText );
    IniSection aSection = aScanner.FirstSection();
    while ( aScanner.FindHeader( aSection.nBody, aSection ) )
    {
        if ( !aSection.aName.empty() && !rAnswer.AddName( aSection.aName ) )
            break;
    }
    return rAnswer.EndList();
}

DWORD GiveKeys( IniText& rText, std::string_view aSection, std::string_view aDefault,
                Answer& rAnswer ) noexcept
{
    size_t nLine = 0;
    if ( !rText.FindSection( aSection, nLine ) )
        return rAnswer.Give( aDefault );
    IniScanner aScanner( rText.Text() );
    for ( IniKey aKey; aScanner.NextKey( nLine, aKey ); nLine = aKey.aLine.nNext )
    {
        if ( IsListedIniKey( aKey ) && !rAnswer.AddName( aKey.aName ) )
            break;
    }
    return rAnswer.HasNoName() ? rAnswer.Give( aDefault ) : rAnswer.EndList();
}

DWORD GiveValue( IniText& rText, std::string_view aSection, std::string_view aKey, std::string_view aDefault,
                 Answer& rAnswer ) noexcept
{
    std::string_view aValue;
    const bool fFound = rText.FindValue( aSection, aKey, aValue );
    return rAnswer.Give( fFound ? WithoutQuotes( aValue ) : aDefault );
}

DWORD OpenText( LPCSTR pFileName, std::shared_ptr<IniText>& rText ) noexcept
{
    try
    {
        IniPath aPath;
        const DWORD dwError = aPath.Set( pFileName );
        return dwError == ERROR_SUCCESS ? GetIniText( aPath.Text(), rText ) : dwError;
    }
    catch ( const std::bad_alloc& )
    {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
}

DWORD Save( LPCSTR pFileName, const IniChange& rChange ) noexcept
{
    try
    {
        IniPath aPath;
        const DWORD dwError = aPath.Set( pFileName );
        return dwError == ERROR_SUCCESS ? SaveIni( aPath.Text(), rChange ) : dwError;
    }
    catch ( const std::bad_alloc& )
    {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
}

IniChange ChangeOf( LPCSTR pSection, LPCSTR pKey, LPCSTR pValue ) noexcept
{
    IniChange aChange = { TrimIniBlanks( pSection ), {}, {}, IniChange::Kind::DeleteSection };
    if ( pKey == NULL )
        return aChange;
    aChange.aKey = TrimIniBlanks( pKey );
    aChange.eKind = IniChange::Kind::DeleteKey;
    if ( pValue == NULL )
        return aChange;
    const std::string_view aGiven( pValue );
    aChange.aValue = aGiven.substr( static_cast<size_t>( TrimIniBlanks( aGiven ).data() - aGiven.data() ) );
    aChange.eKind = IniChange::Kind::SetKey;
    return aChange;
}
} // namespace

DWORD GetPrivateProfileStringA( LPCSTR pSection, LPCSTR pKey, LPCSTR pDefault, LPSTR pBuffer, DWORD dwSize,
                                LPCSTR pFileName )
{
    if ( dwSize == 0 )
        return 0;
    if ( pBuffer == NULL )
    {
        SetLastError( ERROR_INVALID_PARAMETER );
        return 0;
    }
    const NoCancellation aNoCancellation;
    const std::string_view aDefault = WithoutTrailingSpaces( TextOf( pDefault ) );
    Answer aAnswer( pBuffer, dwSize );
    std::shared_ptr<IniText> pText;
    const DWORD dwError = OpenText( pFileName, pText );
    DWORD dwGiven;
    if ( dwError != ERROR_SUCCESS )
        dwGiven = aAnswer.Give( aDefault );
    else if ( pSection == NULL )
        dwGiven = GiveSections( pText->Text(), aAnswer );
    else if ( pKey == NULL )
        dwGiven = GiveKeys( *pText, TrimIniBlanks( pSection ), aDefault, aAnswer );
    else
        dwGiven = GiveValue( *pText, TrimIniBlanks( pSection ), TrimIniBlanks( pKey ), aDefault, aAnswer );
    const bool fListInOneByte = dwSize == 1 && ( pSection == NULL || pKey == NULL );
    SetLastError( dwError == ERROR_SUCCESS && fListInOneByte ? ERROR_INVALID_PARAMETER : dwError );
    return dwGiven;
}

BOOL WritePrivateProfileStringA( LPCSTR pSection, LPCSTR pKey, LPCSTR pValue, LPCSTR pFileName )
{
    if ( pSection == NULL )
    {
        SetLastError( ERROR_FILE_NOT_FOUND );
        return FALSE;
    }
    const NoCancellation aNoCancellation;
    const DWORD dwError = Save( pFileName, ChangeOf( pSection, pKey, pValue ) );
    if ( dwError == ERROR_SUCCESS )
        return TRUE;
    SetLastError( dwError );
    return FALSE;
}
