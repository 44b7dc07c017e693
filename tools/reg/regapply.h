// The steps of a .reg file, made. One file for each system.
#pragma once

#include "tools/reg/regtext.h"

// Makes the steps in their order. On Linux all of one root are there at once or none, and it is one write; on Windows each
// is a call of its own, and those before one that fails stay.
//   aTitle  the file, as messages call it.
// Throws a ToolFailure that names the line that failed.
void ApplySteps( const std::vector<RegStep>& rSteps, const std::string& aTitle );

// For the files of each system: the steps from nFirst up to nEnd, one after the other.
void ApplyRun( const std::vector<RegStep>& rSteps, size_t nFirst, size_t nEnd, const std::string& aTitle );
