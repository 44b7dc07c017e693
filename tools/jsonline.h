// JSON as the tool prints it: what is not UTF-8 becomes U+FFFD.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

// On one line, with its end.
inline std::string JsonLine( const nlohmann::ordered_json& rJson )
{
    return rJson.dump( -1, ' ', false, nlohmann::ordered_json::error_handler_t::replace ) + "\n";
}

// On as many lines as it has values, indented.
inline std::string JsonLines( const nlohmann::ordered_json& rJson )
{
    return rJson.dump( 1, ' ', false, nlohmann::ordered_json::error_handler_t::replace ) + "\n";
}
