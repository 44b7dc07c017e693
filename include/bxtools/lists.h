// The collections of the library: MyBaseList, a doubly linked list of untyped element pointers with a remembered
// current position, and the typed lists over it, each of which knows how its elements are destroyed.
//
// Looking up moves the current position, so even reading is a modification: a list belongs to one thread at a time.
// Every index operation walks from the head and Append walks from the current node to the end; lists are meant to
// be short.
//
// Copying a list, by construction or assignment, copies no element: both lists hold the same nodes from then on,
// and what one links, removes or replaces the other sees as it walks. Count, head and current position are each
// list's own: a list whose current node another list takes out stands on the node after it, and a lookup by an index
// that its count still allows but no node has reports that it found no item. Nodes, and the elements of typed lists,
// are freed once, by the last list that holds them. Lists that share nodes count as one list where threads are
// concerned.
#pragma once

#include <bxtools/baseobject.h>
#include <bxtools/export.h>
#include <bxtools/wintypes.h>

// What a node points at: anything, owned by whom the list's user says.
typedef void MYBASEDATA;

// A node.
struct MYLINK
{
    MYBASEDATA* pData = NULL;
    MYLINK* pPrev = NULL;
    MYLINK* pNext = NULL;
};

struct ListShare;

class DLL_EXPORT_MOD MyBaseList : public BaseObject2
{
public:
    // An empty list.
    //   lSize       accepted and ignored; kept so.
    //   pMyDbgFunc  the list's debug hook; NULL: the library's own.
    MyBaseList( long lSize, MYDBGFUNC pMyDbgFunc );
    // The same with ( 10, NULL ).
    MyBaseList();
    // Share the nodes of aBaseList. Short of memory the list stays empty, with one report.
    MyBaseList( const MyBaseList& aBaseList );
    MyBaseList& operator=( const MyBaseList& aBaseList );
    // Frees the nodes, unless another list holds them too; never an element.
    ~MyBaseList();

    // Adds p at the end. The current position is afterwards the node before the new one (on an empty list the new
    // one).
    // Result: TRUE when linked; FALSE with one report when there is no memory for the node: p is then the caller's.
    BOOL Append( MYBASEDATA* p );

    // Adds p before the node at lIndex.
    //   lIndex  0 to ItemCount() - 1, 0 on an empty list, or 0x7FFFFFFF for Append. ItemCount() itself is refused;
    //           kept so.
    // Result: TRUE when linked; FALSE, without a report, for another index; FALSE with one report when there is no
    // memory. After FALSE p is the caller's.
    BOOL Insert( long lIndex, MYBASEDATA* p );

    // Takes the node at lIndex out.
    // Result: its element, the caller's; NULL without a report when the index is out of range.
    MYBASEDATA* Remove( long lIndex );

    // Puts p in the place of the element at lIndex.
    // Result: the element that stood there, the caller's; NULL without a report when the index is out of range.
    MYBASEDATA* Replace( long lIndex, MYBASEDATA* p );

    // Looks an element up and moves the current position there.
    //   lIndex       must be in range in every mode, though only mode 6 uses it; so an empty list gives NULL always.
    //   nAccessMode  1 current, 2 next, 3 previous, 4 last, 5 first, 6 by index. Modes 2 and 3 stay where they are at
    //                the end of the list.
    // Result: the element, still the list's; NULL when there is none. An unknown mode is reported.
    // All elements are walked with GetItem( 0, 5 ) and then GetItem( 0, 2 ) until NULL.
    MYBASEDATA* GetItem( long lIndex, int nAccessMode = 6 );

    // Frees all nodes; the elements stay as they are.
    void ClearList();

    // How many elements this list counts.
    ULONG ItemCount() const { return m_ulCount; }

protected:
    using ElementDestroyer = void ( * )( MYBASEDATA* pElement );

    // The steps of ClearList, of the destructor and of assignment, with what a typed list does to each element.
    void ClearElements( ElementDestroyer pDestroy );
    void LeaveNodes( ElementDestroyer pDestroy );
    void ShareNodes( const MyBaseList& aBaseList, ElementDestroyer pDestroy );

private:
    BOOL CheckIndex( long lIndex ) const;
    MYLINK* CreateItem( long lIndex, MYBASEDATA* p );
    void DeleteAllItems();
    MYLINK* GetObject( ULONG uIndex, int nAccessMode );
    MYLINK* GetObjectByIndex( ULONG uIndex );
    MYLINK* GetLastObj();
    void OnInsertNewItem( MYLINK* pExisting, MYLINK* pNew, BOOL fBefore );
    void OnRemoveThis( MYLINK* pLink );

    void LinkLast( MYLINK* pNew );
    // Brings a list that shares nodes to stand on nodes in use only, and ends the sharing of a list left alone.
    void SettleShare();

