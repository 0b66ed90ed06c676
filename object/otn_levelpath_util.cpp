#include "tovelkarin/tnotnlevelpathutil.h"

#include "object/otn_level_table.h"
#include "trace/number_text.h"
#include "trace/trace_line.h"
#include "util/read_number.h"

#include <algorithm>

namespace NSTN_util {

namespace {

constexpr const char* FILE_WORD = "otn_levelpath_util";
constexpr int LINE_NAME = 84;  // message text, like those below
constexpr int LINE_PIECE = 131;
constexpr int LINE_CODE = 160;
constexpr int LINE_OSUFLEX = 189;

void ReportText(std::string_view strText, int nLine) {
    Report("error string string=%s,%s,%d", std::string(strText), FILE_WORD, nLine);
}

int NumberOf(std::string_view strText) {
    return static_cast<int>(ReadLong(strText, 10).nValue);
}

// Calls take with each piece between "-"; with none for "".
template <class Take>
void EachPiece(std::string_view strPath, Take take) {
    for (std::size_t nStart = 0; !strPath.empty() && nStart <= strPath.size();) {
        const std::size_t nEnd = std::min(strPath.find('-', nStart), strPath.size());
        take(strPath.substr(nStart, nEnd - nStart));
        nStart = nEnd + 1;
    }
}

}  // namespace

void TNOTNLevelPathUtil::SplitPathStrBySeperator(const std::string& strPath,
                                                 std::vector<std::string>& vecPart) {
    EachPiece(strPath, [&](std::string_view strPiece) { vecPart.emplace_back(strPiece); });
}

void TNOTNLevelPathUtil::GetLevelAndPathIDByStr(const std::string& strPath,
                                                std::list<OTNLevelAndPathID>& listLevel) {
    EachPiece(strPath, [&](std::string_view strPiece) {
        const std::size_t nColon = strPiece.find(':');
        if (nColon == std::string_view::npos)
            return ReportText(strPath, LINE_PIECE);
        const std::string_view strName = strPiece.substr(0, nColon);
        const std::uint32_t nCode = CodeOfLevel(strName);
        if (nCode == 0)
            ReportText(strName, LINE_NAME);
        listLevel.push_back({nCode, NumberOf(strPiece.substr(nColon + 1))});
    });
}

std::string TNOTNLevelPathUtil::GetLevelPathStrByLevelList(
    const std::list<OTNLevelAndPathID>& listLevel) {
    std::string strPath;
    for (const OTNLevelAndPathID& level : listLevel) {
        const std::string_view strName = NameOfLevel(level.level);
        if (strName.empty())
            Report("error int string=%d,%s,%d", level.level, FILE_WORD, LINE_CODE);
        char szNumber[INTEGER_ROOM];
        const char* const pEnd = WriteInteger(szNumber, level.pathId);
        if (!strPath.empty())
            strPath += '-';
        strPath.append(strName).append(":").append(szNumber,
                                                   static_cast<std::size_t>(pEnd - szNumber));
    }
    return strPath;
}

bool TNOTNLevelPathUtil::GetPathIDForOSUFlexByPathStr(const std::string& strPath, int& nPathId) {
    if (strPath.find("OSUFlex") == std::string::npos)
        return false;
    const std::size_t nColon = strPath.rfind(':');
    if (nColon == std::string::npos) {
        ReportText(strPath, LINE_OSUFLEX);
        return false;
    }
    nPathId = NumberOf(std::string_view(strPath).substr(nColon + 1));
    return true;
}

int TNOTNLevelPathUtil::GetRealLevelVelocity(unsigned short n, int nRate) {
    // Multiplied without a sign: what is too large wraps around.
    return n == 0 ? nRate : static_cast<int>(n * static_cast<unsigned>(nRate));
}

}  // namespace NSTN_util
