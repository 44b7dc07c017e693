// The scratch text buffers of a thread: one growable buffer for each function that formats.
//
// A buffer starts with 1024 characters, grows by 1024 and stops at 32000; it never shrinks. The thread's buffers are
// made on its first call of GetBUFFServer and freed when it ends. No lock guards them: no other thread sees them.
#pragma once

#include <bxtools/baseobject.h>
#include <bxtools/lists.h>

inline constexpr ULONG INITIAL_TEXT_BUFFER_SIZE = 1024;
inline constexpr ULONG TEXT_BUFFER_STEP = 1024;
inline constexpr ULONG MAX_TEXT_BUFFER_SIZE = 32000;

// The function id of internalBuildStr.
inline constexpr USHORT OBJTYPE_BUF_FUNC_VSNPRINTF = 1;

// One growable buffer, read through the server that owns it.
class BufferObj : public BaseObject2
{
    friend class BUFFServer;

public:
    // A buffer of the initial size; without memory it has none, with a report.
    BufferObj();
    // Copies nothing: reports that it is not written, and has no buffer; kept so.
    BufferObj( const BufferObj& aCopyConstObj );
    BufferObj& operator=( const BufferObj& ) = delete;
    ~BufferObj();

    // Characters in the buffer.
    ULONG GetTextBufferSize() const { return m_uTextBufferSize; }
    // One step larger. Without copy a failed allocation leaves no buffer and size 0.
    BOOL EpandBuffer( BOOL fWithCopy );
    // One step larger where the buffer is smaller than uNewSize, whether or not that reaches it; kept so.
    BOOL SetNewBufferSize( ULONG uNewSize, BOOL fWithCopy );
    // Copies a text in, cut to the buffer, which grows by one step at most. Copying the buffer's own text into it
    // is reported and does nothing.
    BufferObj& operator=( LPCTSTR pData );

private:
    LPTSTR m_pDbgTextBuffer = NULL;
    ULONG m_uTextBufferSize = 0;
    ULONG m_uExpandSize = TEXT_BUFFER_STEP;
};

class internalBufferObj : public BufferObj
{
public:
    explicit internalBufferObj( USHORT uID ) : uFuncID( uID ) {}

    const USHORT uFuncID;
};

class BUFFServer : public MyBuffList
{
public:
    BUFFServer();

    // The buffer object of a function id, made on the first request; NULL with a report when there is no memory.
    internalBufferObj* GetObject( USHORT uFuncID );
    // Its buffer, its size, and one step more of it. NULL, 0 or FALSE with a report when there is no such object.
    LPTSTR GetTextBuffer( USHORT uFuncID );
    ULONG GetTextBufferSize( USHORT uFuncID );
    BOOL EpandBuffer( USHORT uFuncID, BOOL fWithCopy );

private:
    // Nothing reads it; it is part of the object's layout.
    [[maybe_unused]] BOOL m_fValid = TRUE;
};

// The calling thread's buffers; NULL with one report when they cannot be had.
BUFFServer* GetBUFFServer();
