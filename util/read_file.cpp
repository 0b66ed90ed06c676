#include "util/read_file.h"

#include <fstream>
#include <iostream>
#include <vector>

namespace NSTN_util {

namespace {

constexpr std::size_t BLOCK = std::size_t{64} * 1024;

// Finds lines that are too long in a text that grows.
class LineWatch {
public:
    explicit LineWatch(std::size_t nMaxLine) : m_nMaxLine(nMaxLine) {}

    bool IsTooLong(const std::string& strText) {
        for (std::size_t nEnd; (nEnd = strText.find('\n', m_nSeen)) != std::string::npos;) {
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

}  // namespace

EReadFile ReadFile(const std::string& strFile, std::size_t nMaxLine, std::string& strText) {
    strText.clear();
    std::ifstream file(strFile, std::ios::binary);
    if (!file.is_open())
        return EReadFile::NOT_OPENED;
    std::vector<char> vecBlock(BLOCK);
    LineWatch watch(nMaxLine);
    do {
        file.read(vecBlock.data(), static_cast<std::streamsize>(vecBlock.size()));
        strText.append(vecBlock.data(), static_cast<std::size_t>(file.gcount()));
    } while (file && !watch.IsTooLong(strText));
    if (!file.bad())
        return EReadFile::WHOLE;
    // A folder opens, and refuses the first read.
    return strText.empty() ? EReadFile::NOT_OPENED : EReadFile::BROKEN_OFF;
}

}  // namespace NSTN_util
