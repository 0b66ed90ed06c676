#include "command.h"
#include "view/texts.h"

#include "tovelkarin/stringutil.h"
#include "tovelkarin/tncallchain.h"
#include "tovelkarin/tnnereply.h"

#include "zemb/user_config.h"

#include <CLI/CLI.hpp>

#include <memory>

// Values of users, node identifiers and call chains, each as a server process would ask the library
// for it.
namespace host {

namespace {

int ListUserCfg(const Session& session) {
    std::vector<zemb::UserCfgItem> vecItem;
    std::string strError;
    if (!zemb::ReadUserCfg(vecItem, strError))
        throw CommandError(SYSTEM_FAILED, strError);
    std::vector<std::vector<std::string>> vecRow = {{"SECTION", "KEY", "VALUE"}};
    for (const zemb::UserCfgItem& item : vecItem) {
        Json::Value record;
        record["section"] = item.strSection;
        record["key"] = item.strKey;
        record["value"] = item.strValue;
        if (session.out.IsJson())
            session.out.Put("", record);
        vecRow.push_back(
            {OnOneLine(item.strSection), OnOneLine(item.strKey), OnOneLine(item.strValue)});
    }
    session.out.Say(vecRow.size() == 1 ? "no values" : Table(vecRow));
    return DONE;
}

// As the library reads it: a number.
int GetUserCfg(const Session& session, const zemb::UserCfgItem& item) {
    int nValue = 0;
    if (!NSTN_util::GetBoolIntEnvVarFromDB(item.strSection, item.strKey, nValue))
        throw CommandError(ANSWER_NO, "no value of '" + item.strKey + "' in '" + item.strSection +
                                          "' that is a number");
    Json::Value record;
    record["value"] = nValue;
    session.out.Put(std::to_string(nValue), record);
    return DONE;
}

void ShowNode(const Session& session, const std::string& strText) {
    int nId = 0;
    if (!NSTN_util::StrToInt(strText, nId, 10) || std::to_string(nId) != strText)
        throw CommandError(WRONG_USAGE, "node: '" + strText + "' is no number of 32 bits");
    Json::Value record;
    record["id"] = nId;
    record["text"] = NSTN_util::GetVirtaulNodeIDByNeID(nId);
    record["virtual"] = NSTN_util::IsVirtualNodeID(nId);
    session.out.Put(record["text"].asString(), record);
}

struct ChainArguments {
    std::string strFirst;
    std::string strSecond;
};

}  // namespace

Runner DefineUserCfg(CLI::App& app) {
    const auto pItem = std::make_shared<zemb::UserCfgItem>();
    CLI::App* const pGet = app.add_subcommand("get", "a value, as the library reads it");
    CLI::App* const pSet = app.add_subcommand("set", "set a value");
    for (CLI::App* const pOne : {pGet, pSet}) {
        pOne->add_option("SECTION", pItem->strSection, "the section")->required();
        pOne->add_option("KEY", pItem->strKey, "the key")->required();
    }
    pSet->add_option("VALUE", pItem->strValue, "the value")->required();
    return [=](Session& session) {
        if (pGet->parsed())
            return GetUserCfg(session, *pItem);
        if (!pSet->parsed())
            return ListUserCfg(session);
        std::string strError;
        if (!zemb::SetUserCfg(*pItem, strError))
            throw CommandError(SYSTEM_FAILED, strError);
        return DONE;
    };
}

Runner DefineNode(CLI::App& app) {
    const auto pTexts = std::make_shared<Texts>();
    pTexts->Define(app, "a node's number");
    return [pTexts](Session& session) {
        return pTexts->Each([&](const std::string& strText) { ShowNode(session, strText); });
    };
}

Runner DefineChain(CLI::App& app) {
    const auto pArgs = std::make_shared<ChainArguments>();
    app.description(app.get_description() +
                    "\nA chain, and the recording, end with the program: for use inside 'host'.");
    CLI::App* const pOn = app.add_subcommand("on", "write records to log/callchain.jsonl");
    CLI::App* const pOff = app.add_subcommand("off", "write none");
    CLI::App* const pBegin = app.add_subcommand("begin", "begin a chain inside of the present one");
    pBegin->add_option("NAME", pArgs->strFirst, "what it is for")->required();
    CLI::App* const pEnd = app.add_subcommand("end", "end the innermost chain");
    CLI::App* const pSet = app.add_subcommand("set", "set a key of the innermost chain");
    pSet->add_option("KEY", pArgs->strFirst, "the key")->required();
    pSet->add_option("VALUE", pArgs->strSecond, "the value")->required();
    CLI::App* const pTrace = app.add_subcommand("trace", "write a record of the innermost chain");
    pTrace->add_option("TEXT", pArgs->strFirst, "what happened")->required();
    app.require_subcommand(1);
    return [=](Session& session) {
        if (pOn->parsed() || pOff->parsed()) {
            zemb::SetCallChain(pOn->parsed());
        } else if (pBegin->parsed()) {
            const std::string strId = NSTN_util::BeginCallChain(pArgs->strFirst);
            if (strId.empty())
                throw CommandError(ANSWER_NO, "nobody takes records; 'chain on' first");
            Json::Value record;
            record["id"] = strId;
            session.out.Put("chain " + strId, record);
        } else if (pEnd->parsed()) {
            NSTN_util::EndCallChain();
        } else if (pSet->parsed()) {
            NSTN_util::TnSetCallChainExtInfo(pArgs->strFirst, pArgs->strSecond);
        } else if (pTrace->parsed() && !NSTN_util::TraceCallChain(pArgs->strFirst)) {
            throw CommandError(ANSWER_NO, "no chain, or nobody takes records");
        }
        return DONE;
    };
}

}  // namespace host
