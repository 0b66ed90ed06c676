#pragma once

#include "check/finding.h"

#include <cstddef>
#include <string>
#include <vector>

namespace host {

constexpr const char* BYTE_ORDER_MARK = "\xEF\xBB\xBF";

struct TextLine {
    Place place;             // its text, trimmed, and where that begins
    std::string strRaw;      // all of it but the line feed
    bool bLineFeed = false;  // the last line may have none
};

// What a reader sees of a line that it takes for strRaw.
Place PlaceOf(const std::string& strFile, int nLine, const std::string& strRaw);

// All of a plain file. Throws CommandError for anything else (a pipe might never end) and for a
// file that cannot be read.
std::string ReadText(const std::string& strFile);

std::vector<TextLine> CutLines(const std::string& strFile, const std::string& strText);

// The lines of a plain file. Throws CommandError as ReadText does.
std::vector<TextLine> ReadLines(const std::string& strFile);

}  // namespace host
