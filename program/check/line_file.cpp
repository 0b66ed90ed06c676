#include "check/line_file.h"

#include "view/nearest.h"
#include "view/output.h"

namespace host {

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
    const std::string strNearest = NearestOf(strKey, vecKnown);
    return strNearest.empty() ? "" : "perhaps " + strNearest;
}

}  // namespace host
