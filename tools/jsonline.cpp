#include "tools/jsonline.h"

#include "tools/errors/displaytext.h"

#include <nlohmann/json.hpp>

using Value = nlohmann::ordered_json;

Json::Json( std::unique_ptr<Value> pValue ) : m_pValue( std::move( pValue ) ) {}

Json::Json( const char* pText ) : Json( std::make_unique<Value>( pText ) ) {}

Json::Json( const std::string& aText ) : Json( std::make_unique<Value>( ToUtf8( aText ) ) ) {}

template <std::integral Number>
Json::Json( Number nNumber ) : Json( std::make_unique<Value>( nNumber ) )
{
}
template Json::Json( bool );
template Json::Json( unsigned short );
template Json::Json( int );
template Json::Json( unsigned int );
template Json::Json( long );
template Json::Json( unsigned long );
template Json::Json( long long );
template Json::Json( unsigned long long );

Json::Json( std::initializer_list<Member> aMembers ) : Json( std::make_unique<Value>( Value::object() ) )
{
    for ( const Member& rMember : aMembers )
        Set( rMember.pName, rMember.aValue );
}

Json Json::Array()
{
    return Json( std::make_unique<Value>( Value::array() ) );
}

Json::~Json() = default;

Json::Json( const Json& rOther ) : Json( std::make_unique<Value>( *rOther.m_pValue ) ) {}

Json::Json( Json&& rOther ) noexcept = default;

void Json::Add( Json aValue )
{
    m_pValue->push_back( std::move( *aValue.m_pValue ) );
}

void Json::Set( const char* pName, Json aValue )
{
    ( *m_pValue )[pName] = std::move( *aValue.m_pValue );
}

std::string Json::Write( int nIndent ) const
{
    return m_pValue->dump( nIndent, ' ', false, Value::error_handler_t::replace );
}

std::string JsonLine( const Json& rJson )
{
    return rJson.Write( -1 ) + "\n";
}

std::string JsonLines( const Json& rJson )
{
    return rJson.Write( 1 ) + "\n";
}
