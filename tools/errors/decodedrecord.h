// One error record as its values, read by the library.
#pragma once

#include <bxtools/errobject.h>

#include <string>
#include <string_view>
#include <vector>

struct DecodedRecord
{
    std::string aErrorClass;
    ERR lNumber = 0;
    DWORD dwSystemError = 0;
    std::string aOrigin;
    std::string aOptional;
    std::vector<std::string> aParameters;
};

// Reads the texts of records, one after the other.
class RecordDecoder
{
public:
    // rRecord becomes what aText says.
    //   rReason  out: why the text is no record, for a person to read.
    // Result: false, with rRecord unchanged, when it is none.
    bool Decode( std::string_view aText, DecodedRecord& rRecord, std::string& rReason );

private:
    ErrObjectBase m_aRecord;
    MString m_aText;
};

// Decimal and hexadecimal, as the library writes it: "-2147024882 (hex: 0x8007000E)".
std::string GetNumberText( const DecodedRecord& rRecord );

// The system's text for an error number without line ends around it; empty for 0 and where there is none.
std::string GetSystemText( DWORD dwError );

// What the record's number itself means to the system: the text of an HRESULT, empty for other classes, whose numbers
// are the reporting program's own.
std::string GetNumberMeaning( const DecodedRecord& rRecord );
