// What a sanitizer cannot follow, a test leaves out.
#pragma once

#include <string_view>

// BXTOOLS_SANITIZE of the build: a compiler's own words for it differ.
constexpr bool ADDRESS_SANITIZER =
    std::string_view( BXTOOLS_SANITIZE ).find( "address" ) != std::string_view::npos;
constexpr bool THREAD_SANITIZER =
    std::string_view( BXTOOLS_SANITIZE ).find( "thread" ) != std::string_view::npos;

// It waits for ever for a thread that left without telling it.
#define SKIP_WHERE_FORCED_ENDS_ARE_NOT_FOLLOWED()                                                            \
    if ( THREAD_SANITIZER )                                                                                  \
    GTEST_SKIP() << "the thread was ended by force"
