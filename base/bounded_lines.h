#pragma once

#include <algorithm>
#include <cstddef>
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
        ++m_nNumber;
        m_bTooLong = nEnd == std::string_view::npos && m_strRest.size() > m_nMaxLine;
        strLine = m_strRest.substr(0, std::min(nEnd, m_nMaxLine));
        const std::size_t nZero = strLine.find('\0');
        m_bZeroByte = nZero != std::string_view::npos;
        strLine = strLine.substr(0, nZero);
        if (m_bTooLong || nEnd == std::string_view::npos)
            m_strRest = {};
        else
            m_strRest.remove_prefix(nEnd + 1);
        return true;
    }

    // Of the last line: its number, from 1 on, and whether it was cut.
    int Number() const { return m_nNumber; }
    bool IsTooLong() const { return m_bTooLong; }
    bool HasZeroByte() const { return m_bZeroByte; }

private:
    std::string_view m_strRest;
    const std::size_t m_nMaxLine;
    int m_nNumber = 0;
    bool m_bTooLong = false;
    bool m_bZeroByte = false;
};

// Finds lines of over nMaxLine characters in a text that grows, so that what follows such a line,
// perhaps without an end, is never read.
class LongLineWatch {
public:
    explicit LongLineWatch(std::size_t nMaxLine) : m_nMaxLine(nMaxLine) {}

    // strText begins with what it was at the last call, all of which was looked at then.
    bool IsTooLong(std::string_view strText) {
        for (std::size_t nEnd; (nEnd = strText.find('\n', m_nSeen)) != std::string_view::npos;) {
            if (nEnd - m_nLineStart > m_nMaxLine)
                return true;
            m_nSeen = m_nLineStart = nEnd + 1;
        }
        m_nSeen = strText.size();
        return strText.size() - m_nLineStart > m_nMaxLine;
    }

private:
    const std::size_t m_nMaxLine;
    std::size_t m_nLineStart = 0;
    std::size_t m_nSeen = 0;
};

}  // namespace base
