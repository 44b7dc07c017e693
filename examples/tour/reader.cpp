// bxtour-reader: reads an error stream from standard input and shows it to a person.

#include "examples/tour/bytepipe.h"
#include "examples/tour/narrate.h"

#include <bxtools/error.h>

#include <cstdio>

namespace
{

// The fields of a record's text that have no call of their own; see errobject.h.
constexpr USHORT FIELD_ORIGIN = 4;
constexpr USHORT FIELD_OPTIONAL = 5;
constexpr USHORT FIELD_PARAMETERS = 6;

MString GetField( const MString& aRecord, USHORT usField )
{
    return aRecord.GetTokenStr( usField, ERROBJECT_FIELD_SEPARATOR );
}

// "a.ini, r" for the parameters a.ini and r.
MString JoinForReading( const MString& aParameters )
{
    MString aText;
    const USHORT usCount = aParameters.GetTokenCountStr( STRLIST_ITEM_SEPARATOR );
    for ( USHORT i = 0; i < usCount; i++ )
        aText +=
            ( i == 0 ? MString() : MString( ", " ) ) + aParameters.GetTokenStr( i, STRLIST_ITEM_SEPARATOR );
    return aText;
}

// The system's text for the code that matters: the system error, or else an HRESULT itself.
MString GetSystemText( const MString& aErrorClass, ERR lNumber, DWORD dwSystemError )
{
    MString aText;
    BOOL fFound = FALSE;
    const DWORD dwCode = aErrorClass == ERRCLS_SYS_HRESULT ? static_cast<DWORD>( lNumber ) : dwSystemError;
    if ( dwCode != NO_ERROR )
        AppendLastErrMsg( aText, dwCode, fFound );
    return aText.EraseAllChars( '\r' ).EraseAllChars( '\n' );
}

void ShowIfAny( const char* pLabel, const MString& aText )
{
    if ( !aText.IsEmpty() )
        Narrate( "       %-11s %s", pLabel, aText.data() );
}

void ShowError( ULONG ulIndex, ErrObjectBase& rError )
{
    MString aRecord;
    MString aErrorClass;
    MString aNumber;
    ERR lNumber = 0;
    DWORD dwSystemError = 0;
    rError.ToStream( aRecord );
    rError.GetOriginError( aErrorClass, lNumber, dwSystemError );
    Error2StrHex( lNumber, 0, aNumber, FALSE );

    Narrate( "     %s. %s", MString( ulIndex + 1 ).data(), GetField( aRecord, FIELD_OPTIONAL ).data() );
    Narrate( "       %-11s %s", "class", aErrorClass.data() );
    Narrate( "       %-11s %s", "number", aNumber.data() );
    ShowIfAny( "origin", GetField( aRecord, FIELD_ORIGIN ) );
    ShowIfAny( "the system", GetSystemText( aErrorClass, lNumber, dwSystemError ) );
    ShowIfAny( "concerns", JoinForReading( GetField( aRecord, FIELD_PARAMETERS ) ) );
}

} // namespace

int main()
{
    const MString aStream = ReadStandardInput();
    if ( !IsErrorStream( aStream ) )
    {
        fputs( "bxtour-reader: standard input is no error stream\n", stderr );
        return 1;
    }
    ULONG ulCount = 0;
    GetAvailableErrorCountFromStream( ulCount, aStream );
    for ( ULONG ulIndex = 0; ulIndex < ulCount; ulIndex++ )
    {
        ErrObjectBase aError;
        if ( Error2ObjectFromStream( aError, ulIndex, aStream ) )
            ShowError( ulIndex, aError );
        else
            Narrate( "     %s. cannot be read", MString( ulIndex + 1 ).data() );
    }
    return 0;
}
