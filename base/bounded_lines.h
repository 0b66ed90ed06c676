#pragma once

#include <algorithm>
#include <cstring>
#include <string_view>

namespace base {

// Cuts a text into lines as a reader with a fixed line buffer takes them: a line of over nMaxLine
// characters gives its first nMaxLine and ends the reading; a line ends at its first zero byte, the
// rest of it is dropped. One pass over the text.
class BoundedLines {
public:
    BoundedLines(std::string_view strText, std::size_t nMaxLine)
        : m_strRest(strText), m_nMaxLine(nMaxLine) {}

    // False when no line is left.
    bool Next(std::string_view& strLine) {
        if (m_strRest.empty())
            return false;
        const std::size_t nEnd = m_strRest.substr(0, m_nMaxLine + 1).find('\n');
        const bool bTooLong = nEnd == std::string_view::npos && m_strRest.size() > m_nMaxLine;
        strLine = m_strRest.substr(0, std::min(nEnd, m_nMaxLine));
        strLine = strLine.substr(0, strLine.find('\0'));
        if (bTooLong || nEnd == std::string_view::npos)
            m_strRest = {};
        else
            m_strRest.remove_prefix(nEnd + 1);
        return true;
    }

private:
    std::string_view m_strRest;
    const std::size_t m_nMaxLine;
};

}  // namespace base
