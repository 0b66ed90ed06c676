#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace host {

// "file:line:column", as messages name a place. What is empty or 0 is left out.
std::string PlaceText(const std::string& strFile, int nLine, int nColumn = 0);

// Where something stands: line and column count from 1.
struct Place {
    std::string strFile;
    int nLine = 0;
    int nColumn = 1;
    std::string strText;  // the line, trimmed

    std::string Text() const { return PlaceText(strFile, nLine); }
};

enum class ESeverity { WARNING, ERROR };

// What is wrong or doubtful in a file.
struct Finding {
    Place place;
    ESeverity eSeverity;
    std::string strWhat;
    std::string strExpected;  // "" when the message says it all
};

// A finding at nOffset characters behind the beginning of a place's text.
Finding FindingAt(ESeverity eSeverity, Place place, std::size_t nOffset, const std::string& strWhat,
                  const std::string& strExpected = "");

// "error" or "warning".
const char* SeverityText(ESeverity eSeverity);

std::size_t CountErrors(const std::vector<Finding>& vecFinding);

// "1 error, 2 warnings".
std::string SumText(std::size_t nErrors, std::size_t nWarnings);

// "file:line:column: error: what; expected that".
std::string TextOf(const Finding& finding);

}  // namespace host