    ULONG m_ulCount = 0;
    MYLINK* m_pHead = NULL;
    MYLINK* m_pCurrent = NULL;
    // What the lists that hold the same nodes have in common; NULL for a list that was never copied.
    mutable ListShare* m_pShare = NULL;
};

class MString;
class ErrObjectBase;
class ERRServer;
class internalBufferObj;
class CThreadGlobalObjectElemInterface;
class MyErrNlsInterFaceConfig;

// How the elements of the typed lists are destroyed and freed. NULL is accepted.
DLL_EXPORT_MOD void DestroyListElement( MString* pElement );
DLL_EXPORT_MOD void DestroyListElement( ErrObjectBase* pElement );
DLL_EXPORT_MOD void DestroyListElement( ERRServer* pElement );
DLL_EXPORT_MOD void DestroyListElement( internalBufferObj* pElement );
DLL_EXPORT_MOD void DestroyListElement( CThreadGlobalObjectElemInterface* pElement );
DLL_EXPORT_MOD void DestroyListElement( MyErrNlsInterFaceConfig* pElement );
DLL_EXPORT_MOD void DestroyListElement( long* pElement );
DLL_EXPORT_MOD void DestroyListElement( HMODULE* pElement );

// A list that fixes the element type and destroys its elements when told, and what is left of them at its end.
// Members not described here are those of MyBaseList.
template <class Element>
class TypedList : public MyBaseList
{
public:
    explicit TypedList( MYDBGFUNC pMyDbgFunc = NULL ) : MyBaseList( 10, pMyDbgFunc ) {}
    TypedList( const TypedList& aList ) = default;
    TypedList& operator=( const TypedList& aList )
    {
        ShareNodes( aList, &Destroy );
        return *this;
    }
    // Destroys and frees every element, unless another list holds them too.
    ~TypedList() { LeaveNodes( &Destroy ); }

    // After TRUE the element is the list's, after FALSE still the caller's.
    BOOL Append( Element* p ) { return MyBaseList::Append( p ); }
    BOOL Insert( long lIndex, Element* p ) { return MyBaseList::Insert( lIndex, p ); }
    Element* GetItem( long lIndex, int nAccessMode = 6 )
    {
        return static_cast<Element*>( MyBaseList::GetItem( lIndex, nAccessMode ) );
    }
    //   fDelete  non-zero: the element is destroyed and freed. Its pointer is returned all the same and may only be
    //            compared with NULL; kept so. Zero: it becomes the caller's.
    Element* Remove( long lIndex, BOOL fDelete ) { return Dispose( MyBaseList::Remove( lIndex ), fDelete ); }
    Element* Replace( long lIndex, Element* p, BOOL fDelete )
    {
        return Dispose( MyBaseList::Replace( lIndex, p ), fDelete );
    }
    // Empties the list.
    //   fDelete  non-zero: every element is destroyed and freed, from first to last. Zero: they become the caller's.
    void ClearList( BOOL fDelete ) { ClearElements( fDelete ? &Destroy : NULL ); }

private:
    static void Destroy( MYBASEDATA* pElement ) { DestroyListElement( static_cast<Element*>( pElement ) ); }
    static Element* Dispose( MYBASEDATA* pElement, BOOL fDelete )
    {
        if ( fDelete )
            Destroy( pElement );
        return static_cast<Element*>( pElement );
    }
};

// Strings: lists of texts, tokens, codes of the language server, configuration file names.
class MStringList : public TypedList<MString>
{
    using TypedList::TypedList;
};
class CodeList : public TypedList<MString>
{
    using TypedList::TypedList;
};
class CfgFiles : public TypedList<MString>
{
    using TypedList::TypedList;
};

// Country and language codes, each in a heap cell of its own.
class MyLanguageCodeList : public TypedList<long>
{
    using TypedList::TypedList;
};

// Language files.
class MyCfgList : public TypedList<MyErrNlsInterFaceConfig>
{
    using TypedList::TypedList;
};

// Error records of one slot, and the slots of one thread.
class MyErrList : public TypedList<ErrObjectBase>
{
    using TypedList::TypedList;
};
class ERRServerList : public TypedList<ERRServer>
{
    using TypedList::TypedList;
};

// Scratch buffers of one thread, one for each function id.
class MyBuffList : public TypedList<internalBufferObj>
{
    using TypedList::TypedList;
};

// Handles of loaded modules, each in a heap cell of its own. Freeing a cell does not release its module.
class _HANDLEList : public TypedList<HMODULE>
{
    using TypedList::TypedList;
};

// Objects that a thread was given; destroying an element runs its delete function.
class _CThreadGlobalObjectInterface : public TypedList<CThreadGlobalObjectElemInterface>
{
    using TypedList::TypedList;
};
