// Records and streams for the tests of this folder.
#pragma once

#include <bxtools/error.h>
#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using Texts = std::vector<std::string>;

inline const std::string SEP = "$\xB0";
inline const std::string HEADER = "##HDRMSG0";

inline MString ToMString( const std::string& strText )
{
    return { strText.data(), static_cast<int>( strText.size() ) };
}

inline std::string ToText( const MString& aText )
{
    return { aText.data(), aText.length() };
}

// A record whose inside can be seen.
class OpenRecord : public ErrObjectBase
{
public:
    using ErrObjectBase::ClearValues;
    using ErrObjectBase::IsInitialized;
    using ErrObjectBase::MySetLastErr;

    OpenRecord() = default;
    explicit OpenRecord( const std::string& strText ) { FromStream( ToMString( strText ) ); }

    MMStringList* List() { return m_paStrList; }
    Texts Parameters()
    {
        Texts aTexts;
        for ( long i = 0; m_paStrList != NULL && i < long( m_paStrList->ItemCount() ); ++i )
            aTexts.emplace_back( m_paStrList->GetItem( i )->data() );
        return aTexts;
    }
    std::string Text()
    {
        MString aText;
        EXPECT_TRUE( ToStream( aText ) );
        return ToText( aText );
    }
    std::string Dump() const { return ToText( m_aDumpStr ); }
};

inline std::string StreamOf( const Texts& aRecords )
{
    std::string strStream = HEADER;
    for ( const std::string& strRecord : aRecords )
        strStream += SEP + strRecord;
    return strStream;
}

inline std::string NumberedRecord( size_t uNumber )
{
    return "1.0.0+?+TEST.CLASS+?+" + std::to_string( uNumber ) + "+?+0+?+origin+?++?+";
}

inline Texts NumberedRecords( size_t uCount )
{
    Texts aRecords;
    for ( size_t u = 0; u < uCount; ++u )
        aRecords.push_back( NumberedRecord( u ) );
    return aRecords;
}

// What the system says of an error.
inline std::string SystemText( DWORD dwErrorCode )
{
    char szText[1000];
    return { szText, FormatMessageA( FORMAT_MESSAGE_FROM_SYSTEM, NULL, dwErrorCode, 0x400, szText,
                                     sizeof( szText ), NULL ) };
}

// A text cut at every length, and with every byte replaced by each of strPut.
inline Texts Damaged( const std::string& strWhole, const std::string& strPut )
{
    Texts aTexts = { strWhole };
    for ( size_t u = 0; u < strWhole.size(); ++u )
    {
        aTexts.push_back( strWhole.substr( 0, u ) );
        for ( char cPut : strPut )
            aTexts.emplace_back( strWhole )[u] = cPut;
    }
    return aTexts;
}
