#include "sub_commands.h"
#include "view/record.h"
#include "view/rows.h"
#include "view/texts.h"

#include "tovelkarin/stringutil.h"
#include "tovelkarin/tnfbtype.h"
#include "tovelkarin/tnfdnmgr.h"
#include "tovelkarin/tnotnlevelpathutil.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>

// Function blocks, FDNs and OTN paths taken apart. The slots that a path takes are drawn from what
// the library answers, not from a table of its own, so the picture cannot disagree with the
// library.
namespace host {

namespace {

constexpr int TYPES_END = 1000;

struct FbType {
    int nFbType = 0;
    std::string strLevel;
    std::string strLowLevel;
};

bool Convert(int nType, FbType& type) {
    return NSTN_util::ConvertTTPfb2FBType(nType, type.nFbType) &&
           NSTN_util::ConvertTTPfb2FBTypeStr(nType, type.strLevel, type.strLowLevel);
}

void ShowFbType(const Session& session, const std::string& strText) {
    int nType = 0;
    if (!NSTN_util::StrToInt(strText, nType, 10))
        throw CommandError(WRONG_USAGE, "'" + strText + "' is no number", EName::COMMAND);
    FbType type;
    if (!Convert(nType, type))
        throw CommandError(
            ANSWER_NO, "no function block has type " + strText + "; 'fbtype --table' lists them",
            EName::COMMAND);
    session.out.Put(std::to_string(nType) + " belongs to " + std::to_string(type.nFbType) + ", " +
                        type.strLevel +
                        (type.strLowLevel.empty() ? "" : " over " + type.strLowLevel),
                    RecordOf({{"type", nType},
                              {"fbtype", type.nFbType},
                              {"level", type.strLevel},
                              {"low_level", type.strLowLevel}}));
}

int ShowFbTypes(const Session& session) {
    const zemb::ScopedNoDebugChannel silent;  // the types between are unknown, one line each
    std::map<int, std::pair<FbType, std::string>> mapType;
    for (int nType = 0; nType < TYPES_END; ++nType) {
        FbType type;
        if (!Convert(nType, type))
            continue;
        auto& [kept, strDetails] = mapType[type.nFbType];
        kept = type;
        AppendItem(strDetails, std::to_string(nType), " ");
    }
    Rows rows(session.out, {{"fbtype", "TYPE"},
                            {"level", "LEVEL"},
                            {"low_level", "LOWER"},
                            {"types", "DETAILED TYPES"}});
    for (const auto& [nFbType, entry] : mapType)
        rows.Add({nFbType, entry.first.strLevel, entry.first.strLowLevel, entry.second});
    rows.Put();
    return DONE;
}

void ShowFdn(const Session& session, const std::string& strText) {
    FrameUtil::StrUIDParser fdn;
    if (!fdn.Parse(strText.c_str()))
        throw CommandError(
            ANSWER_NO, "'" + strText + "' is no FDN; expected such as NE=5,FR=0,S=3,LP=3|7|300,");
    Json::Value record;
    std::vector<std::vector<std::string>> vecRow;
    for (std::size_t i = 0; i < fdn.Size(); ++i) {
        Json::Value pair;
        pair["key"] = std::string(fdn.Key(i));
        pair["value"] = std::string(fdn.Value(i));
        record["pairs"].append(pair);
        vecRow.push_back({"  " + pair["key"].asString(), pair["value"].asString()});
    }
    NSTN_util::TNFdnMgr& mgr = *NSTN_util::TNFdnMgr::Instance();
    std::string strAnswer = strText + "\n" + Table(vecRow);
    std::string strPorts;
    NSTN_util::TNPortKey key;
    const bool bPorts = (fdn.GetValue(strPorts, "LP", 0) && !strPorts.empty()) ||
                        (fdn.GetValue(strPorts, "PP", 0) && !strPorts.empty());
    if (bPorts && mgr.ParsePortKeyFromFDN(strText, key) == 0) {
        if (key.neId == 0)
            WarnOfEveryNe("'" + strText + "' names no NE");
        record["ne"] = key.neId;
        record["board"] = Hex(key.boardPos);
        record["port"] = Hex(key.portPos);
        strAnswer += "\n  port key: NE " + std::to_string(key.neId) + ", board " +
                     Hex(key.boardPos) + " (subslot " + std::to_string(key.boardPos >> 24) +
                     ", frame " + std::to_string(key.boardPos >> 16 & 0xFF) + ", slot " +
                     std::to_string(key.boardPos & 0xFFFF) + "), port " + Hex(key.portPos) + " (" +
                     std::to_string(key.portPos >> 16) + ", " +
                     std::to_string(key.portPos & 0xFFFF) + ")";
    } else {
        strAnswer += "\n  no port: neither LP nor PP";
    }
    constexpr unsigned long ABSENT = ~0UL;
    unsigned long nPath = ABSENT;
    unsigned long nTimeSlot = ABSENT;
    mgr.GetPathIDorTimeSlot(fdn, nPath, nTimeSlot);
    if (nPath != ABSENT) {
        record["path"] = static_cast<Json::UInt64>(nPath);
        strAnswer += "\n  path " + std::to_string(nPath);
    }
    if (nTimeSlot != ABSENT) {
        record["time_slot"] = static_cast<Json::UInt64>(nTimeSlot);
        strAnswer += ", time slot " + std::to_string(nTimeSlot);
    }
    session.out.Put(strAnswer, record);
}

struct OtnArguments {
    Texts texts;
    unsigned short n = 0;
};

std::string LocationText(std::uint32_t nLocationID) {
    const std::string strDigits = Hex(nLocationID).substr(2);
    return "0x" + std::string(8 - strDigits.size(), '0') + strDigits;
}

// The slots that a level takes: where its second path begins.
int RateOf(std::uint32_t nLevel, unsigned short n) {
    constexpr std::uint32_t ODUCN = 0x3024;
    using Util = NSTN_util::TNOTNLevelPathUtil;
    const auto nRate = static_cast<int>(Util::GetOtnLP2LocationID({{nLevel, 2}}) & 0xFFFF);
    return nLevel == ODUCN ? Util::GetRealLevelVelocity(n, nRate) : nRate;
}

constexpr std::size_t ROW_SLOTS = 40;
constexpr std::size_t ROWS_MOST = 8;

// The carrier's slots: '#' those of the path itself, '+' those of the levels that carry it, '.' the
// others. Of a large carrier only the rows with the path in them.
std::string SlotPicture(const std::list<NSTN_util::OTNLevelAndPathID>& listLevel,
                        const std::vector<int>& vecRate) {
    std::string strSlots(static_cast<std::size_t>(vecRate.front()), '.');
    std::size_t nBegin = 0;
    for (std::size_t i = 1; i < vecRate.size(); ++i) {
        const auto nRate = static_cast<std::size_t>(vecRate[i]);
        nBegin += static_cast<std::size_t>(
                      std::next(listLevel.begin(), static_cast<long>(i))->pathId - 1) *
                  nRate;
        strSlots.replace(nBegin, nRate, nRate, i + 1 == vecRate.size() ? '#' : '+');
    }
    if (vecRate.size() == 1)
        strSlots.assign(strSlots.size(), '#');
    std::string strPicture;
    const bool bLarge = strSlots.size() > ROWS_MOST * ROW_SLOTS;
    std::size_t nRows = 0;
    for (std::size_t nRow = 0; nRow < strSlots.size(); nRow += ROW_SLOTS) {
        const std::string strRow = strSlots.substr(nRow, ROW_SLOTS);
        if (bLarge && strRow.find('#') == std::string::npos)
            continue;
        if (++nRows > ROWS_MOST)
            return strPicture + "\n        ...";
        const std::string strFirst = std::to_string(nRow + 1);
        strPicture += "\n  " + std::string(strFirst.size() < 7 ? 7 - strFirst.size() : 0, ' ') +
                      strFirst + "  " + strRow;
    }
    return strPicture;
}

void PutOtn(const Session& session, const std::list<NSTN_util::OTNLevelAndPathID>& listLevel,
            unsigned short n) {
    using Util = NSTN_util::TNOTNLevelPathUtil;
    const std::string strPath = Util::GetLevelPathStrByLevelList(listLevel);
    Json::Value record;
    record["path"] = strPath;
    std::vector<std::vector<std::string>> vecRow;
    for (const NSTN_util::OTNLevelAndPathID& level : listLevel) {
        Json::Value one;
        one["level"] = level.level;
        one["path"] = level.pathId;
        record["levels"].append(one);
        vecRow.push_back({"  " + Util::GetLevelPathStrByLevelList({level}), Hex(level.level),
                          "path " + std::to_string(level.pathId)});
    }
    std::string strAnswer = strPath + "\n" + Table(vecRow);
    const zemb::ScopedNoDebugChannel silent;  // a path without a location ID is no fault here
    const std::uint32_t nLocationID = Util::GetOtnLP2LocationIDEX(listLevel, n);
    if (nLocationID == 0) {
        session.out.Put(strAnswer + "\n  no location ID", record);
        return;
    }
    std::vector<int> vecRate;
    for (const NSTN_util::OTNLevelAndPathID& level : listLevel)
        vecRate.push_back(RateOf(level.level, n));
    const std::uint32_t nSlot = nLocationID & 0xFFFF;
    const auto nOffset =
        nSlot - static_cast<std::uint32_t>((listLevel.front().pathId - 1) * vecRate.front());
    record["location"] = nLocationID;
    record["slot"] = nSlot;
    record["slots"] = vecRate.back();
    strAnswer += "\n  location ID " + LocationText(nLocationID) + ": slot " +
                 std::to_string(nSlot) + "\n  " +
                 Counted(static_cast<std::size_t>(vecRate.back()), "slot") + " of " +
                 std::to_string(vecRate.front()) + " of " +
                 Util::GetLevelPathStrByLevelList({listLevel.front()}) + ", from " +
                 std::to_string(nOffset + 1) + ":" + SlotPicture(listLevel, vecRate);
    session.out.Put(strAnswer, record);
}

void ShowLocation(const Session& session, const std::string& strText, unsigned short n) {
    char* szEnd = nullptr;
    const int nBase = strText.compare(0, 2, "0x") == 0 ? 16 : 10;
    const unsigned long nRead = std::strtoul(strText.c_str(), &szEnd, nBase);
    const auto nLocationID = static_cast<std::uint32_t>(nRead);
    if (*szEnd != '\0' || nLocationID != nRead)
        throw CommandError(WRONG_USAGE,
                           "'" + strText + "' is no location ID; expected such as 0x01100010",
                           EName::COMMAND);
    std::list<NSTN_util::OTNLevelAndPathID> listLevel;
    if (!NSTN_util::TNOTNLevelPathUtil::GetLevelPathByLocationID(nLocationID, listLevel, n))
        throw CommandError(ANSWER_NO, "'" + strText + "' is the location ID of no path" +
                                          (n == 0 ? "; of an ODUCn --n tells more" : ""));
    PutOtn(session, listLevel, n);
}

constexpr std::size_t LEVELS_MOST = 100;

void ShowOtn(const Session& session, const std::string& strText, unsigned short n) {
    if (!strText.empty() && strText.front() >= '0' && strText.front() <= '9')
        return ShowLocation(session, strText, n);
    std::list<NSTN_util::OTNLevelAndPathID> listLevel;
    std::vector<std::string> vecPart;
    NSTN_util::TNOTNLevelPathUtil::SplitPathStrBySeperator(strText, vecPart);
    if (vecPart.size() <= LEVELS_MOST)  // each bad piece gives a line with the whole text
        NSTN_util::TNOTNLevelPathUtil::GetLevelAndPathIDByStr(strText, listLevel);
    const bool bKnown = std::none_of(listLevel.begin(), listLevel.end(),
                                     [](const auto& level) { return level.level == 0; });
    if (!bKnown || listLevel.empty() || listLevel.size() != vecPart.size())
        throw CommandError(ANSWER_NO, "'" + strText +
                                          "' is no OTN path; expected such as "
                                          "ODU4:1-ODU2:3");
    const std::string strWritten =
        NSTN_util::TNOTNLevelPathUtil::GetLevelPathStrByLevelList(listLevel);
    if (strWritten != strText)
        WarnOfLoss(strText, strWritten);
    PutOtn(session, listLevel, n);
}

struct FdnArguments {
    Texts texts;
    std::vector<int> vecValue;
};

int ShowFdns(const Session& session, const FdnArguments& args) {
    if (args.texts.IsEmpty())
        throw CommandError(WRONG_USAGE, "which FDN?", EName::COMMAND);
    return args.texts.Each([&](const std::string& strText) { ShowFdn(session, strText); });
}

int BuildFdns(const Session& session, const FdnArguments& args) {
    std::vector<std::string> vecFdn;
    NSTN_util::TNFdnMgr::Instance()->ConvertCxValue2FDNstring(
        {{args.vecValue.begin(), args.vecValue.end()}}, vecFdn);
    for (const std::string& strFdn : vecFdn) {
        session.out.Put(strFdn, RecordOf({{"fdn", strFdn}}));
    }
    return DONE;
}

}  // namespace

Runner DefineFbType(CLI::App& app) {
    const auto pTexts = std::make_shared<Texts>();
    const auto pTable = std::make_shared<bool>(false);
    pTexts->Define(app, "a detailed type number", false);
    app.add_flag("--table", *pTable, "show all types");
    return [pTexts, pTable](Session& session) {
        if (*pTable || pTexts->IsEmpty())
            return ShowFbTypes(session);
        return pTexts->Each([&](const std::string& strText) { ShowFbType(session, strText); });
    };
}

Runner DefineOtn(CLI::App& app) {
    const auto pArgs = std::make_shared<OtnArguments>();
    pArgs->texts.Define(app, "an OTN path, ODU4:1-ODU2:3, or a location ID, 0x01100010");
    app.add_option("--n", pArgs->n, "how many times 80 slots an ODUCn has");
    return [pArgs](Session& session) {
        return pArgs->texts.Each(
            [&](const std::string& strText) { ShowOtn(session, strText, pArgs->n); });
    };
}

Runner DefineFdn(CLI::App& app) {
    SubCommands<FdnArguments> commands(app);
    commands.Args().texts.Define(app, "an FDN: NE=5,FR=0,S=3,LP=3|7|300,", false);
    commands.Add("build", "write the three FDNs of a cross-connection value", BuildFdns)
        ->add_option("VALUE", commands.Args().vecValue, "ONE (0: none) and NE")
        ->required();
    return commands.RunGivenOr(ShowFdns);
}

}  // namespace host
