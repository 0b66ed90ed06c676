#include "check/finding.h"

#include <utility>

namespace host {

Finding FindingAt(ESeverity eSeverity, Place place, std::size_t nOffset, const std::string& strWhat,
                  const std::string& strExpected) {
    place.nColumn += static_cast<int>(nOffset);
    return {std::move(place), eSeverity, strWhat, strExpected};
}

const char* SeverityText(ESeverity eSeverity) {
    return eSeverity == ESeverity::ERROR ? "error" : "warning";
}

std::string TextOf(const Finding& finding) {
    return finding.place.Text() + ":" + std::to_string(finding.place.nColumn) + ": " +
           SeverityText(finding.eSeverity) + ": " + finding.strWhat +
           (finding.strExpected.empty() ? "" : "; expected " + finding.strExpected);
}

}  // namespace host
