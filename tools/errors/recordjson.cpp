#include "tools/errors/recordjson.h"

#include "tools/errors/displaytext.h"
#include "tools/systemtext.h"
#include "tools/toolfailure.h"

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>

namespace
{

using Json = nlohmann::ordered_json;

std::string Write( const Json& rValue )
{
    return rValue.dump( -1, ' ', false, Json::error_handler_t::replace );
}

// A value as a message shows it: its beginning is enough.
std::string Quote( const Json& rValue )
{
    constexpr size_t SHOWN = 60;
    const std::string aText = Write( rValue );
    return aText.size() <= SHOWN ? aText : aText.substr( 0, SHOWN ) + "...";
}

[[noreturn]] void ThrowWrong( const std::string& aWhat )
{
    throw ToolFailure( ExitCode::Usage, "the JSON on standard input cannot be used: " + aWhat );
}

std::string ReadText( const Json& rValue )
{
    if ( !rValue.is_string() )
        ThrowWrong( Quote( rValue ) + " stands where a text is wanted" );
    std::string aText = rValue.get<std::string>();
    if ( !ToSystemText( aText ) )
        ThrowWrong( "this system's character set lacks a character of " + Quote( rValue ) );
    return aText;
}

template <class Number>
Number ReadNumber( const Json& rValue )
{
    using Limits = std::numeric_limits<Number>;
    if ( !rValue.is_number_integer() ||
         ( rValue.is_number_unsigned() && rValue.get<uint64_t>() > Limits::max() ) ||
         ( !rValue.is_number_unsigned() && rValue.get<int64_t>() < Limits::min() ) )
        ThrowWrong( Quote( rValue ) + " stands where a whole number from " + std::to_string( Limits::min() ) +
                    " to " + std::to_string( Limits::max() ) + " is wanted" );
    return rValue.get<Number>();
}

std::vector<std::string> ReadTexts( const Json& rValue )
{
    if ( !rValue.is_array() )
        ThrowWrong( Quote( rValue ) + " stands where an array of texts is wanted" );
    std::vector<std::string> aTexts;
    for ( const Json& rText : rValue )
        aTexts.push_back( ReadText( rText ) );
    return aTexts;
}

struct Member
{
    const char* pName;
    void ( *pRead )( DecodedRecord& rRecord, const Json& rValue );
};
constexpr Member MEMBERS[] = {
    { "class",
      []( DecodedRecord& rRecord, const Json& rValue ) { rRecord.aErrorClass = ReadText( rValue ); } },
    { "number",
      []( DecodedRecord& rRecord, const Json& rValue ) { rRecord.lNumber = ReadNumber<ERR>( rValue ); } },
    { "systemError", []( DecodedRecord& rRecord, const Json& rValue )
      { rRecord.dwSystemError = ReadNumber<DWORD>( rValue ); } },
    { "origin", []( DecodedRecord& rRecord, const Json& rValue ) { rRecord.aOrigin = ReadText( rValue ); } },
    { "optional",
      []( DecodedRecord& rRecord, const Json& rValue ) { rRecord.aOptional = ReadText( rValue ); } },
    { "parameters",
      []( DecodedRecord& rRecord, const Json& rValue ) { rRecord.aParameters = ReadTexts( rValue ); } },
    // What ToJson adds for the reader.
    { "index", []( DecodedRecord&, const Json& ) {} },
    { "numberText", []( DecodedRecord&, const Json& ) {} },
    { "numberMeaning", []( DecodedRecord&, const Json& ) {} },
    { "systemText", []( DecodedRecord&, const Json& ) {} },
};

DecodedRecord ReadRecord( const Json& rValue )
{
    if ( !rValue.is_object() )
        ThrowWrong( Quote( rValue ) + " stands where a record, an object, is wanted" );
    DecodedRecord aRecord;
    for ( const auto& [aName, rMemberValue] : rValue.items() )
    {
        bool fKnown = false;
        for ( const Member& rMember : MEMBERS )
            if ( aName == rMember.pName )
            {
                rMember.pRead( aRecord, rMemberValue );
                fKnown = true;
            }
        if ( !fKnown )
            ThrowWrong( "a record has no \"" + aName + "\"; see the output of bxtool errors show --json" );
    }
    return aRecord;
}

} // namespace

std::string ToJson( size_t nIndex, const DecodedRecord& rRecord )
{
    Json aValue;
    aValue["index"] = nIndex;
    aValue["class"] = ToUtf8( rRecord.aErrorClass );
    aValue["number"] = rRecord.lNumber;
    aValue["numberText"] = GetNumberText( rRecord );
    if ( const std::string aMeaning = GetNumberMeaning( rRecord ); !aMeaning.empty() )
        aValue["numberMeaning"] = ToUtf8( aMeaning );
    aValue["systemError"] = rRecord.dwSystemError;
    aValue["systemText"] = ToUtf8( GetSystemText( rRecord.dwSystemError ) );
    aValue["origin"] = ToUtf8( rRecord.aOrigin );
    aValue["optional"] = ToUtf8( rRecord.aOptional );
    aValue["parameters"] = Json::array();
    for ( const std::string& rParameter : rRecord.aParameters )
        aValue["parameters"].push_back( ToUtf8( rParameter ) );
    return Write( aValue );
}

std::string BrokenToJson( size_t nIndex, const std::string& aReason )
{
    Json aValue;
    aValue["index"] = nIndex;
    aValue["reason"] = aReason;
    return Write( aValue );
}

std::vector<DecodedRecord> RecordsFromJson( const std::string& aDocument )
{
    Json aValue;
    try
    {
        aValue = Json::parse( aDocument );
    }
    catch ( const Json::parse_error& aError )
    {
        ThrowWrong( aError.what() );
    }
    if ( aValue.is_object() && aValue.contains( "records" ) )
        aValue = Json( aValue["records"] );
    if ( !aValue.is_array() )
        ThrowWrong( "an array of records, or an object with one named \"records\", is wanted" );
    std::vector<DecodedRecord> aRecords;
    for ( const Json& rRecord : aValue )
        aRecords.push_back( ReadRecord( rRecord ) );
    return aRecords;
}
