// JSON as the tool prints it. The library that writes it is all templates; jsonline.cpp alone compiles them.
#pragma once

#include <concepts>
#include <initializer_list>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>

// A value of JSON. Texts and numbers become one by themselves, so that objects are written down as they look:
// Json aJson = { { "name", aName }, { "size", nSize } };
class Json
{
public:
    struct Member;

    Json( const char* pText );        // UTF-8
    Json( const std::string& aText ); // becomes UTF-8 as in ToUtf8
    // For each integral type that jsonline.cpp names, bool among them.
    template <std::integral Number>
    Json( Number nNumber );
    // An object; the members keep their order.
    Json( std::initializer_list<Member> aMembers );
    static Json Array();
    // An array of all values that a container holds.
    template <class Container>
    static Json ArrayOf( const Container& rValues );

    ~Json();
    Json( const Json& rOther );
    Json( Json&& rOther ) noexcept;
    Json& operator=( const Json& ) = delete;

    // To an array.
    void Add( Json aValue );
    // To an object, or in place of the member of that name.
    void Set( const char* pName, Json aValue );

    // The text, on one line when nIndent is -1.
    std::string Write( int nIndent ) const;

private:
    explicit Json( std::unique_ptr<nlohmann::ordered_json> pValue );

    std::unique_ptr<nlohmann::ordered_json> m_pValue;
};

struct Json::Member
{
    const char* pName;
    Json aValue;
};

template <class Container>
Json Json::ArrayOf( const Container& rValues )
{
    Json aArray = Array();
    for ( const auto& rValue : rValues )
        aArray.Add( rValue );
    return aArray;
}

// On one line, with its end.
std::string JsonLine( const Json& rJson );
// On as many lines as it has values, indented.
std::string JsonLines( const Json& rJson );
