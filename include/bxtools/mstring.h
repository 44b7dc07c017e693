// The library's string: MStringAdapter with numbers, tokens and comparison with what a caller has at hand. What its
// members have in common stands with the base.
#pragma once

#include <bxtools/mstringadapter.h>

#include <concepts>
#include <utility>

class NumberText;

class DLL_EXPORT_MOD MString : public MStringAdapter
{
public:
    // As for MStringAdapter. A copy of an MString has its safe mode, too.
    MString() noexcept {}
    MString( const MString& aOther ) noexcept = default;
    MString( MString&& aOther ) noexcept = default;
    MString( const MStringAdapter& aOther ) noexcept : MStringAdapter( aOther ) {}
    MString( MStringAdapter&& aOther ) noexcept : MStringAdapter( std::move( aOther ) ) {}
    MString( const MStringAdapter* pOther ) noexcept : MStringAdapter( pOther ) {}
    MString( LPCTSTR lpsz ) : MStringAdapter( lpsz ) {}
    MString( const unsigned char* lpsz ) : MStringAdapter( lpsz ) {}
    MString( LPCTSTR lpch, int nLength ) : MStringAdapter( lpch, nLength ) {}
    MString( TCHAR ch ) noexcept : MStringAdapter( ch ) {}
    MString( TCHAR ch, int nRepeat ) : MStringAdapter( ch, nRepeat ) {}
    // The text of a number: decimal for integers, with six decimals ("%f") for float and double. An address is 0x and
    // at least eight hexadecimal digits; that of NULL is ten zeros. The narrow types go through the widest one.
    MString( short nValue ) : MString( static_cast<long long>( nValue ) ) {}
    MString( int nValue ) : MString( static_cast<long long>( nValue ) ) {}
    MString( unsigned int unValue ) : MString( static_cast<unsigned long long>( unValue ) ) {}
    MString( long lValue ) : MString( static_cast<long long>( lValue ) ) {}
    MString( unsigned long ulValue ) : MString( static_cast<unsigned long long>( ulValue ) ) {}
    MString( long long llValue );
    MString( unsigned long long ullValue );
    MString( float fValue ) : MString( static_cast<double>( fValue ) ) {}
    MString( double dValue );
    MString( const void* pValue );

    // The same, assigned. Only the assignment of an MString takes its safe mode along.
    MString& operator=( const MString& aOther ) noexcept = default;
    MString& operator=( MString&& aOther ) noexcept = default;
    MString& operator=( const MStringAdapter& aOther ) noexcept
    {
        return Whole( MStringAdapter::operator=( aOther ) );
    }
    MString& operator=( MStringAdapter&& aOther ) noexcept
    {
        return Whole( MStringAdapter::operator=( std::move( aOther ) ) );
    }
    MString& operator=( LPCTSTR lpsz ) { return Whole( MStringAdapter::operator=( lpsz ) ); }
    MString& operator=( const unsigned char* lpsz ) { return Whole( MStringAdapter::operator=( lpsz ) ); }
    MString& operator=( TCHAR ch ) { return Whole( MStringAdapter::operator=( ch ) ); }
    MString& operator=( short nValue ) { return *this = static_cast<long long>( nValue ); }
    MString& operator=( int nValue ) { return *this = static_cast<long long>( nValue ); }
    MString& operator=( unsigned int unValue ) { return *this = static_cast<unsigned long long>( unValue ); }
    MString& operator=( long lValue ) { return *this = static_cast<long long>( lValue ); }
    MString& operator=( unsigned long ulValue ) { return *this = static_cast<unsigned long long>( ulValue ); }
    MString& operator=( long long llValue );
    MString& operator=( unsigned long long ullValue );
    MString& operator=( float fValue ) { return *this = static_cast<double>( fValue ); }
    MString& operator=( double dValue );
    MString& operator=( const void* pValue );

    // The same, added at the end.
    MString& operator+=( const MStringAdapter& aOther )
    {
        return Whole( MStringAdapter::operator+=( aOther ) );
    }
    MString& operator+=( LPCTSTR lpsz ) { return Whole( MStringAdapter::operator+=( lpsz ) ); }
    MString& operator+=( const unsigned char* lpsz ) { return Whole( MStringAdapter::operator+=( lpsz ) ); }
    MString& operator+=( TCHAR ch ) { return Whole( MStringAdapter::operator+=( ch ) ); }
    MString& operator+=( short nValue ) { return *this += static_cast<long long>( nValue ); }
    MString& operator+=( int nValue ) { return *this += static_cast<long long>( nValue ); }
    MString& operator+=( unsigned int unValue )
    {
        return *this += static_cast<unsigned long long>( unValue );
    }
    MString& operator+=( long lValue ) { return *this += static_cast<long long>( lValue ); }
    MString& operator+=( unsigned long ulValue )
    {
        return *this += static_cast<unsigned long long>( ulValue );
    }
    MString& operator+=( long long llValue );
    MString& operator+=( unsigned long long ullValue );
    MString& operator+=( float fValue ) { return *this += static_cast<double>( fValue ); }
    MString& operator+=( double dValue );
    MString& operator+=( const void* pValue );

