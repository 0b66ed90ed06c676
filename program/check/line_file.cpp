#include "check/line_file.h"

#include "view/output.h"

#include "tovelkarin/stringutil.h"

#include <algorithm>
#include <numeric>

namespace host {

namespace {

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

LineFile::LineFile(const std::string& strFile)
    : strText(ReadText(strFile)), vecLine(CutLines(strFile, strText)) {
    std::size_t nCarriageReturns = 0;
    std::size_t nPlainEnds = 0;
    for (const TextLine& line : vecLine) {
        if (line.bLineFeed)
            ++(!line.strRaw.empty() && line.strRaw.back() == '\r' ? nCarriageReturns : nPlainEnds);
        if (line.strRaw.find('\0') != std::string::npos)
            vecFinding.push_back(FindingAt(ESeverity::ERROR, line.place, 0,
                                           "zero byte: readers of items drop what follows it",
                                           "text"));
    }
    if (!vecLine.empty() && vecLine[0].strRaw.compare(0, 3, BYTE_ORDER_MARK) == 0)
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

std::string LineFile::Perhaps(const std::string& strKey, const std::vector<std::string>& vecKnown) {
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
    return strNearest.empty() ? "" : "perhaps " + strNearest;
}

}  // namespace host
