// MByteArray: a growable array of bytes.
//
// Copying an array, by construction or assignment, copies no byte: both hold the same buffer from then on, and what is
// written through one is read through the other, until one of them grows out of it and takes its bytes to a buffer of
// its own. Size and grow-by are each array's own. The buffer is freed once, by the last array that holds it. Copy is
// the deep copy.
//
// Negative sizes, indexes and counts leave an array unchanged, and so do sizes beyond 2,147,483,647. Where there is no
// memory, the array stays as it was (one made or assigned as a copy is empty), with one report to the library's debug
// hook.
// Threads: an array belongs to one thread at a time; arrays that share a buffer count as one. Nothing throws.
#pragma once

#include <bxtools/export.h>
#include <bxtools/wintypes.h>

struct ByteArrayShare;

class DLL_EXPORT_MOD MByteArray
{
public:
    // Empty.
    MByteArray() = default;
    // Share the buffer of aByteArray. Short of memory the array is empty, with one report.
    MByteArray( const MByteArray& aByteArray );
    MByteArray& operator=( const MByteArray& aByteArray );
    ~MByteArray();

    int GetSize() const { return m_nSize; }
    // The last index, -1 when empty.
    int GetUpperBound() const { return m_nSize - 1; }

    // Grows or shrinks. New bytes are 0; a smaller array keeps its buffer, one of size 0 gives it up.
    //   nNewSize  in bytes.
    //   nGrowBy   by how many bytes at least the buffer grows from now on; 0: an eighth of the size, at least 4 and at
    //             most 1024. -1 leaves it as it is.
    void SetSize( int nNewSize, int nGrowBy = -1 );
    // Gives back what the buffer has beyond the size.
    void FreeExtra();
    void RemoveAll() { SetSize( 0, -1 ); }

    // Access to one byte. The index is not checked; kept so.
    BYTE GetAt( int nIndex ) const { return m_pData[nIndex]; }
    BYTE operator[]( int nIndex ) const { return m_pData[nIndex]; }
    BYTE& ElementAt( int nIndex ) { return m_pData[nIndex]; }
    BYTE& operator[]( int nIndex ) { return m_pData[nIndex]; }
    void SetAt( int nIndex, BYTE bElement ) { m_pData[nIndex] = bElement; }

    // The bytes, valid until the array next grows, or is emptied; NULL when it has none.
    const BYTE* GetData() const { return m_pData; }
    BYTE* GetData() { return m_pData; }

    // Writes a byte, growing the array to hold nIndex.
    void SetAtGrow( int nIndex, BYTE bElement );
    // Writes a byte behind the last one. Result: its index; -1 when the array could not grow.
    int Add( BYTE bElement );
    // Adds the bytes of another array, which may be this one. Result: the index of the first one added.
    int Append( const MByteArray& src );
    // Takes over a copy of the other array's bytes.
    void Copy( const MByteArray& src );

    // Inserts nCount equal bytes before nIndex; an index at or beyond the size grows the array up to it.
    void InsertAt( int nIndex, BYTE bElement, int nCount = 1 );
    // Inserts the bytes of another array, which may be this one; NULL or an empty one changes nothing.
    void InsertAt( int nStartIndex, const MByteArray* pNewArray );
    // Takes nCount bytes out; the buffer is kept. A range that is not inside the array changes nothing.
    void RemoveAt( int nIndex, int nCount = 1 );

private:
    BOOL Reallocate( int nNewMaxSize );
    void Release();
    void Swap( MByteArray& rOther );

    BYTE* m_pData = NULL;
    int m_nSize = 0;
    int m_nMaxSize = 0;
    int m_nGrowBy = 0;
    // What arrays of one buffer have in common; NULL for an array that was never copied.
    mutable ByteArrayShare* m_pShare = NULL;
};
