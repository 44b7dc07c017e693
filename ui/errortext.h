// Errors as plain text: what is printed where nothing can be shown, and what a window's user copies.
#pragma once

#include <bxtools/window_system.h>

#include <string>

// Without empty lines around it, with LF between the lines, and with question marks for control characters.
std::string TrimLines( LPCSTR pText );

// A text with "%1" and "%2" in it that stand for numbers.
std::string FillPosition( LPCSTR pPosition, ULONG ulError, ULONG ulCount );

// One error, each of its parts on lines of its own.
std::string ComposeError( const WindowSystemError& rError, const WindowSystemErrorLabels& rLabels );

// All of them, each behind its position, with an empty line between.
std::string ComposeErrors( const WindowSystemError* pErrors, ULONG ulCount,
                           const WindowSystemErrorLabels& rLabels );

// "file, topic".
std::string ComposeHelp( const WindowSystemError& rError );
