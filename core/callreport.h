// The message convention, once. A function that can fail begins with a CallReport; the first step that fails stores
// its text; when the scope ends, a failed call is reported once, under the function's header. A successful call is
// silent. The rest of the function reads as its algorithm:
//
//     CallReport aReport( *this, "From BOOL ERRServer::DeleteError( ULONG ulIndex )" );
//     ErrObjectBase* pErrObjectBase = Remove( ulIndex, FALSE );
//     if ( pErrObjectBase == NULL )
//         return aReport.Fail( " Error: ( pErrObjectBase = Remove( ulIndex, FALSE ) ) == NULL" );
//
// The report stands before any lock guard, so that the hook runs after the lock is gone.
// Headers and texts are literals: they outlive the call and stand in objects as their last report.
#pragma once

#include <bxtools/baseobject.h>

#include <concepts>
#include <cstddef>
#include <cxxabi.h>

class ErrObjectBase;

// What the catch-all of a function reports where it has no text of its own.
inline constexpr char SEVERE_ERROR[] = "Severe error occurred executing this function";

class CallReport
{
public:
    // Reports to the hook of rObject, whose out text becomes "Nothing" now. Const calls pass a const object: its
    // texts are written only when the call fails, so that readers in several threads do not disturb each other.
    CallReport( HookFields& rObject, LPCTSTR pHeader ) noexcept
        : m_pHeader( pHeader ),
          m_pSink( &SendToObject ),
          m_pTarget( &rObject )
    {
        rObject.m_pOut = "Nothing";
    }
    CallReport( const HookFields& rObject, LPCTSTR pHeader ) noexcept
        : m_pHeader( pHeader ),
          m_pSink( &SendToObject ),
          m_pTarget( &rObject )
    {
    }
    // Reports to the library's debug hook: for functions without an object.
    explicit CallReport( LPCTSTR pHeader ) noexcept : m_pHeader( pHeader ), m_pSink( &SendToLibrary ) {}
    // Reports to a record, which keeps the report in its dump string and passes it on; see error/errdebug.cpp.
    CallReport( const ErrObjectBase& rRecord, LPCTSTR pHeader ) noexcept;
    CallReport( const CallReport& ) = delete;
    CallReport& operator=( const CallReport& ) = delete;

    ~CallReport()
    {
        if ( m_pText != NULL )
            ReportNow();
    }

    // The call fails, for the reason pText. Of several reasons the first stands; a warning gives way to it.
    BOOL Fail( LPCTSTR pText ) noexcept
    {
        if ( m_fWarned )
            Drop();
        if ( m_pText == NULL )
            m_pText = pText;
        return FALSE;
    }
    // The same for functions whose failure value is a null pointer.
    std::nullptr_t FailNull( LPCTSTR pText ) noexcept
    {
        Fail( pText );
        return nullptr;
    }
    // The same for functions whose failure value is neither: returns aFailure.
    template <class Result>
    Result Fail( LPCTSTR pText, Result aFailure ) noexcept
    {
        Fail( pText );
        return aFailure;
    }
    // Something is reported, but the call succeeds.
    BOOL Warn( LPCTSTR pText ) noexcept
    {
        if ( m_pText == NULL )
        {
            m_pText = pText;
            m_fWarned = true;
        }
        return TRUE;
    }

    // Append a shown value to the text reported. Short of memory, the text goes out without it. The object keeps the
    // constant text alone as its last report.
    CallReport& Tail( LPCTSTR pText ) noexcept;
    template <std::integral Number>
    CallReport& Tail( Number nValue ) noexcept
    {
        return TailNumber( static_cast<long long>( nValue ) );
    }

    // Reports now what has been stored, and starts afresh: for functions that go on after a failed step. The last
    // error is what it was, whatever the hook does.
    void ReportNow() noexcept;
    // Forgets what has been stored.
    void Drop() noexcept;

    BOOL Failed() const noexcept { return m_pText != NULL && !m_fWarned; }

    // Runs aBody and returns its result; any exception becomes the reason pText and the result aFailure. The forced
    // unwinding of a cancelled thread passes, as it must. (It comes without an object: the reference is bound to null.)
    template <class Result, class Body>
    __attribute__( ( no_sanitize( "null", "alignment" ) ) ) Result Guard( Result aFailure, LPCTSTR pText,
                                                                          Body&& aBody )
    {
        try
        {
            return aBody();
        }
        catch ( abi::__forced_unwind& )
        {
            Drop();
            throw;
        }
        catch ( ... )
        {
            Drop();
            return Fail( pText, aFailure );
        }
    }
    template <class Body>
    BOOL Guard( Body&& aBody )
    {
        return Guard( BOOL( FALSE ), SEVERE_ERROR, aBody );
    }

private:
    CallReport& TailNumber( long long llValue ) noexcept;

    // pOut is the constant text that an object keeps, pMessage the same with its shown values.
    using Sink = void ( * )( const void* pTarget, LPCTSTR pHeader, LPCTSTR pOut, LPCTSTR pMessage );
    static void SendToObject( const void* pTarget, LPCTSTR pHeader, LPCTSTR pOut, LPCTSTR pMessage );
    static void SendToLibrary( const void* pTarget, LPCTSTR pHeader, LPCTSTR pOut, LPCTSTR pMessage );

    LPCTSTR m_pHeader;
    LPCTSTR m_pText = NULL;
    Sink m_pSink;
    const void* m_pTarget = NULL;
    char* m_pTail = NULL;
    bool m_fWarned = false;
};
