#pragma once

#include "tests/naive/byte_source.h"

#include "tovelkarin/tnfdnmgr.h"
#include "tovelkarin/tnotnlevelpathutil.h"
#include "zemb/control.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <map>
#include <string>
#include <utility>
#include <vector>

// FDNs and OTN paths, taken apart piece by piece.
namespace naive {

using Pairs = std::vector<std::pair<std::string, std::string>>;

inline bool ReadFdn(const std::string& strText, Pairs& vecPair) {
    std::vector<std::string> vecPiece = Pieces(strText, ',');
    if (vecPiece.back().empty())
        vecPiece.pop_back();
    for (const std::string& strPiece : vecPiece) {
        const std::size_t nEqual = strPiece.find('=');
        if (nEqual == std::string::npos)
            return false;
        std::string strKey = strPiece.substr(0, nEqual);
        while (!strKey.empty() && (strKey.front() == ' ' || strKey.front() == '\t'))
            strKey.erase(0, 1);
        while (!strKey.empty() && (strKey.back() == ' ' || strKey.back() == '\t'))
            strKey.pop_back();
        if (strKey.empty())
            return false;
        vecPair.emplace_back(strKey, strPiece.substr(nEqual + 1));
    }
    return !vecPair.empty();
}

inline std::string ValueOf(const Pairs& vecPair, const std::string& strKey) {
    for (const auto& [strOf, strValue] : vecPair)
        if (strOf == strKey)
            return strValue;
    return "";
}

// The number that a text begins with, false without one.
inline bool Leading(const std::string& strText, unsigned long& nValue) {
    const std::size_t nDigit = strText[0] == '-' ? 1 : 0;
    if (strText.size() <= nDigit || strText[nDigit] < '0' || strText[nDigit] > '9')
        return false;
    nValue = std::strtoul(strText.c_str(), nullptr, 10);
    return true;
}

inline unsigned NumberOf(const Pairs& vecPair, const std::string& strKey) {
    unsigned long nValue = 0;
    Leading(ValueOf(vecPair, strKey), nValue);
    return static_cast<unsigned>(nValue);
}

inline void CheckFdn(const std::string& strFdn) {
    NSTN_util::TNFdnMgr& mgr = *NSTN_util::TNFdnMgr::Instance();
    NSTN_util::TNPortKey key{1, 2, 3};
    Pairs vecPair;
    const bool bGood = ReadFdn(strFdn, vecPair);
    std::string strPorts = ValueOf(vecPair, "LP");
    strPorts = strPorts.empty() ? ValueOf(vecPair, "PP") : strPorts;
    const bool bPorts = bGood && !strPorts.empty();
    Expect((mgr.ParsePortKeyFromFDN(strFdn, key) == 0) == bPorts, "result of " + strFdn);
    if (!bGood)
        return Expect(key.neId == 1 && key.boardPos == 2 && key.portPos == 3, "untouched");
    Expect(key.neId == NumberOf(vecPair, "NE"), "NE of " + strFdn);
    Expect(key.boardPos == (NumberOf(vecPair, "SS") << 24 | NumberOf(vecPair, "FR") << 16 |
                            NumberOf(vecPair, "S")),
           "board of " + strFdn);
    if (bPorts) {
        unsigned long arrPort[3] = {};
        std::vector<std::string> vecPort = Pieces(strPorts, '|');
        for (std::size_t i = 0; i < 3 && i < vecPort.size(); ++i)
            Leading(vecPort[i], arrPort[i]);
        Expect(key.portPos == static_cast<std::uint32_t>(arrPort[0] << 16) + (arrPort[2] & 0xFFFF),
               "port of " + strFdn);
    }
    FrameUtil::StrUIDParser fdn;
    Expect(fdn.Parse(strFdn.c_str()), "parsed alike");
    unsigned long nPath = 77;
    unsigned long nSlot = 88;
    mgr.GetPathIDorTimeSlot(fdn, nPath, nSlot);
    unsigned long nPathNaive = 77;
    unsigned long nSlotNaive = 88;
    for (const char* const szKey : {"VC4", "VC3", "VC12", "OTS", "OMS", "OCH"})
        if (Leading(ValueOf(vecPair, szKey), nPathNaive)) {
            if (std::string(szKey) == "VC4" && !Leading(ValueOf(vecPair, "VC3"), nSlotNaive))
                Leading(ValueOf(vecPair, "VC12"), nSlotNaive);
            break;
        }
    Expect(nPath == nPathNaive && nSlot == nSlotNaive, "path of " + strFdn);
}

inline void CheckOtnPath(const std::string& strPath) {
    static const std::map<std::string, unsigned> CODES = {
        {"OMS", 0x3003},    {"OCH", 0x3004},   {"OCh", 0x3004},     {"OTU25", 0x3012},
        {"OTUX5", 0x3013},  {"OTUCn", 0x3014}, {"OTU4", 0x3015},    {"OTU3", 0x3016},
        {"OTU2", 0x3017},   {"OTU1", 0x3019},  {"ODU25", 0x3022},   {"ODUX5", 0x3023},
        {"ODUCn", 0x3024},  {"ODU4", 0x3025},  {"ODU3", 0x3026},    {"ODU2", 0x3027},
        {"ODU1", 0x3029},   {"ODU0", 0x302C},  {"ODUflex", 0x3030}, {"TDUflex", 0x3032},
        {"OSUFlex", 0x3034}};
    std::list<NSTN_util::OTNLevelAndPathID> listLevel;
    NSTN_util::TNOTNLevelPathUtil::GetLevelAndPathIDByStr(strPath, listLevel);
    auto it = listLevel.begin();
    std::string strWritten;
    for (const std::string& strPiece : Pieces(strPath, '-')) {
        const std::size_t nColon = strPiece.find(':');
        if (nColon == std::string::npos)
            continue;
        const auto itCode = CODES.find(strPiece.substr(0, nColon));
        const unsigned nCode = itCode == CODES.end() ? 0 : itCode->second;
        const int nPathId =
            static_cast<int>(std::strtol(strPiece.substr(nColon + 1).c_str(), nullptr, 10));
        Expect(it != listLevel.end() && it->level == nCode && it->pathId == nPathId,
               "level " + strPiece + " of " + strPath);
        ++it;
        const std::string strName = nCode == 0 ? "" : nCode == 0x3004 ? "OCh" : itCode->first;
        strWritten += (strWritten.empty() ? "" : "-") + strName + ":" + std::to_string(nPathId);
    }
    Expect(it == listLevel.end(), "no more levels in " + strPath);
    Expect(NSTN_util::TNOTNLevelPathUtil::GetLevelPathStrByLevelList(listLevel) == strWritten,
           "text of " + strPath);
}

// The ID of a path, 0 for none, by the positions of its slots.
inline std::uint32_t LocationOf(const std::list<NSTN_util::OTNLevelAndPathID>& listLevel, int n) {
    static const unsigned PACKED[] = {0x3030, 0x302C, 0x3029, 0x3032, 0x3027,
                                      0x3022, 0x3026, 0x3023, 0x3025, 0x3024};
    const long RATES[] = {1, 1, 2, 4, 8, 20, 32, 40, 80, n == 0 ? 80 : 80L * n};
    std::uint32_t nFlags = 0;
    long nFirst = 0;  // of the slots that the level takes, and the first one behind them
    long nEnd = 1L << 40;
    for (const NSTN_util::OTNLevelAndPathID& level : listLevel) {
        const auto nIndex = static_cast<std::size_t>(
            std::find(std::begin(PACKED), std::end(PACKED), level.level) - PACKED);
        if (nIndex == std::size(PACKED) || (nFlags & ((2U << (16 + nIndex)) - 1)) != 0 ||
            level.pathId < 1)
            return 0;
        nFlags |= 1U << (16 + nIndex);
        nFirst += (level.pathId - 1) * RATES[nIndex];
        if (nFirst + RATES[nIndex] > nEnd)
            return 0;
        nEnd = nFirst + RATES[nIndex];
    }
    return nFirst > 0xFFFF || nFlags == 0 ? 0 : nFlags | static_cast<std::uint32_t>(nFirst);
}

// A location ID gives its own path or none, and a path its own ID or none.
inline void CheckLocation(std::uint32_t nLocationID, unsigned short n) {
    using Util = NSTN_util::TNOTNLevelPathUtil;
    std::list<NSTN_util::OTNLevelAndPathID> listLevel;
    const bool bPath = Util::GetLevelPathByLocationID(nLocationID, listLevel, n);
    Expect(bPath ? Util::GetOtnLP2LocationIDEX(listLevel, n) == nLocationID : listLevel.empty(),
           "path of location " + std::to_string(nLocationID));
    Expect(Util::GetLevelPathStrByLocation(nLocationID, n) ==
               Util::GetLevelPathStrByLevelList(listLevel),
           "text of location " + std::to_string(nLocationID));
}

inline void CheckPathLocation(const std::string& strPath) {
    using Util = NSTN_util::TNOTNLevelPathUtil;
    const std::uint32_t nLocationID = Util::GetLocationIDByPathStr(strPath);
    std::list<NSTN_util::OTNLevelAndPathID> listLevel;
    Util::GetLevelAndPathIDByStr(strPath, listLevel);
    const std::vector<std::string> vecPiece = Pieces(strPath, '-');
    const bool bWhole = std::all_of(
        vecPiece.begin(), vecPiece.end(),
        [](const std::string& strPiece) { return strPiece.find(':') != std::string::npos; });
    Expect(nLocationID == (bWhole ? LocationOf(listLevel, 0) : 0), "location of " + strPath);
    Expect(Util::GetOtnLP2LocationIDEX(listLevel, 3) == LocationOf(listLevel, 3),
           "location with n = 3 of " + strPath);
    if (nLocationID == 0)
        return;
    Expect(
        Util::GetLevelPathStrByLocation(nLocationID) == Util::GetLevelPathStrByLevelList(listLevel),
        "path back from " + strPath);
}

inline void CheckObjectText(const std::uint8_t* pData, std::size_t nSize) {
    static const char* const KEYS[] = {"NE", "FR",  "S",   "SS",   "LP",
                                       "PP", "VC4", "VC3", "VC12", "OCH"};
    static const char* const LEVELS[] = {"OMS", "OCh", "ODUCn", "ODU4", "ODU3", "ODU2", "ODU0"};
    const zemb::ScopedDebugSink silence([](const zemb::DebugLine&) {});
    ByteSource source(pData, nSize);
    std::string strFdn;
    for (int nPairs = source.Below(8); nPairs > 0; --nPairs) {
        const int nKind = source.Below(12);
        strFdn += nKind < 10 ? KEYS[nKind] : source.TextOf("N S=", 3).c_str();
        strFdn += source.Below(9) == 0 ? "" : "=";
        strFdn += source.TextOf("0123456789||||- x", 9).c_str();
        strFdn += source.Below(9) == 0 ? "" : ",";
    }
    CheckFdn(strFdn.c_str());
    std::string strPath;
    for (int nLevels = source.Below(6); nLevels > 0; --nLevels) {
        const int nKind = source.Below(9);
        strPath += nKind < 7 ? LEVELS[nKind] : source.TextOf("ODU4xh", 5).c_str();
        strPath += source.Below(7) == 0 ? "" : ":";
        strPath += source.TextOf("0123456789 :-", 4).c_str();
        strPath += nLevels == 1 ? "" : "-";
    }
    CheckOtnPath(strPath);
    CheckPathLocation(strPath);
    const auto nFlags = static_cast<std::uint32_t>(source.Byte() << 8 | source.Byte());
    const auto nSlot = static_cast<std::uint32_t>(source.Byte() << 8 | source.Byte());
    CheckLocation(nFlags << 16 | nSlot, static_cast<unsigned short>(source.Below(5)));
}

}  // namespace naive
