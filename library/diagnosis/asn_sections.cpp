#include "diagnosis/asn_sections.h"

#include "base/number_text.h"
#include "trace/trace_line.h"

#include "zemb/asn.h"

#include <algorithm>
#include <cstring>
#include <string_view>

// Writes the text of a message in sections of at most 4,000 characters, cut at line ends where
// there are any. A text that is too long first loses indentation from its front, only as much as is
// needed unless all shall go, in one pass that moves what stays. The line ends are searched forward
// and never twice, so the cost is the characters of the text.
namespace NSTN_util {

namespace {

constexpr std::size_t SECTION = 4000;  // characters
constexpr std::size_t BUDGET = 10 * SECTION;
constexpr unsigned SECTIONS_MOST = 500;
constexpr std::size_t NPOS = std::string_view::npos;

// How long the piece of indentation at the beginning of a text is; 0: there is none.
std::size_t IndentAt(const char* p, std::size_t nRest) {
    if (nRest >= 4 && std::memcmp(p, "    ", 4) == 0)
        return 4;
    return nRest >= 3 && std::memcmp(p, " --", 3) == 0 ? 3 : 0;
}

// The first line feed at or behind nAt, whose search never goes over the same text twice.
class LineFeeds {
public:
    explicit LineFeeds(std::string_view strText) : m_strText(strText) {}

    std::size_t From(std::size_t nAt) {
        if (m_nFound != NPOS && m_nFound < nAt)
            m_nFound = m_strText.find('\n', nAt);
        return m_nFound;
    }

private:
    std::string_view m_strText;
    std::size_t m_nFound = 0;  // before the first search: behind nothing
};

// The line that "%s" makes of a text of this size, without the formatter's copies of it.
void Trace(const std::string& strLine) {
    TNTrace2LogFile(MODULE_NAME, LEVEL_ORDINARY, strLine);
}

void PrintSections(const std::string& strText, unsigned nSections) {
    const std::size_t nSize = strText.size();
    LineFeeds lineFeeds(strText);
    std::size_t nStart = 0;
    std::size_t nEnd = std::min(nSize, SECTION) - 1;
    for (unsigned nCount = 1; nStart < nSize; ++nCount) {
        std::string strLine;
        strLine.reserve(SECTION + 64);
        if (nCount == 1)
            strLine.append("Total Size: ").append(base::IntegerText(nSize)).append(" ");
        strLine.append(" >>> Section(").append(base::IntegerText(nStart)).append(" ~ ");
        strLine.append(base::IntegerText(nEnd)).append(")\n");
        if (nSections != 0 && nCount > nSections)
            return Trace(strLine.append(" ...More Asn Not Print..."));
        // Deliberate: the text says 1000.
        if (nCount > SECTIONS_MOST)
            return Trace(strLine.append(" pack count more than 1000 ...More Asn Not Print..."));
        const std::size_t nLineFeed = lineFeeds.From(nEnd);
        std::size_t nCut = nLineFeed == NPOS ? nEnd : nLineFeed;
        // Deliberate: where the cap applies the character at the cut is in no section.
        if (nCut - nStart + 1 > SECTION)
            nCut = nStart + SECTION;
        Trace(strLine.append(strText, nStart, std::min(nCut - nStart + 1, SECTION)));
        nStart = nCut + 1;
        nEnd = std::min(nSize - 1, nCut + SECTION);
    }
}

}  // namespace

std::string CompactAsnText(std::string strText, std::size_t nBudget, bool bAll) {
    std::size_t nLeft = strText.size();  // characters when nothing more is taken out
    if (!bAll && nLeft <= nBudget)
        return strText;
    char* const pText = &strText[0];
    std::size_t nTo = 0;
    std::size_t nFrom = 0;
    while (nFrom < strText.size() && (bAll || nLeft > nBudget)) {
        const std::size_t nIndent = IndentAt(pText + nFrom, strText.size() - nFrom);
        if (nIndent != 0) {
            nFrom += nIndent;
            nLeft -= nIndent;
            continue;
        }
        // Up to the next blank nothing can be taken out.
        const std::size_t nRest = strText.size() - nFrom - 1;
        // NOLINTNEXTLINE(bugprone-not-null-terminated-result): a piece of a text, not a C string
        const void* const pFound = std::memchr(pText + nFrom + 1, ' ', nRest);
        const char* const pBlank = static_cast<const char*>(pFound);
        const std::size_t nNext =
            pBlank == nullptr ? strText.size() : static_cast<std::size_t>(pBlank - pText);
        std::memmove(pText + nTo, pText + nFrom, nNext - nFrom);
        nTo += nNext - nFrom;
        nFrom = nNext;
    }
    strText.erase(nTo, nFrom - nTo);
    return strText;
}

bool AdvAsnTraceFix(const AsnType& value, unsigned nSections, int nOption) noexcept {
    std::size_t nSize = 0;
    try {
        std::string strText = NSTE_util::toString(value);
        nSize = strText.size();
        // Deliberate: "szie" is part of the line.
        Report("AdvAsnTraceFix asn szie:%d", nSize);
        strText = CompactAsnText(std::move(strText), BUDGET, nOption != 0);
        if (!strText.empty())
            PrintSections(strText, nSections);
        return true;
    } catch (...) {
        Report("Exception: AdvAsnTrace error! Asn size:%d", nSize);
        return false;
    }
}

}  // namespace NSTN_util
