// The error records and the error stream that the stream measurements work on, made without the library.
#pragma once

#include <string>
#include <vector>

// One error as a program without the library would keep it; its parameters are joined, as they come and travel.
struct SampleRecord
{
    std::string m_strClass;
    long m_lNumber;
    unsigned long m_ulSystemError;
    std::string m_strOriginText;
    std::string m_strOptionalText;
    std::string m_strParameters;
};

// The separators of the stream's format.
inline constexpr char SAMPLE_HEADER[] = "##HDRMSG0";
inline constexpr char SAMPLE_SEPARATOR[] = "$\xB0";
inline constexpr char SAMPLE_FIELD_SEPARATOR[] = "+?+";

// The two lengths measured: a full error stack, and a stream that no cache of a core holds. 70 records make a stream of
// 7,240 bytes.
inline constexpr size_t STACK_RECORDS = 70;
inline constexpr size_t MANY_RECORDS = 60000;

// Records of the same length, but for a digit; only the last one differs from all before it in its text.
std::vector<SampleRecord> MakeSampleRecords( size_t ulCount );

// Adds the text of one record to strOut, with appends alone: the way of a program without the library.
void AppendText( const SampleRecord& aRecord, std::string& strOut );

// The text of one record; of all of them behind a header; of all of them in reverse order.
std::string TextOf( const SampleRecord& aRecord );
std::string StreamOf( const std::vector<SampleRecord>& aRecords );
std::string ReverseStreamOf( const std::vector<SampleRecord>& aRecords );
