#include "files/section_file.h"

#include "base/trim.h"

#include <algorithm>
#include <iostream>

namespace NSTN_util {

namespace {

// The name that a header line holds; false for any other line.
bool IsHeader(std::string_view strLine, std::string_view& strName) {
    const std::size_t nOpen = strLine.find('[');
    if (nOpen == std::string_view::npos)
        return false;
    const std::size_t nClose = strLine.find(']', nOpen);
    if (nClose == std::string_view::npos)
        return false;
    strName = base::Trim(strLine.substr(nOpen + 1, nClose - nOpen - 1));
    return true;
}

}  // namespace

SectionLines SectionsOf(std::string_view strText) {
    SectionLines mapSection;
    std::vector<std::string_view>* pLines = nullptr;
    while (!strText.empty()) {
        const std::size_t nEnd = std::min(strText.find('\n'), strText.size());
        std::string_view strLine = strText.substr(0, nEnd);
        strText.remove_prefix(std::min(nEnd + 1, strText.size()));
        strLine = base::Trim(strLine.substr(0, strLine.find('#')));
        std::string_view strName;
        if (strLine.empty())
            continue;
        if (IsHeader(strLine, strName))
            pLines = &mapSection.try_emplace(std::string(strName)).first->second;
        else if (pLines != nullptr)
            pLines->push_back(strLine);
    }
    return mapSection;
}

}  // namespace NSTN_util
