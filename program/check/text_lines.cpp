#include "check/text_lines.h"

#include "view/output.h"

#include "tovelkarin/nml_filemgr.h"
#include "tovelkarin/stringutil.h"

#include <algorithm>
#include <filesystem>

namespace host {

Place PlaceOf(const std::string& strFile, int nLine, const std::string& strRaw) {
    Place place{strFile, nLine, 1, NSTN_util::Trim(strRaw)};
    if (!place.strText.empty())
        place.nColumn += static_cast<int>(strRaw.find(place.strText));
    return place;
}

std::vector<TextLine> CutLines(const std::string& strFile, const std::string& strText) {
    std::vector<TextLine> vecLine;
    for (std::size_t nStart = 0; nStart < strText.size();) {
        const std::size_t nEnd = std::min(strText.find('\n', nStart), strText.size());
        TextLine line;
        line.strRaw = strText.substr(nStart, nEnd - nStart);
        line.bLineFeed = nEnd != strText.size();
        line.place = PlaceOf(strFile, static_cast<int>(vecLine.size()) + 1, line.strRaw);
        vecLine.push_back(std::move(line));
        nStart = nEnd + 1;
    }
    return vecLine;
}

std::string ReadText(const std::string& strFile) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(strFile, error);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
        FailAsNoPlainFile(strFile);
    std::string strText;
    if (const int nError = NSTN_util::ReadStrFromFile(strFile, strText); nError != 0)
        FailWith(nError, strFile);
    return strText;
}

std::vector<TextLine> ReadLines(const std::string& strFile) {
    return CutLines(strFile, ReadText(strFile));
}

}  // namespace host
