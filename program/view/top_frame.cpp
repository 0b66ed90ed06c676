#include "view/top_frame.h"

#include "base/escape.h"
#include "view/columns.h"

#include <algorithm>
#include <sstream>

// Lays a picture out on a screen of any size. It knows nothing of terminals: what draws it only
// copies lines, and a test reads them as they are.
namespace host {

namespace {

using Texts = std::vector<std::string>;

// How many rows each section gets of nLines.
std::vector<std::size_t> Share(const std::vector<TopSection>& vecSection, std::size_t nLines) {
    std::vector<std::size_t> vecShare(vecSection.size(), 0);
    for (bool bMore = true; bMore;) {
        bMore = false;
        for (std::size_t i = 0; i < vecSection.size() && nLines > 0; ++i)
            if (vecShare[i] < vecSection[i].vecRow.size()) {
                ++vecShare[i];
                --nLines;
                bMore = true;
            }
    }
    return vecShare;
}

// The heading and nCount rows from nFirst on, as columns.
Texts LinesOf(const TopSection& section, std::size_t nFirst, std::size_t nCount) {
    std::vector<Texts> vecRow(1);
    for (const Column& column : section.vecColumn)
        if (column.heading)
            vecRow[0].push_back(*column.heading);
    for (std::size_t nRow = nFirst; nRow < nFirst + nCount; ++nRow) {
        vecRow.emplace_back();
        for (std::size_t i = 0; i < section.vecColumn.size(); ++i)
            if (section.vecColumn[i].heading)
                vecRow.back().push_back(TextOf(section.vecRow[nRow].vecCell[i]));
    }
    std::istringstream table(Table(vecRow));
    Texts vecLine;
    for (std::string strLine; std::getline(table, strLine);)
        vecLine.push_back(strLine);
    return vecLine;
}

}  // namespace

std::string Fitted(const std::string& strText, std::size_t nWidth) {
    std::string strFitted;
    base::AppendEscaped(strText, "\\", strFitted);  // again and again gives the same
    return Cut(strFitted, nWidth, "~");
}

std::vector<TopLine> TopFrame(const TopPicture& picture, const TopView& view) {
    std::vector<TopLine> vecLine = {{ETopLine::PLAIN, Fitted(picture.strTotals, view.nWidth)}};
    const std::size_t nFixed = 1 + picture.vecSection.size();
    const std::vector<std::size_t> vecShare =
        Share(picture.vecSection, view.nHeight > nFixed ? view.nHeight - nFixed : 0);
    for (std::size_t i = 0; i < picture.vecSection.size(); ++i) {
        const bool bHere = i == view.nSection;
        const std::size_t nFirst =
            bHere && view.nRow >= vecShare[i] && vecShare[i] != 0 ? view.nRow + 1 - vecShare[i] : 0;
        ETopLine eKind = ETopLine::HEADING;
        std::size_t nRow = nFirst;
        for (const std::string& strLine : LinesOf(picture.vecSection[i], nFirst, vecShare[i])) {
            vecLine.push_back({eKind, Fitted(strLine, view.nWidth)});
            eKind = bHere && nRow++ == view.nRow ? ETopLine::CHOSEN : ETopLine::PLAIN;
        }
    }
    if (vecLine.size() > view.nHeight)
        vecLine.resize(view.nHeight);
    return vecLine;
}

}  // namespace host
