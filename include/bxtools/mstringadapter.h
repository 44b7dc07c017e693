// The base of the library's string: reports, buffers, formatting and wide texts, on top of the text storage.
//
// In all of it, and in MString:
// - A text is a sequence of bytes of any length; zeros count as characters where a length is known (copies, parts,
//   edits, comparison of two strings) and end the text where only a pointer is given. A null pointer is the empty text.
// - No member throws, but for a position past the end given to GetAt or operator[], which throws RWBoundsErr.
//   Whatever else fails sends one report to the string's debug hook (the library's own, unless SetFuncPtr set
//   another), or two where a buffer of the string could not be made: that of the buffer and that of the call. It gives
//   an empty text, -1, 0 or the value named below; short of memory, the string stays as it was.
// - Positions count from 0. Positions and counts past the end are clamped: a part is what is there of it.
//   Arguments of 16 bits go up to 65,535 only; the work behind them has no such limit.
// - Upper case and case-blind comparison concern the ASCII letters.
// Threads: a string belongs to one thread at a time; copies are independent.
#pragma once

#include <bxtools/baseobject.h>
#include <bxtools/rwcstring.h>

#include <compare>
#include <string_view>
#include <utility>

class DLL_EXPORT_MOD MStringAdapter : public RWCString, public BaseObject2
{
public:
    // The empty string, a copy, and a string that takes the text over and leaves the source empty. Copies are of the
    // text only: hooks and buffers stay where they are, and the new string reports to the library's debug hook.
    MStringAdapter() noexcept;
    MStringAdapter( const MStringAdapter& aOther ) noexcept;
    MStringAdapter( MStringAdapter&& aOther ) noexcept;
    // A copy of another string's text; NULL gives the empty string.
    MStringAdapter( const MStringAdapter* pOther ) noexcept;
    // A copy of a text up to its zero; NULL gives the empty string.
    MStringAdapter( LPCTSTR lpsz );
    MStringAdapter( const unsigned char* lpsz );
    // A copy of the first nLength characters, zeros included; the text must have that many. NULL, or a length of 0 or
    // less, gives the empty string.
    MStringAdapter( LPCTSTR lpch, int nLength );
    // One character, or the same one nRepeat times. A count of 0 or less is reported and gives the empty string.
    explicit MStringAdapter( TCHAR ch ) noexcept;
    MStringAdapter( TCHAR ch, int nRepeat );
    ~MStringAdapter()
    {
        if ( m_pDataBuffer != NULL || m_pConvertBuffer != NULL || m_pWideBuffer != NULL )
            DeleteBuffers();
    }

    // Make the text a copy; hooks and buffers stay.
    MStringAdapter& operator=( const MStringAdapter& aOther ) noexcept
    {
        RWCString::operator=( aOther );
        return *this;
    }
    MStringAdapter& operator=( MStringAdapter&& aOther ) noexcept
    {
        RWCString::operator=( static_cast<RWCString&&>( aOther ) );
        return *this;
    }
    MStringAdapter& operator=( LPCTSTR lpsz )
    {
        AssignText( View( lpsz ) );
        return *this;
    }
    MStringAdapter& operator=( const unsigned char* lpsz )
    {
        AssignText( View( lpsz ) );
        return *this;
    }
    MStringAdapter& operator=( TCHAR ch );

    // Add a text at the end; it may be this string's own.
    MStringAdapter& operator+=( const MStringAdapter& aOther )
    {
        AppendText( aOther.View() );
        return *this;
    }
    MStringAdapter& operator+=( LPCTSTR lpsz )
    {
        AppendText( View( lpsz ) );
        return *this;
    }
    MStringAdapter& operator+=( const unsigned char* lpsz )
    {
        AppendText( View( lpsz ) );
        return *this;
    }
    MStringAdapter& operator+=( TCHAR ch )
    {
        AppendText( { &ch, 1 } );
        return *this;
    }

    // The text, zero-terminated; valid until the string is changed or ends.
    operator LPCTSTR() const noexcept { return data(); }
    // The number of characters.
    size_t GetLength() const noexcept { return length(); }
    BOOL IsEmpty() const noexcept { return length() == 0; }

    // The character at nIndex. A negative index is reported and gives 0; one of GetLength() or more throws RWBoundsErr,
    // the only exception that leaves a string.
    TCHAR GetAt( int nIndex ) const { return ( *this )[nIndex]; }
    TCHAR operator[]( int nIndex ) const
    {
        return nIndex < 0 ? ReportNegativeIndex() : at( static_cast<size_t>( nIndex ) );
    }
    // The same for an index of any other integer type, which would otherwise index the bare pointer.
    template <std::integral Index>
    TCHAR operator[]( Index aIndex ) const
    {
        return std::cmp_less( +aIndex, 0 ) ? ReportNegativeIndex() : at( static_cast<size_t>( aIndex ) );
    }
    // Changes the character at nIndex; an index outside 0 to length - 1 is reported and changes nothing.
    void SetAt( int nIndex, TCHAR ch );

    // The position of a character's first or last occurrence; -1 when absent.
    int Find( TCHAR ch ) const noexcept;
    int ReverseFind( TCHAR ch ) const noexcept;

    // Negative, 0 or positive as this text is before, equal to or after lpsz. The order is that of the character
    // values, 0 to 255; CompareNoCase takes ASCII letters as equal in either case.
    int Compare( LPCTSTR lpsz ) const noexcept;
    int CompareNoCase( LPCTSTR lpsz ) const noexcept;

