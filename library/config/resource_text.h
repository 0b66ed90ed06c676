#pragma once

#include "trace/assert_point.h"

#include <string>

namespace NSTN_util {

class TELangResMgr;

constexpr TNAssertPoint ASSERT_APPEND_RES = {"stringutil", 345, "pRes != __null"};
constexpr TNAssertPoint ASSERT_APPEND_RES_TRIMMED = {"stringutil", 376, "pRes != __null"};

// Sets strText to the resource text of szKey and nIndex; without a manager the assertion line is
// written and the result false.
bool LookUpText(TELangResMgr* pRes, const TNAssertPoint& pointWithout, const char* szKey,
                int nIndex, std::string& strText);

}  // namespace NSTN_util
