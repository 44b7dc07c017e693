// The names that this process uses, each with its object. Everything here is called with the lock of the names held.
#pragma once

#include "platform/object/namedobjects.h"

// How an attempt to join the holders of a name ended.
enum class Joining : unsigned char
{
    Existed,
    Made,
    GoToFile, // what this process knows of the name is out of date, or nothing
    Again,    // the file was given up and another one is to be made
    Failed    // the last error says why
};

// The names of this process.
class NameTable
{
public:
    static NamedObject* Find( const ObjectName& rName ) noexcept
    {
        for ( NamedObject* pNamed = BucketOf( rName.GetHash() ); pNamed != nullptr;
              pNamed = pNamed->m_pNextInBucket )
        {
            if ( pNamed->m_ullHash == rName.GetHash() && pNamed->m_aFile.GetScope() == rName.GetScope() &&
                 pNamed->m_aFile.HasName( rName ) )
                return pNamed;
        }
        return nullptr;
    }

    static Joining JoinKnown( NamedObject& rNamed, ObjectMaker& rMaker, bool fCreate ) noexcept;
    static Joining JoinFile( const ObjectName& rName, ObjectMaker& rMaker, bool fCreate,
                             NamedObject*& rpNamed ) noexcept;
    static KernelObject* AddHandle( NamedObject& rNamed ) noexcept
    {
        if ( rNamed.m_dwHandles++ == 0 )
            LeaveIdle( rNamed );
        rNamed.m_pObject->AddReference();
        return rNamed.m_pObject;
    }
    static void RemoveHandle( NamedObject& rNamed ) noexcept;

    static void Remove( NamedObject& rNamed ) noexcept;
    static void RemoveAllIdle() noexcept;
    static bool IsEmpty() noexcept;
    static void RemoveAllInChild() noexcept;

private:
    static constexpr size_t BUCKETS = 256;

    static NamedObject*& BucketOf( ULONGLONG ullHash ) noexcept { return m_apBuckets[ullHash % BUCKETS]; }

    static Joining JoinMapped( NamedObject& rNamed, ObjectMaker& rMaker, bool fCreate ) noexcept;
    static Joining GiveBirth( NamedObject& rNamed, ObjectMaker& rMaker ) noexcept;
    static KernelObject* MakeObject( std::unique_ptr<NamedObject> pNamed, ObjectMaker& rMaker ) noexcept;
    static Joining TryFile( const ObjectName& rName, const ProcessSlot& rSlot, ObjectMaker& rMaker,
                            bool fCreate, NamedObject*& rpNamed ) noexcept;
    static void Add( NamedObject& rNamed ) noexcept;
    static void ChangeSlot( NamespaceScope eScope, const ProcessSlot& rSlot ) noexcept;
    static void RemoveFile( NamedObject& rNamed ) noexcept;
    static bool IsHeldByOthers( NamedObject& rNamed ) noexcept;
    static void RemoveIdle( NamedObject& rNamed ) noexcept;
    static void EnterIdle( NamedObject& rNamed ) noexcept;
    static void LeaveIdle( NamedObject& rNamed ) noexcept;

    static constinit inline NamedObject* m_apBuckets[BUCKETS]{};
    static constinit inline NamedObject* m_pFirstIdle = nullptr;
    static constinit inline NamedObject* m_pLastIdle = nullptr;
    static constinit inline DWORD m_dwIdle = 0;
};
