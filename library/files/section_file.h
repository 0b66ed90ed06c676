#pragma once

#include "base/trim.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace NSTN_util {

// A line of a sectioned file that says something.
struct SectionLine {
    std::string_view strText;                  // without comment and blanks around it, never empty
    std::optional<std::string_view> strTitle;  // of a header: the name of the section it begins
    int nNumber = 0;                           // from 1 on
    std::size_t nIndent = 0;                   // characters before the text
};

// The lines of a sectioned file, one after the other: "#" and what follows is a comment, blanks,
// tabs and a carriage return around a line do not count, a line with "[", and "]" behind it, begins
// a section. Views into the text.
class SectionWalk {
public:
    explicit SectionWalk(std::string_view strText) : m_strRest(strText) {}

    // False when no line is left.
    bool Next(SectionLine& line) {
        while (!m_strRest.empty()) {
            const std::size_t nEnd = std::min(m_strRest.find('\n'), m_strRest.size());
            const std::string_view strRaw = m_strRest.substr(0, nEnd);
            m_strRest.remove_prefix(std::min(nEnd + 1, m_strRest.size()));
            ++m_nNumber;
            line.strText = base::Trim(strRaw.substr(0, strRaw.find('#')));
            if (line.strText.empty())
                continue;
            line.strTitle = TitleOf(line.strText);
            line.nNumber = m_nNumber;
            line.nIndent = static_cast<std::size_t>(line.strText.data() - strRaw.data());
            return true;
        }
        return false;
    }

private:
    static std::optional<std::string_view> TitleOf(std::string_view strLine) {
        const std::size_t nOpen = strLine.find('[');
        if (nOpen == std::string_view::npos)
            return std::nullopt;
        const std::size_t nClose = strLine.find(']', nOpen);
        if (nClose == std::string_view::npos)
            return std::nullopt;
        return base::Trim(strLine.substr(nOpen + 1, nClose - nOpen - 1));
    }

    std::string_view m_strRest;
    int m_nNumber = 0;
};

// The lines of each section of a sectioned file, in file order; views into the text.
using SectionLines = std::map<std::string, std::vector<std::string_view>, std::less<>>;

// Cuts a text into sections. What stands before the first one is dropped; a section that comes
// again goes on.
SectionLines SectionsOf(std::string_view strText);

}  // namespace NSTN_util
