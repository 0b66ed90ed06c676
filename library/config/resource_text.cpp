#include "config/resource_text.h"

#include "tovelkarin/stringutil.h"
#include "tovelkarin/telangresmgr.h"

#include "base/number_text.h"
#include "base/view_of.h"
#include "trace/assert_point.h"

namespace NSTN_util {

bool LookUpText(TELangResMgr* pRes, const TNAssertPoint& pointWithout, const char* szKey,
                int nIndex, std::string& strText) {
    if (pRes == nullptr) {
        ReportAssert(pointWithout);
        return false;
    }
    std::string strKey(base::ViewOf(szKey));
    if (nIndex >= 0)
        strKey = base::HexText(strKey, static_cast<unsigned long>(nIndex), base::HEX_UPPER);
    strText = pRes->GetResourceStr(strKey);
    return true;
}

int AppendRes(const char* szKey, int nIndex, std::string& strResult) {
    std::string strText;
    if (!LookUpText(TELangResMgr::Instance(), ASSERT_APPEND_RES, szKey, nIndex, strText))
        return 0;
    strResult += strText;
    return 1;
}

int AppendResAndTrimAChar(const char* szKey, int nIndex, std::string& strResult) {
    std::string strText;
    if (!LookUpText(TELangResMgr::Instance(), ASSERT_APPEND_RES_TRIMMED, szKey, nIndex, strText))
        return 0;
    // Deliberate: an "A" at both ends only guards blanks beside it in the resource file.
    if (strText.size() > 1 && strText.front() == 'A' && strText.back() == 'A')
        strText = strText.substr(1, strText.size() - 2);
    strResult += strText;
    return 1;
}

}  // namespace NSTN_util
