#include "check/item_check.h"
#include "check/text_lines.h"
#include "commands/item_writer.h"
#include "sub_commands.h"
#include "view/record.h"

#include "tovelkarin/tnreadcfg.h"

#include <unistd.h>

// Shows items as a process reads them, with the library's own reader, and sets one
// (item_writer.cpp). In a script a file keeps its reader, so that a change is seen when a process
// would see it.
namespace host {

namespace {

struct CfgArguments {
    std::string strFile;
    std::string strKey;
    std::string strValue;
    bool bInt = false;
    bool bNew = false;
    int nWait = 30;
};

// The reader of a file, the same one throughout a run: it looks at the file as a process does.
NSTN_util::TNReadCfg& ReaderOf(Session& session, const std::string& strFile) {
    const auto [it, bNew] = session.mapCfg.try_emplace(strFile);
    if (bNew && !it->second.SetFileName(PathOfInput(strFile))) {
        session.mapCfg.erase(it);
        RequireAccess(strFile, R_OK);
        throw CommandError(SYSTEM_FAILED, strFile + ": no such file");
    }
    std::map<std::string, std::string> mapIgnored;
    if (bNew && !it->second.LoadCfgItemFromFile(mapIgnored)) {
        session.mapCfg.erase(it);
        RequireAccess(strFile, R_OK);
        throw CommandError(SYSTEM_FAILED, strFile + ": the file cannot be read");
    }
    return it->second;
}

int ShowItems(Session& session, const CfgArguments& args) {
    if (args.strFile.empty())
        throw CommandError(WRONG_USAGE, "which FILE?", EName::COMMAND);
    NSTN_util::TNReadCfg& cfg = ReaderOf(session, args.strFile);
    Json::Value record(Json::objectValue);
    if (args.strKey.empty()) {
        std::map<std::string, std::string> mapItem;
        cfg.GetAllCfgItem(mapItem);
        std::string strText;
        for (const auto& [strKey, strValue] : mapItem) {
            record[strKey] = strValue;
            AppendItem(strText, strKey + " = " + strValue, "\n");
        }
        session.out.Put(strText.empty() ? "no items" : strText, record);
        return DONE;
    }
    std::string strValue;
    if (!cfg.GetItemValue(args.strKey, strValue))
        throw CommandError(ANSWER_NO, args.strFile + ": no item '" + args.strKey + "'");
    int nValue = 0;
    const bool bNumber = cfg.GetItemValue(args.strKey, nValue);
    if (args.bInt && !bNumber)
        throw CommandError(ANSWER_NO, args.strFile + ": '" + args.strKey + "' is '" + strValue +
                                          "', which is not read as an integer");
    record["key"] = args.strKey;
    record["value"] = strValue;
    if (bNumber)
        record["number"] = nValue;
    session.out.Put(args.bInt ? std::to_string(nValue) : strValue, record);
    return DONE;
}

int SetOneItem(const Session& session, const CfgArguments& args) {
    const std::string strBefore =
        SetItem(args.strFile, args.strKey, args.strValue, args.bNew, args.nWait);
    session.out.Put(
        args.strFile + ": " + args.strKey + " = " + args.strValue + strBefore,
        RecordOf({{"file", args.strFile}, {"key", args.strKey}, {"value", args.strValue}}));
    return DONE;
}

}  // namespace

Runner DefineCfg(CLI::App& app) {
    SubCommands<CfgArguments> commands(app);
    CfgArguments& args = commands.Args();
    app.add_option("FILE", args.strFile, "a configuration-item file; -: standard input");
    app.add_option("KEY", args.strKey, "one item; none: all");
    app.add_flag("--int", args.bInt, "as the integer getter reads it");
    CLI::App* const pSet = commands.Add(
        "set", "change or add one item; comments and order stay, the file is replaced whole",
        SetOneItem);
    pSet->add_option("FILE", args.strFile, "a configuration-item file")->required();
    pSet->add_option("KEY", args.strKey, "the key")->required();
    pSet->add_option("VALUE", args.strValue, "its new value")->required();
    pSet->add_flag("--new", args.bNew, "make the file if there is none");
    pSet->add_option("--wait", args.nWait, "seconds, at most, for others who have it locked")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    return commands.RunGivenOr(ShowItems);
}

}  // namespace host
