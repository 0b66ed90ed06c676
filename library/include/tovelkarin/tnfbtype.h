#pragma once

#include "tovelkarin/export.h"

#include <string>

// Function-block types of termination points. Any thread; constant cost.
namespace NSTN_util {

// The function-block type that a detailed type belongs to: 862 gives 810. False, with nFbType
// untouched, for a type that is not known (line: "WARNING in ConvertTTPfb2FBType: unknown
// FB_TYPE(%d)").
TN_API bool ConvertTTPfb2FBType(int nTtpType, int& nFbType);

// The names of the level and the lower level of a detailed type: 94 gives "VC4" and "VC3", 12 "OCH"
// and "". False, with both empty, for a type that is not known (line as above).
TN_API bool ConvertTTPfb2FBTypeStr(int nTtpType, std::string& strLevel, std::string& strLowLevel);

}  // namespace NSTN_util
