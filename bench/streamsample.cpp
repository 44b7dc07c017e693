#include "streamsample.h"

std::vector<SampleRecord> MakeSampleRecords( size_t ulCount )
{
    std::vector<SampleRecord> aRecords;
    for ( size_t i = 0; i < ulCount; ++i )
        aRecords.push_back(
            { "BRINDLEX.ERRCLS_DOCUMENT", 51 + static_cast<long>( i % STACK_RECORDS ), 5,
              "Document is not opened", "store 7",
              std::string( "/a/contract.doc!;!" ) + ( i + 1 == ulCount ? "seal" : "read" ) } );
    return aRecords;
}

void AppendText( const SampleRecord& aRecord, std::string& strOut )
{
    strOut += "1.0.0";
    strOut += SAMPLE_FIELD_SEPARATOR;
    strOut += aRecord.m_strClass;
    strOut += SAMPLE_FIELD_SEPARATOR;
    strOut += std::to_string( aRecord.m_lNumber );
    strOut += SAMPLE_FIELD_SEPARATOR;
    strOut += std::to_string( aRecord.m_ulSystemError );
    strOut += SAMPLE_FIELD_SEPARATOR;
    strOut += aRecord.m_strOriginText;
    strOut += SAMPLE_FIELD_SEPARATOR;
    strOut += aRecord.m_strOptionalText;
    strOut += SAMPLE_FIELD_SEPARATOR;
    strOut += aRecord.m_strParameters;
}

std::string TextOf( const SampleRecord& aRecord )
{
    std::string strText;
    AppendText( aRecord, strText );
    return strText;
}

std::string StreamOf( const std::vector<SampleRecord>& aRecords )
{
    std::string strStream = SAMPLE_HEADER;
    for ( const SampleRecord& aRecord : aRecords )
        strStream += SAMPLE_SEPARATOR + TextOf( aRecord );
    return strStream;
}

std::string ReverseStreamOf( const std::vector<SampleRecord>& aRecords )
{
    return StreamOf( { aRecords.rbegin(), aRecords.rend() } );
}
