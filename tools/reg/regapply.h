// The steps of a .reg file, made. One file for each system.
#pragma once

#include "tools/reg/regtext.h"

// Makes the steps in their order. On Linux neighbouring steps of one root are there at once or none, and they are one
// write; those of a root before stay when a later one fails. On Windows each is a call of its own, and those before one
// that fails stay.
//   aTitle  the file, as messages call it.
// Throws a ToolFailure that names the line that failed, or the first of those that could not be written together.
void ApplySteps( const std::vector<RegStep>& rSteps, const std::string& aTitle );

// For the files of each system: the steps from nFirst up to nEnd, one after the other.
void ApplyRun( const std::vector<RegStep>& rSteps, size_t nFirst, size_t nEnd, const std::string& aTitle );
