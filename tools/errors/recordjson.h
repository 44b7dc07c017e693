// Records as JSON, the same form for reading and for writing.
#pragma once

#include "tools/errors/decodedrecord.h"

#include <string>
#include <vector>

// One record as one line of JSON without a line end. Bytes that are not UTF-8 become U+FFFD.
std::string ToJson( size_t nIndex, const DecodedRecord& rRecord );

// A broken record: its index and the reason.
std::string BrokenToJson( size_t nIndex, const std::string& aReason );

// The records of a JSON document: an array of records, or an object whose "records" is one, as show --json gives it.
// What a record lacks is empty or 0; "index" and the texts that ToJson derives are ignored.
// Throws a ToolFailure that names the record and what is wrong with it.
std::vector<DecodedRecord> RecordsFromJson( const std::string& aDocument );
