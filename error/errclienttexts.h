// What the two halves of the translated record share: where the common texts stand, and how texts are joined.
#pragma once

#include "error/errstream.h"

#include <bxtools/mstring.h>

#include <initializer_list>
#include <string_view>

// The sections of texts that are no class of their own.
inline constexpr char BXTOOLS_COMMON_ERROR[] = "BXTOOLS.NLSCOMMONERROR";
inline constexpr char BXCOMMON_COMMON_ERROR[] = "BXCOMMON.NLSCOMMONERROR";
inline constexpr char COMMON_SEC_HRES_FACILITY[] = "BXTOOLS.COMMON_SEC_HRES_FACILITY";
inline constexpr char COMMON_SEC_HRES_SEVERITY[] = "BXTOOLS.COMMON_SEC_HRES_SEVERITY";

// The text of a section and key in the thread's language, aDefault where there is none.
MString NlsTextOr( const MString& aSection, const MString& aKey, const MString& aDefault );

// Unlike the operators of MString it throws when there is no memory.
inline void AppendTexts( RWCString& rText, std::initializer_list<std::string_view> aTexts )
{
    for ( const std::string_view aText : aTexts )
        rText.append( aText.data(), aText.size() );
}
