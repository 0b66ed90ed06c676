#pragma once

#include "check/text_lines.h"

#include <string>
#include <vector>

namespace host {

// The lines of a configuration file with their places, and what is wrong with every kind of it: a
// byte-order mark, line ends of two kinds.
class LineFile {
public:
    // Throws CommandError when the file cannot be read.
    explicit LineFile(const std::string& strFile);

    std::string strText;
    std::vector<TextLine> vecLine;
    std::vector<Finding> vecFinding;

    // What was expected in place of strKey: "perhaps" and the known key nearest to it, or "" when
    // none is near.
    static std::string Perhaps(const std::string& strKey, const std::vector<std::string>& vecKnown);
};

}  // namespace host