    // The first ulCount characters; the last ones; uCount characters from uStart on. What is not there is left out.
    MStringAdapter Left( ULONG ulCount ) const;
    MStringAdapter Right( ULONG ulCount ) const;
    MStringAdapter Copy( USHORT uStart, USHORT uCount ) const;

    // Take away ulCount characters from ulStart on; put a text in front of position ulPosition (past the end: append
    // it); take away all occurrences of c, those before the first other character, those after the last one.
    // Result: this string.
    MStringAdapter& Erase( size_t ulStart, size_t ulCount );
    MStringAdapter& Insert( size_t ulPosition, LPCTSTR lpsz );
    MStringAdapter& EraseAllChars( TCHAR c );
    MStringAdapter& EraseLeadingChars( TCHAR c );
    MStringAdapter& EraseTrailingChars( TCHAR c );

    // Makes the ASCII letters upper case.
    void MakeUpper();
    // Makes the string empty.
    void Empty() noexcept { RWCString::operator=( RWCString() ); }

    // Gives out a buffer with a copy of the text, to be written in and taken back by ReleaseBuffer. Until then the
    // string itself keeps its text.
    //   nMinBufLength  the number of characters to make room for, beside the terminator; at least the text has room.
    // Result: the buffer, the string's, valid until the next GetBuffer or the string's end; NULL, reported, when
    // there is no memory.
    LPTSTR GetBuffer( int nMinBufLength );
    // Makes the buffer's text the string's text. Without a buffer, with a length past it or below -1, or when there is
    // no terminator to be found, it reports and leaves the string as it was.
    //   nNewLength  the number of characters to take; -1: those up to the terminator.
    void ReleaseBuffer( int nNewLength = -1 );

    // Formats like printf; the text becomes the result. The arguments may be this string's own text.
    //   lpszFormat  not empty.
    // A result that does not fit after the buffer has grown 20 times, 19,487 characters for a fresh string and up to
    // 31,775 for one that has formatted long texts before, is reported, as is an empty format; the string then keeps
    // its text.
    void Format( LPCTSTR lpszFormat, ... ) BX_PRINTF_FORMAT( 2, 3 );

    // A new automation string of the text, the caller's to free with SysFreeString. Bytes that are no text in the
    // system's character set (UTF-8 on Linux) become U+FFFD there. NULL with one report when there is no memory.
    BSTR AllocSysString() const;
    // Makes *pbstr, an automation string or NULL, the text, reallocated; the old one is gone on success.
    // Result: the new *pbstr; with no memory one report, and *pbstr as it was.
    BSTR SetSysString( BSTR* pbstr ) const;
    // The wide form of a text (NULL: of this string's own), zero-terminated.
    // Result: the string's own buffer, valid until its next Char2Unicode or its end; NULL, reported, when there is
    // no memory.
    LPWSTR Char2Unicode( LPCTSTR lpsz );
    // Takes the wide text of the last Char2Unicode, with what its caller changed in it, back as this string's text.
    // Result: the text; without a preceding Char2Unicode the text as it is.
    LPCTSTR Unicode2Char();

    // Equality and order of whole texts, zeros included, and against a text up to its zero, from either side.
    friend bool operator==( const MStringAdapter& aLeft, const MStringAdapter& aRight ) noexcept
    {
        return aLeft.equals( aRight.data(), aRight.length() );
    }
    friend bool operator==( const MStringAdapter& aLeft, LPCTSTR pRight ) noexcept
    {
        return aLeft.Compare( pRight ) == 0;
    }
    friend std::strong_ordering operator<=>( const MStringAdapter& aLeft,
                                             const MStringAdapter& aRight ) noexcept
    {
        return aLeft.compare( aRight.data(), aRight.length() ) <=> 0;
    }
    friend std::strong_ordering operator<=>( const MStringAdapter& aLeft, LPCTSTR pRight ) noexcept
    {
        return aLeft.Compare( pRight ) <=> 0;
    }

protected:
    // A copy of a text of known length.
    explicit MStringAdapter( std::string_view aText ) : RWCString( aText.data(), aText.size(), std::nothrow )
    {
        if ( length() != aText.size() )
            ReportNoMemory();
    }
    static std::string_view View( LPCTSTR pText ) noexcept
    {
        return pText != NULL ? std::string_view( pText ) : std::string_view();
    }
    static std::string_view View( const unsigned char* pText ) noexcept
    {
        return View( reinterpret_cast<LPCTSTR>( pText ) );
    }
    std::string_view View() const noexcept { return { data(), length() }; }
    // Short of memory, these report under their own name and leave the text as it was; ReplaceText gives FALSE then.
    void AssignText( std::string_view aText );
    void AppendText( std::string_view aText );
    BOOL ReplaceText( size_t ulStart, size_t ulCount, std::string_view aText );
    // ulCount characters from ulStart on, what is there of them.
    MStringAdapter Part( size_t ulStart, size_t ulCount ) const;

private:
    BOOL ExpandBuffer( LPTSTR* ppBuffer, ULONG* pulBuffSize, ULONG ulNewBuffSize = 0xFFFFFFFF );
    void DeleteBuffers() noexcept;
    TCHAR ReportNegativeIndex() const;
    void ReportNoMemory() const;

    LPTSTR m_pDataBuffer = NULL;
    ULONG m_ulDataBufferSize = 0;
    LPTSTR m_pConvertBuffer = NULL;
    ULONG m_ulConvertBufferSize = 0;
    LPTSTR m_pWideBuffer = NULL;
    ULONG m_ulWideBufferSize = 0;
};
