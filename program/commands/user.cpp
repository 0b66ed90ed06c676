#include "sub_commands.h"
#include "view/record.h"
#include "view/rows.h"
#include "view/texts.h"

#include "tovelkarin/stringutil.h"
#include "tovelkarin/tncallchain.h"
#include "tovelkarin/tnnereply.h"

#include "zemb/user_config.h"

#include <unistd.h>

#include <memory>

// Values of users, node identifiers and call chains, each as a server process would ask the library
// for it.
namespace host {

namespace {

// Values that may not be read are not missing.
void RequireValues(int nMode) {
    if (const std::string strState = zemb::GetStatePath(); !strState.empty())
        RequireAccess(strState + "/usercfg.db", nMode);
}

int ListUserCfg(const Session& session, const zemb::UserCfgItem& /*item*/) {
    RequireValues(R_OK);
    std::vector<zemb::UserCfgItem> vecItem;
    std::string strError;
    if (!zemb::ReadUserCfg(vecItem, strError))
        throw CommandError(SYSTEM_FAILED, strError);
    Rows rows(session.out, {{"section", "SECTION"}, {"key", "KEY"}, {"value", "VALUE"}},
              "no values");
    for (const zemb::UserCfgItem& item : vecItem)
        rows.Add({item.strSection, item.strKey, item.strValue});
    rows.Put();
    return DONE;
}

// As the library reads it: a number.
int GetUserCfg(const Session& session, const zemb::UserCfgItem& item) {
    RequireValues(R_OK);
    int nValue = 0;
    if (!NSTN_util::GetBoolIntEnvVarFromDB(item.strSection, item.strKey, nValue))
        throw CommandError(ANSWER_NO, "no value of '" + item.strKey + "' in '" + item.strSection +
                                          "' that is a number");
    session.out.Put(std::to_string(nValue), RecordOf({{"value", nValue}}));
    return DONE;
}

int SetUserCfg(const Session& /*session*/, const zemb::UserCfgItem& item) {
    RequireValues(R_OK | W_OK);
    std::string strError;
    if (!zemb::SetUserCfg(item, strError))
        throw CommandError(SYSTEM_FAILED, strError);
    return DONE;
}

void ShowNode(const Session& session, const std::string& strText) {
    int nId = 0;
    if (!NSTN_util::StrToInt(strText, nId, 10) || std::to_string(nId) != strText)
        throw CommandError(WRONG_USAGE, "'" + strText + "' is no number of 32 bits",
                           EName::COMMAND);
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

template <bool ON>
int RecordChains(const Session& /*session*/, const ChainArguments& /*args*/) {
    zemb::SetCallChain(ON);
    return DONE;
}

int BeginChain(const Session& session, const ChainArguments& args) {
    const std::string strId = NSTN_util::BeginCallChain(args.strFirst);
    if (strId.empty())
        throw CommandError(ANSWER_NO, "nobody takes records; 'chain on' first");
    session.out.Put("chain " + strId, RecordOf({{"id", strId}}));
    return DONE;
}

int EndChain(const Session& /*session*/, const ChainArguments& /*args*/) {
    NSTN_util::EndCallChain();
    return DONE;
}

int SetInChain(const Session& /*session*/, const ChainArguments& args) {
    NSTN_util::TnSetCallChainExtInfo(args.strFirst, args.strSecond);
    return DONE;
}

int TraceChain(const Session& /*session*/, const ChainArguments& args) {
    if (!NSTN_util::TraceCallChain(args.strFirst))
        throw CommandError(ANSWER_NO, "no chain, or nobody takes records");
    return DONE;
}

}  // namespace

Runner DefineUserCfg(CLI::App& app) {
    SubCommands<zemb::UserCfgItem> commands(app);
    zemb::UserCfgItem& item = commands.Args();
    CLI::App* const pGet = commands.Add("get", "a value, as the library reads it", GetUserCfg);
    CLI::App* const pSet = commands.Add("set", "set a value", SetUserCfg);
    for (CLI::App* const pOne : {pGet, pSet}) {
        pOne->add_option("SECTION", item.strSection, "the section")->required();
        pOne->add_option("KEY", item.strKey, "the key")->required();
    }
    pSet->add_option("VALUE", item.strValue, "the value")->required();
    return commands.RunGivenOr(ListUserCfg);
}

Runner DefineNode(CLI::App& app) {
    const auto pTexts = std::make_shared<Texts>();
    pTexts->Define(app, "a node's number");
    return [pTexts](Session& session) {
        return pTexts->Each([&](const std::string& strText) { ShowNode(session, strText); });
    };
}

Runner DefineChain(CLI::App& app) {
    SubCommands<ChainArguments> commands(app);
    ChainArguments& args = commands.Args();
    app.description(app.get_description() +
                    "\nA chain, and the recording, end with the program: for use inside 'host'.");
    commands.Add("on", "write records to log/callchain.jsonl", RecordChains<true>);
    commands.Add("off", "write none", RecordChains<false>);
    commands.Add("begin", "begin a chain inside of the present one", BeginChain)
        ->add_option("NAME", args.strFirst, "what it is for")
        ->required();
    commands.Add("end", "end the innermost chain", EndChain);
    CLI::App* const pSet = commands.Add("set", "set a key of the innermost chain", SetInChain);
    pSet->add_option("KEY", args.strFirst, "the key")->required();
    pSet->add_option("VALUE", args.strSecond, "the value")->required();
    commands.Add("trace", "write a record of the innermost chain", TraceChain)
        ->add_option("TEXT", args.strFirst, "what happened")
        ->required();
    return commands.RunGiven();
}

}  // namespace host
