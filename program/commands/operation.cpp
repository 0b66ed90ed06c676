#include "command.h"
#include "commands/mission.h"
#include "commands/processes.h"
#include "commands/refusal_text.h"
#include "view/record.h"

#include "tovelkarin/teoperationlog.h"

#include "zemb/message.h"
#include "zemb/task.h"

#include <CLI/CLI.hpp>

#include <cstdlib>
#include <memory>

// Asks for operations and gives them back, with the book of the host beside the manager (ledger.h),
// so that a refusal can be explained. A request whose answer would look like a grant though it is
// none is not made: giving it back would take away what somebody else holds.
namespace host {

using NSTE_util::TEMutexOperMgr;
using NSTE_util::TEOperObject;

namespace {

std::string CurrentUser() {
    const char* const szUser = std::getenv("USER");
    return szUser == nullptr || *szUser == '\0' ? "unknown" : szUser;
}

std::list<TEOperObject> ParseObjects(const std::vector<std::string>& vecText) {
    std::list<TEOperObject> listObj;
    for (const std::string& strText : vecText)
        listObj.push_back(ParseObject(strText));
    if (listObj.empty())
        listObj.push_back({});
    return listObj;
}

// What was done goes to the operation log; users count in the order in which they come.
void Record(Session& session, int nOper, const std::list<TEOperObject>& listObj,
            const std::string& strBy, unsigned long nResult, const std::string& strWhat) {
    const auto it =
        session.mapUser.emplace(strBy, static_cast<int>(session.mapUser.size()) + 1).first;
    NSTN_util::SOperateLogInfor record;
    record.nUserId = it->second;
    record.nIpAddr = LOCAL_ADDRESS;
    record.nCmd = static_cast<unsigned long>(nOper);
    record.nNeId = listObj.empty() ? 0 : listObj.front().nNeId;
    record.nResult = nResult;
    record.sOperObject = ObjectsText(listObj);
    record.sOperInfo = strBy + ": " + strWhat;
    NSTN_util::TEOperationLog(record, OPERATION_LEVEL, PROGRAM_CATEGORY);
}

int PutGranted(const Session& session, const Grant& grant) {
    Json::Value record = ToJson(grant);
    record["granted"] = true;
    session.out.Put("granted " + std::to_string(grant.nId) + ": " +
                        RequestText(grant.nOper, ObjectsText(grant.listObj)) + " for " +
                        grant.strBy,
                    record);
    return DONE;
}

int PutRefused(const Session& session, int nOper, const std::list<TEOperObject>& listObj,
               unsigned long nCode) {
    Json::Value record;
    record["granted"] = false;
    record["operation"] = nOper;
    record["objects"] = ToJson(listObj);
    record["code"] = static_cast<Json::UInt64>(nCode);
    std::string strText = "refused " + Hex(nCode) + " (" + std::to_string(nCode) +
                          "): " + RequestText(nOper, ObjectsText(listObj));
    if (nCode == NSTE_util::ERR_MUTEX_NO_REQUEST) {
        strText += "\n  no current task with a request";
    } else if (const std::optional<Refusal> refusal = session.ledger.Explain(nOper, listObj)) {
        strText += RefusalText(*refusal, record);
    }
    session.out.Put(strText, record);
    return ANSWER_NO;
}

// An operation in the way whose code is 0 would answer 0 and grant nothing; giving that back would
// take away what somebody else holds. So such a request is not made.
void RefuseZeroCode(const Session& session, int nOper, const std::list<TEOperObject>& listObj) {
    const std::optional<Refusal> refusal = session.ledger.Explain(nOper, listObj);
    if (refusal && refusal->code &&
        session.ledger.table.mapCode.at(refusal->pGrant->nOper).nCode == 0)
        throw CommandError(ANSWER_NO,
                           "not asked: operation " + std::to_string(refusal->pGrant->nOper) +
                               " is in the way, and its code is 0 at " + refusal->code->Text() +
                               ": the answer would look like a grant");
}

struct AcquireArguments {
    int nOper = 0;
    std::vector<std::string> vecObject;
    std::string strBy = CurrentUser();
    bool bAsTask = false;
    bool bNoObject = false;
};

// As a server process does it: a command message arrives, a task works on it, an NE guard takes
// the NEs under the number of the command.
int AcquireAsTask(Session& session, const AcquireArguments& args,
                  const std::list<TEOperObject>& listObj) {
    std::list<int> listNe;
    for (const TEOperObject& obj : listObj)
        listNe.push_back(obj.nNeId);
    ZembCmdMSG msg = CommandMessage(args.nOper);
    ZembGnlTask task(&msg);
    const zemb::ScopedTask current(&task);
    std::list<TEOperObject> listWhole;
    for (const int nNe : listNe)
        listWhole.push_back({nNe, 0, 0});
    RefuseZeroCode(session, args.nOper, listWhole);
    auto pGuard = std::make_unique<NSTE_util::TEMutexOperNEGuard>(listNe);
    const unsigned long nCode = pGuard->m_nResult;
    Record(session, args.nOper, listWhole, args.strBy, nCode, nCode == 0 ? "granted" : "refused");
    if (nCode != 0)
        return PutRefused(session, args.nOper, listWhole, nCode);
    return PutGranted(session, session.ledger.Add(args.nOper, std::move(listWhole), args.strBy,
                                                  std::move(pGuard)));
}

int Acquire(Session& session, const AcquireArguments& args) {
    const std::list<TEOperObject> listObj =
        args.bNoObject ? std::list<TEOperObject>() : ParseObjects(args.vecObject);
    if (args.bAsTask)
        return AcquireAsTask(session, args, listObj);
    RefuseZeroCode(session, args.nOper, listObj);
    const unsigned long nCode = TEMutexOperMgr::Instance()->AcquireMutexOper(args.nOper, listObj);
    Record(session, args.nOper, listObj, args.strBy, nCode, nCode == 0 ? "granted" : "refused");
    if (nCode != 0)
        return PutRefused(session, args.nOper, listObj, nCode);
    return PutGranted(session, session.ledger.Add(args.nOper, listObj, args.strBy));
}

struct ReleaseArguments {
    std::vector<int> vecId;
    bool bAll = false;
    int nOper = 0;
    std::vector<std::string> vecObject;
};

int ReleaseGrant(Session& session, int nId) {
    for (const Grant& grant : session.ledger.Grants())
        if (grant.nId == nId && grant.nTask != 0)
            throw CommandError(ANSWER_NO, "grant " + std::to_string(nId) +
                                              " ends with its task: 'task finish " +
                                              std::to_string(grant.nTask) + "' or 'task abort'");
    const std::unique_ptr<Grant> pGrant = session.ledger.Take(nId);
    if (pGrant == nullptr)
        throw CommandError(ANSWER_NO, "no grant " + std::to_string(nId) + "; see 'running'");
    if (pGrant->pGuard == nullptr)
        TEMutexOperMgr::Instance()->ReleaseMutexOper(pGrant->nOper, pGrant->listObj);
    pGrant->pGuard = nullptr;
    Record(session, pGrant->nOper, pGrant->listObj, pGrant->strBy, 0, "released");
    session.out.Put("released " + std::to_string(nId) + ": " +
                        RequestText(pGrant->nOper, ObjectsText(pGrant->listObj)),
                    ToJson(*pGrant));
    return DONE;
}

int Release(Session& session, ReleaseArguments& args, bool bRaw) {
    if (bRaw) {
        for (const TEOperObject& obj : ParseObjects(args.vecObject)) {
            if (session.ledger.IsOnlyInGuards(args.nOper, obj))
                throw CommandError(ANSWER_NO, ObjectText(obj) +
                                                  " is held by a task's guard: "
                                                  "release its grant");
            TEMutexOperMgr::Instance()->ReleaseMutexOper(args.nOper, obj);
            session.ledger.Forget(args.nOper, obj);
            session.out.Put("handed to the manager: " + RequestText(args.nOper, ObjectText(obj)),
                            RecordOf({{"operation", args.nOper},
                                      {"objects", ToJson(std::list<TEOperObject>{obj})}}));
        }
        return DONE;
    }
    if (args.bAll)
        for (const Grant& grant : session.ledger.Grants()) {
            if (grant.nTask == 0)
                args.vecId.push_back(grant.nId);
        }
    else if (args.vecId.empty())
        throw CommandError(WRONG_USAGE, "give the number of a grant, --all, or --oper with --on",
                           EName::COMMAND);
    for (const int nId : args.vecId)
        ReleaseGrant(session, nId);
    return DONE;
}

}  // namespace

Runner DefineAcquire(CLI::App& app) {
    const auto pArgs = std::make_shared<AcquireArguments>();
    app.description(
        app.get_description() +
        "\nWhat is granted is given back when the program ends: for use inside 'host'.");
    app.add_option("OPERATION", pArgs->nOper, "operation number")->required();
    app.add_option("OBJECT", pArgs->vecObject,
                   "NE, NE/object or NE/object/sub-object; 0: all; none: everything");
    app.add_option("--by", pArgs->strBy, "who asks")->capture_default_str();
    CLI::Option* const pTask = app.add_flag("--as-task", pArgs->bAsTask,
                                            "as a task with that command number, on whole NEs");
    app.add_flag("--no-object", pArgs->bNoObject,
                 "on no object at all: granted, and running for good")
        ->excludes(pTask);
    return [pArgs](Session& session) { return Acquire(session, *pArgs); };
}

Runner DefineRelease(CLI::App& app) {
    const auto pArgs = std::make_shared<ReleaseArguments>();
    CLI::Option* const pGrant =
        app.add_option("GRANT", pArgs->vecId, "numbers of grants, as 'running' shows them");
    app.add_flag("--all", pArgs->bAll, "all grants")->excludes(pGrant);
    CLI::Option* const pOper = app.add_option("--oper", pArgs->nOper, "operation number");
    app.add_option("--on", pArgs->vecObject, "objects to hand to the manager as they are")
        ->needs(pOper);
    return
        [pArgs](Session& session) { return Release(session, *pArgs, !pArgs->vecObject.empty()); };
}

Runner DefineRunning(CLI::App& app) {
    const auto pProcess = std::make_shared<std::string>();
    AddProcessOption(app, *pProcess);
    return [pProcess](Session& session) {
        if (!MeansThisProcess(session, *pProcess))
            return ShowProcesses(session, *pProcess,
                                 [&](const zemb::BlackBox& box) { ShowHeld(session.out, box); });
        ShowGrants(session.out, session.ledger.Grants());
        return DONE;
    };
}

}  // namespace host