    // Switches the check of texts before they become numbers on (any value but 0) or off. Off at first.
    void SetSafeMode( int nSafeMode ) noexcept;

    // The number at the start of the text: leading blanks, a sign, then decimal digits up to the first other
    // character; 0 when there are none. What a type cannot hold comes out as the C library's functions leave it: the
    // signed types and toUS keep the low bits of a 64-bit number, the unsigned ones end at their greatest value.
    // In safe mode a text that is not wholly a number, or is beyond the 32 bits (16 for short and toUS) of its type,
    // is reported and gives the value behind the function. A minus sign does not make an unsigned number invalid.
    operator int() const;           // 0x7FFFFFFF
    operator unsigned int() const;  // 0xFFFFFFFF
    operator long() const;          // 0x7FFFFFFF
    operator unsigned long() const; // 0xFFFFFFFF
    operator short() const;         // 0x7FFF
    USHORT toUS() const;            // 0xFFFF
    // A decimal number with point and exponent at the start of the text, whatever the process's locale; 0 when there
    // is none. Safe mode is not made for them: it sends a remark to the debug hook and gives 1e25.
    operator float() const;
    operator double() const;
    // The first character; 0 for the empty string.
    operator char() const noexcept { return length() == 0 ? TCHAR( 0 ) : data()[0]; }

    // TRUE when all characters are decimal digits, and for the empty string. With fWithSign a "-" may come first, if
    // something follows it.
    BOOL IsNumeric( BOOL fWithSign ) const noexcept;

    // The position of a text's first occurrence at or after nStart (below 0: 0); -1 when absent, and for NULL.
    // The empty text is found wherever one looks.
    int FindStr( LPCTSTR lpsz, int nStart = 0 ) const noexcept;
    // Takes uCount characters from uStart on out of the string. Result: what has been taken out.
    MStringAdapter Cut( USHORT uStart, USHORT uCount );

    // Tokens: what stands between delimiters, numbered from 0. Each delimiter ends a token, so that two beside each
    // other have an empty token between them, and what follows the last one is the last token.
    //
    // Token number uToken; empty when there are not that many. A delimiter of 0 is reported and gives the empty string.
    MStringAdapter GetToken( USHORT uToken, TCHAR c ) const;
    // The number of tokens, modulo 65,536: 1 for the empty string, kept so. A delimiter of 0 is reported and gives 0.
    USHORT GetTokenCount( TCHAR c ) const;
    // The same with a text as delimiter. With a null or empty delimiter, or of the empty string, every token is empty
    // and the count is 1; nothing is reported.
    MStringAdapter GetTokenStr( USHORT uToken, LPCTSTR lpszDelimiter ) const;
    USHORT GetTokenCountStr( LPCTSTR lpszDelimiter ) const noexcept;
    // Takes token uToken away together with the delimiter after it, or, for the last token, before it.
    // Result: 1; 0 when nothing was done: there is no such token, or no delimiter at all.
    int DeleteTokenStr( USHORT uToken, LPCTSTR lpszDelimiter );
    // Puts a text in the place of token uToken.
    // Result: 1; 0 when nothing was done: there is no such token (a text without delimiters is its token 0), no
    // delimiter, or the string is empty.
    int ReplaceTokenStr( USHORT uToken, LPCTSTR lpszDelimiter, LPCTSTR lpszNewToken );

    // Makes the text that of nLength 16-bit units of a wide text (below 0: up to its zero); NULL gives the empty text.
    // Result: TRUE; FALSE with one report when there is no memory.
    BOOL FromBSTR( LPCWSTR pWideText, int nLength = -1 );

private:
    explicit MString( const NumberText& aNumber );
    MString& AssignNumber( const NumberText& aNumber );
    MString& AppendNumber( const NumberText& aNumber );
    BOOL IsRefused( int nType ) const;
    BOOL IsValidRange( int nType ) const;
    BOOL IsValidFloatRange( int nType ) const;
    bool GetTokenPosStr( size_t ulToken, LPCTSTR lpszDelimiter, size_t& ulStart,
                         size_t& ulEnd ) const noexcept;
    // The string whose base part it is.
    static MString& Whole( MStringAdapter& aBase ) noexcept { return static_cast<MString&>( aBase ); }

    BOOL m_fSafeMode = FALSE;
};

// What can be added to an MString.
template <class Right>
concept AddableToMString = requires( MString& aString, const Right& aRight )
{
    aString += aRight;
};

// A new string of aLeft's text, and safe mode if it has one, with aRight added.
template <std::derived_from<MStringAdapter> Left, AddableToMString Right>
MString operator+( const Left& aLeft, const Right& aRight )
{
    MString aResult( aLeft );
    aResult += aRight;
    return aResult;
}
// The same in a chain, whose intermediate results are nobody's.
template <AddableToMString Right>
MString operator+( MString&& aLeft, const Right& aRight )
{
    aLeft += aRight;
    return std::move( aLeft );
}
