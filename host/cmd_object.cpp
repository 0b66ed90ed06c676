#include "command.h"
#include "texts.h"

#include "tovelkarin/stringutil.h"
#include "tovelkarin/tnfbtype.h"
#include "tovelkarin/tnfdnmgr.h"
#include "tovelkarin/tnotnlevelpathutil.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>
#include <memory>

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
        throw CommandError(WRONG_USAGE, "fbtype: '" + strText + "' is no number");
    FbType type;
    if (!Convert(nType, type))
        throw CommandError(ANSWER_NO, "fbtype: no function block has type " + strText +
                                          "; 'fbtype --table' lists them");
    Json::Value record;
    record["type"] = nType;
    record["fbtype"] = type.nFbType;
    record["level"] = type.strLevel;
    record["low_level"] = type.strLowLevel;
    session.out.Put(std::to_string(nType) + " belongs to " + std::to_string(type.nFbType) + ", " +
                        type.strLevel +
                        (type.strLowLevel.empty() ? "" : " over " + type.strLowLevel),
                    record);
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
        strDetails += (strDetails.empty() ? "" : " ") + std::to_string(nType);
    }
    std::vector<std::vector<std::string>> vecRow = {{"type", "level", "lower", "detailed types"}};
    for (const auto& [nFbType, entry] : mapType) {
        Json::Value record;
        record["fbtype"] = nFbType;
        record["level"] = entry.first.strLevel;
        record["low_level"] = entry.first.strLowLevel;
        record["types"] = entry.second;
        if (session.out.IsJson())
            session.out.Put("", record);
        vecRow.push_back(
            {std::to_string(nFbType), entry.first.strLevel, entry.first.strLowLevel, entry.second});
    }
    session.out.Say(Table(vecRow));
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

void ShowOtn(const Session& session, const std::string& strText) {
    std::list<NSTN_util::OTNLevelAndPathID> listLevel;
    NSTN_util::TNOTNLevelPathUtil::GetLevelAndPathIDByStr(strText, listLevel);
    std::vector<std::string> vecPart;
    NSTN_util::TNOTNLevelPathUtil::SplitPathStrBySeperator(strText, vecPart);
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
    Json::Value record;
    record["path"] = strWritten;
    std::vector<std::vector<std::string>> vecRow;
    for (const NSTN_util::OTNLevelAndPathID& level : listLevel) {
        Json::Value one;
        one["level"] = level.level;
        one["path"] = level.pathId;
        record["levels"].append(one);
        vecRow.push_back({"  " + NSTN_util::TNOTNLevelPathUtil::GetLevelPathStrByLevelList({level}),
                          Hex(level.level), "path " + std::to_string(level.pathId)});
    }
    session.out.Put(strWritten + "\n" + Table(vecRow), record);
}

struct FdnArguments {
    Texts texts;
    std::vector<int> vecValue;
};

int BuildFdns(const Session& session, const FdnArguments& args) {
    std::vector<std::string> vecFdn;
    NSTN_util::TNFdnMgr::Instance()->ConvertCxValue2FDNstring(
        {{args.vecValue.begin(), args.vecValue.end()}}, vecFdn);
    for (const std::string& strFdn : vecFdn) {
        Json::Value record;
        record["fdn"] = strFdn;
        session.out.Put(strFdn, record);
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
    const auto pTexts = std::make_shared<Texts>();
    pTexts->Define(app, "an OTN path: ODU4:1-ODU2:3");
    return [pTexts](Session& session) {
        return pTexts->Each([&](const std::string& strText) { ShowOtn(session, strText); });
    };
}

Runner DefineFdn(CLI::App& app) {
    const auto pArgs = std::make_shared<FdnArguments>();
    pArgs->texts.Define(app, "an FDN: NE=5,FR=0,S=3,LP=3|7|300,", false);
    CLI::App* const pBuild =
        app.add_subcommand("build", "write the three FDNs of a cross-connection value");
    pBuild->add_option("VALUE", pArgs->vecValue, "ONE (0: none) and NE")->required();
    return [pArgs, pBuild](Session& session) {
        if (pBuild->parsed())
            return BuildFdns(session, *pArgs);
        if (pArgs->texts.IsEmpty())
            throw CommandError(WRONG_USAGE, "fdn: which FDN?");
        return pArgs->texts.Each([&](const std::string& strText) { ShowFdn(session, strText); });
    };
}

}  // namespace host
