#pragma once

#include "mutex_file.h"

#include <cstddef>
#include <string>
#include <vector>

namespace host {

// The lines of a configuration file with their places, and what is wrong with every kind of it: a
// byte-order mark, line ends of two kinds.
class LineFile {
public:
    // Throws CommandError when the file cannot be read.
    explicit LineFile(const std::string& strFile);

    struct Line {
        Place place;            // trimmed, the column where the text begins
        std::size_t nLength{};  // characters before the line feed
    };
    std::vector<Line> vecLine;
    std::vector<Finding> vecFinding;

    // The key nearest to strKey, or "" when none is near.
    static std::string Nearest(const std::string& strKey, const std::vector<std::string>& vecKnown);
};

// A finding at nOffset characters behind the beginning of a place's text.
Finding FindingAt(ESeverity eSeverity, Place place, std::size_t nOffset, const std::string& strWhat,
                  const std::string& strExpected = "");

}  // namespace host
