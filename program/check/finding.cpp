#include "check/finding.h"

#include "view/output.h"

#include <algorithm>
#include <utility>

namespace host {

std::string PlaceText(const std::string& strFile, int nLine, int nColumn) {
    return (strFile.empty() ? "" : strFile + ":") + std::to_string(nLine) +
           (nColumn == 0 ? "" : ":" + std::to_string(nColumn));
}

Finding FindingAt(ESeverity eSeverity, Place place, std::size_t nOffset, const std::string& strWhat,
                  const std::string& strExpected) {
    place.nColumn += static_cast<int>(nOffset);
    return {std::move(place), eSeverity, strWhat, strExpected};
}

const char* SeverityText(ESeverity eSeverity) {
    return eSeverity == ESeverity::ERROR ? "error" : "warning";
}

std::size_t CountErrors(const std::vector<Finding>& vecFinding) {
    return static_cast<std::size_t>(std::count_if(
        vecFinding.begin(), vecFinding.end(),
        [](const Finding& finding) { return finding.eSeverity == ESeverity::ERROR; }));
}

std::string SumText(std::size_t nErrors, std::size_t nWarnings) {
    return Counted(nErrors, "error") + ", " + Counted(nWarnings, "warning");
}

std::string TextOf(const Finding& finding) {
    return PlaceText(finding.place.strFile, finding.place.nLine, finding.place.nColumn) + ": " +
           SeverityText(finding.eSeverity) + ": " + finding.strWhat +
           (finding.strExpected.empty() ? "" : "; expected " + finding.strExpected);
}

}  // namespace host
