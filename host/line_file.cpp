#include "line_file.h"

#include "output.h"

#include "tovelkarin/nml_filemgr.h"
#include "tovelkarin/stringutil.h"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace host {

namespace {

constexpr const char* BYTE_ORDER_MARK = "\xEF\xBB\xBF";

// How many characters must be put in, taken out or changed to make one text the other.
std::size_t Distance(const std::string& strA, const std::string& strB) {
    std::vector<std::size_t> vecRow(strB.size() + 1);
    std::iota(vecRow.begin(), vecRow.end(), 0U);
    for (std::size_t i = 0; i < strA.size(); ++i) {
        std::size_t nDiagonal = vecRow[0];
        vecRow[0] = i + 1;
        for (std::size_t n = 0; n < strB.size(); ++n) {
            const std::size_t nChange = nDiagonal + (strA[i] == strB[n] ? 0 : 1);
            nDiagonal = vecRow[n + 1];
            vecRow[n + 1] = std::min({nChange, vecRow[n] + 1, vecRow[n + 1] + 1});
        }
    }
    return vecRow.back();
}

}  // namespace

Finding FindingAt(ESeverity eSeverity, Place place, std::size_t nOffset, const std::string& strWhat,
                  const std::string& strExpected) {
    place.nColumn += static_cast<int>(nOffset);
    return {place, eSeverity, strWhat, strExpected};
}

LineFile::LineFile(const std::string& strFile) {
    std::string strText;
    if (const int nError = NSTN_util::ReadStrFromFile(strFile, strText); nError != 0)
        throw CommandError(SYSTEM_FAILED, strFile + ": " + std::strerror(nError));
    std::size_t nCarriageReturns = 0;
    std::size_t nPlainEnds = 0;
    for (std::size_t nStart = 0; nStart < strText.size();) {
        const std::size_t nEnd = std::min(strText.find('\n', nStart), strText.size());
        const std::string strLine = strText.substr(nStart, nEnd - nStart);
        nStart = nEnd + 1;
        Line line;
        line.nLength = strLine.size();
        const std::size_t nFirst = strLine.find_first_not_of(" \t\r");
        line.place = {strFile, static_cast<int>(vecLine.size()) + 1,
                      nFirst == std::string::npos ? 1 : static_cast<int>(nFirst) + 1,
                      NSTN_util::Trim(strLine)};
        if (nEnd != strText.size())
            ++(!strLine.empty() && strLine.back() == '\r' ? nCarriageReturns : nPlainEnds);
        if (strLine.find('\0') != std::string::npos)
            vecFinding.push_back(FindingAt(ESeverity::ERROR, line.place, 0,
                                           "zero byte: readers of items drop what follows it",
                                           "text"));
        vecLine.push_back(line);
    }
    if (strText.compare(0, 3, BYTE_ORDER_MARK) == 0)
        vecFinding.push_back(FindingAt(ESeverity::ERROR, vecLine[0].place, 0,
                                       "byte-order mark: it is read as part of the first line",
                                       "plain UTF-8 without one"));
    if (nCarriageReturns != 0 && nPlainEnds != 0)
        vecFinding.push_back(FindingAt(ESeverity::WARNING, vecLine[0].place, 0,
                                       Counted(nCarriageReturns, "line") +
                                           " with a carriage return at the end, " +
                                           std::to_string(nPlainEnds) + " without",
                                       "one kind of line end"));
}

std::string LineFile::Nearest(const std::string& strKey, const std::vector<std::string>& vecKnown) {
    std::string strNearest;
    std::size_t nLeast = strKey.size() / 3 + 2;
    for (const std::string& strKnown : vecKnown) {
        const std::size_t nDistance =
            Distance(NSTN_util::StrToLower(strKey), NSTN_util::StrToLower(strKnown));
        if (nDistance < nLeast) {
            nLeast = nDistance;
            strNearest = strKnown;
        }
    }
    return strNearest;
}

}  // namespace host
