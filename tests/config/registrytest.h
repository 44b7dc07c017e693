// What the tests of CRegistry have in common: a key of each test's own, and what is in it as one text.
#pragma once

#include <bxtools/platform.h>
#include <bxtools/registry.h>

#include <gtest/gtest.h>

#include <initializer_list>
#include <random>
#include <string>

inline const HKEY MACHINE = (HKEY)CRegistry::keyLocalMachine;

struct Texts : MStringArray
{
    Texts( std::initializer_list<const char*> aTexts )
    {
        for ( const char* pText : aTexts )
            Add( pText );
    }
};

struct Bytes : MByteArray
{
    explicit Bytes( const std::string& strBytes )
    {
        for ( const char cByte : strBytes )
            Add( static_cast<BYTE>( cByte ) );
    }
};

inline std::string Shown( DWORD dwNumber )
{
    return std::to_string( dwNumber );
}

inline std::string Shown( const MString& aText )
{
    return aText.data();
}

inline std::string Shown( const MByteArray& aArray )
{
    return std::string( reinterpret_cast<const char*>( aArray.GetData() ),
                        static_cast<size_t>( aArray.GetSize() ) );
}

inline std::string Shown( const MStringArray& aArray )
{
    std::string strAll;
    for ( int i = 0; i < aArray.GetSize(); i++ )
        strAll += std::string( aArray.GetAt( i ) ) + "|";
    return strAll;
}

// A connected object, and a key of its own that goes with it.
template <class Base = CRegistry>
class ScratchRegistry : public Base
{
public:
    ScratchRegistry() : m_strRoot( "Software\\BXToolsTest" + std::to_string( std::random_device()() ) )
    {
        EXPECT_TRUE( this->Connect( MACHINE ) ) << this->GetErrorCode();
        EXPECT_TRUE( this->Create( m_strRoot.c_str(), "own class" ) ) << this->GetErrorCode();
    }
    ~ScratchRegistry() override { EXPECT_TRUE( this->DeleteKey( m_strRoot.c_str() ) ); }

    std::string Path( const std::string& strBelow ) const { return m_strRoot + "\\" + strBelow; }
    BOOL Add( const std::string& strBelow ) { return this->Create( Path( strBelow ).c_str() ); }
    BOOL SetRaw( const char* pName, DWORD dwType, std::string strBytes )
    {
        return this->SetValue( pName, static_cast<CRegistry::KeyValueTypes>( dwType ),
                               reinterpret_cast<BYTE*>( strBytes.data() ),
                               static_cast<DWORD>( strBytes.size() ) );
    }
    // The error of a call; 0 when it was done.
    int Code( BOOL fDone ) { return fDone ? 0 : this->GetErrorCode(); }
    // Type and bytes, as the system has them.
    std::string Raw( const char* pName )
    {
        CRegistry::KeyValueTypes aType = CRegistry::typeNone;
        BYTE aBytes[5000];
        DWORD dwSize = sizeof( aBytes );
        if ( !this->QueryValue( pName, aType, aBytes, dwSize ) )
            return "error " + std::to_string( this->GetErrorCode() );
        return std::to_string( aType ) + ":" + std::string( reinterpret_cast<char*>( aBytes ), dwSize );
    }
    // What the reader of a type makes of what was there, behind its code where it fails.
    template <class Value>
    std::string Read( const char* pName, Value aValue )
    {
        const BOOL fRead = this->GetValue( pName, aValue );
        return ( fRead ? "" : "error " + std::to_string( this->GetErrorCode() ) + ":" ) + Shown( aValue );
    }

    const std::string m_strRoot;
};

inline std::string Asked( const CRegistry& rRegistry, void ( CRegistry::*pName )( MString& ) const )
{
    MString aName( "older" );
    ( rRegistry.*pName )( aName );
    return aName.data();
}

inline std::string KeyName( const CRegistry& rRegistry )
{
    return Asked( rRegistry, &CRegistry::GetKeyName );
}

class Registry : public ::testing::Test, protected ScratchRegistry<>
{
};
