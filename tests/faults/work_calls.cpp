#include "tests/faults/calls.h"

#include "base/cancel_hold.h"
#include "tovelkarin/tedebugcommandmgr.h"
#include "tovelkarin/telangresmgr.h"
#include "tovelkarin/temutexoperguard.h"
#include "tovelkarin/temutexopermgr.h"
#include "tovelkarin/teoperationlog.h"
#include "tovelkarin/tncallchain.h"
#include "tovelkarin/tnnereply.h"
#include "tovelkarin/tnprogress.h"
#include "tovelkarin/tnreqtimeout.h"
#include "tovelkarin/tnthreadmgr.h"
#include "tovelkarin/utilif.h"

#include "zemb/control.h"
#include "zemb/event.h"
#include "zemb/message.h"
#include "zemb/module.h"
#include "zemb/operlog.h"
#include "zemb/task.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <stdexcept>

namespace faults {

namespace {

using namespace NSTN_util;
using namespace NSTE_util;

const std::string LONG_TEXT = "a text that has no room in the object itself";

// Runs fn on a task with a command message, as a server process does.
template <class Fn>
std::string OnTask(Fn fn) {
    ZembCmdMSG msg{};
    msg.nCmd = 10;
    const TETaskContext context{7};
    ZembGnlTask task(&msg, &context);
    const zemb::ScopedTask current(&task);
    return fn(task);
}

// Holds the operation while it is read, and gives it back.
template <class Guard, class Object>
std::string Guarded(const Object& object) {
    unsigned long nResult = 0;
    {
        const Guard guard(object);
        nResult = guard.m_nResult;
    }
    return Show(nResult, The<TEMutexOperMgr>().HasRunningOper());
}

template <class Trails>
std::string GuardedTrails(const Trails& trails) {
    TEMutexOperTrailGuard guard(trails);
    return Show(guard.GetResult());  // asked twice, it meets itself
}

class AnyTrails : public TEMutexOperTrailGuard {
public:
    using TEMutexOperTrailGuard::TrailsChanged;
};

// The first guard leaves while the trails of the second stand behind its own.
std::string CrossingTrails() {
    auto pFirst = std::make_unique<TEMutexOperTrailGuard>(7);
    TEMutexOperTrailGuard second(std::vector<int>{9, 8});
    const bool bFirst = pFirst->IsConflict();
    const bool bSecond = second.IsConflict();
    pFirst = nullptr;
    AnyTrails::TrailsChanged();
    return Show(bFirst, bSecond, TEMutexOperTrailGuard(8).GetResult());
}

std::vector<Call> MutexCalls() {
    return {
        {"AcquireMutexOper",
         [] {
             TEMutexOperMgr& mgr = The<TEMutexOperMgr>();
             const unsigned long nResult = mgr.AcquireMutexOper(5, TEOperObject{1, 2, 3});
             const bool bRunning = mgr.IsOperRunning(5);
             // Of a request that was refused nothing is held.
             if (nResult == 0)
                 mgr.ReleaseMutexOper(5, TEOperObject{1, 2, 3});
             return Show(nResult, bRunning, mgr.HasRunningOper());
         }},
        {"AcquireMutexOper of a list",
         [] {
             TEMutexOperMgr& mgr = The<TEMutexOperMgr>();
             const std::list<TEOperObject> listObj = {{1, 2, 3}, {4, 0, 6}, {0, 8, 9}};
             const unsigned long nBefore = mgr.AcquireMutexOper(5, TEOperObject{9, 9, 9});
             const unsigned long nResult = mgr.AcquireMutexOper(5, listObj);
             // Of a request that was refused nothing is held, and what ran before it runs on.
             bool bAgrees = mgr.IsOperRunning(5) == (nBefore == 0 || nResult == 0);
             mgr.ReleaseMutexOper(5, listObj);
             bAgrees = bAgrees && mgr.IsOperRunning(5) == (nBefore == 0);
             if (nBefore == 0)
                 mgr.ReleaseMutexOper(5, TEOperObject{9, 9, 9});
             if (!bAgrees)
                 throw std::logic_error("IsOperRunning does not agree with the answers");
             return Show(nBefore, nResult, mgr.HasRunningOper());
         }},
        {"TEMutexOperGuard",
         [] {
             unsigned long nResult = 0;
             {
                 const TEMutexOperGuard guard(5, TEOperObject{1, 2, 3});
                 const TEMutexOperGuard other(6, std::list<TEOperObject>{{1, 2, 3}, {4, 5, 6}});
                 nResult = guard.m_nResult + other.m_nResult;
             }
             return Show(nResult, The<TEMutexOperMgr>().HasRunningOper());
         }},
        {"TEMutexOperNEGuard",
         [] {
             return OnTask([](ZembGnlTask&) {
                 return Guarded<TEMutexOperNEGuard>(5) +
                        Guarded<TEMutexOperNEGuard>(std::vector<int>{1, 2, 3}) +
                        Guarded<TEMutexOperNEGuard>(std::list<int>{1, 2, 3});
             });
         }},
        {"TEMutexLock",
         [] {
             const unsigned long nResult = TEMutexLock::lock(5);
             if (nResult == 0)
                 TEMutexLock::release(5);
             return Show(nResult);
         }},
        {"TEMutexOperTrailGuard",
         [] {
             return GuardedTrails(3) + GuardedTrails(std::vector<int>{1, 2, 3}) +
                    GuardedTrails(std::list<int>{1, 2, 3});
         }},
        {"IsConflict", [] { return Show(TEMutexOperTrailGuard(3).IsConflict()); }},
        {"TrailsChanged", CrossingTrails},
        {"TEMutexOperMgr::Destroy", [] { return TEMutexOperMgr::Destroy(), ""; }},
    };
}

std::string Progress(TNProgressIF& progress, ZembGnlTask& task) {
    progress.Register(3, &task);
    const std::string strBefore = Show(progress.GetMissionID(), progress.IsAbort());
    progress.SendProgress(10, "begun");
    progress.SetProgressScale(2);
    progress.SendStep(5, LONG_TEXT.c_str());
    progress.SetProgressSection(50, 2);
    progress.SendSectionStep(nullptr);
    progress.RestoreProgressScale();
    const std::string strAfter =
        Show(progress.SendProgressWithAbort(90, "nearly"), progress.GetCurProgress());
    return strBefore + strAfter;
}

std::vector<Call> TaskCalls() {
    return {
        {"TNProgressIF",
         [] {
             return OnTask([](ZembGnlTask& task) {
                 TNProgressIF& progress = The<TNProgressIF>();
                 const std::string strText = Progress(progress, task);
                 progress.UnRegister(&task);
                 return strText;
             });
         }},
        {"TNProgressIF::Destroy", [] { return TNProgressIF::Destroy(), ""; }},
        {"TNThreadGuard",
         [] {
             TNThreadMgr& mgr = The<TNThreadMgr>();
             {
                 const TNThreadGuard busy(LONG_TEXT);
                 mgr.PrintAllInfo("all: ");
                 mgr.PrintLable("one: ", 17, TNThreadInfo{});
                 mgr.GetAllInfo();
             }
             return Show(mgr.CheckNotExistThread(), mgr.WaitingThreadExit(0));
         }},
        {"Regist_Thread",
         [] {
             TNThreadMgr& mgr = The<TNThreadMgr>();
             mgr.Regist_Thread(LONG_TEXT);
             mgr.UnRegist_Thread();
             return Show(mgr.CheckNotExistThread());
         }},
        {"TNThreadMgr::Destroy", [] { return TNThreadMgr::Destroy(), ""; }},
        {"GetUserID", [] { return OnTask([](ZembGnlTask&) { return Show(GetUserID()); }); }},
        {"BeginCallChain",
         [] {
             const std::string strId = BeginCallChain(LONG_TEXT);
             TnSetCallChainExtInfo("key that is long enough", LONG_TEXT);
             const bool bTraced = TraceCallChain(LONG_TEXT);
             EndCallChain();
             return Show(strId.empty(), bTraced);
         }},
    };
}

std::vector<Call> ReplyCalls() {
    return {
        {"ProcessMultiNEReqResult",
         [] {
             qcommon::QAsnErrInfoReturn result;
             result.nCode = 0x4108C002;
             qcommon::QAsnErrInfo info;
             info.octsFirst = AsnOcts(LONG_TEXT);
             Ems2Asn({1, 2, 3}, info.listValue);
             result.listInfo = qcommon::QAsnErrInfoList{info, info};
             ProcessMultiNEReqResult(result);
             ProcessMultiNEReqResult(&result);
             ProcessQErrList(&*result.listInfo);
             ProcessQAsnErrInfo(&info);
             return Show(IsGeneralError(result.nCode), IsNeTimeOutErrCode(result.nCode));
         }},
        {"ProcessQAsnSingleReturn",
         [] {
             qcommon::QAsnSingleReturn result;
             result.octsText = AsnOcts(LONG_TEXT);
             ProcessQAsnSingleReturn(&result);
             return "";
         }},
        {"Asn2Ems",
         [] {
             AsnIntList listAsn;
             std::list<int> listOut;
             Ems2Asn({1, 2, 3, 4, 5}, listAsn);
             Asn2Ems(listAsn, listOut);
             return Show(listOut);
         }},
        {"GetVirtaulNodeIDByNeID",
         [] {
             return Show(GetVirtaulNodeIDByNeID(1234567), GetVirtaulNodeIDByNeID(123456),
                         IsVirtualNodeID(5), IsVirtualNodeID("VNO=0,5"));
         }},
        {"GetBoolIntEnvVarFromDB",
         [] {
             int nValue = 3;
             return Show(GetBoolIntEnvVarFromDB("section", "key", nValue), nValue);
         }},
    };
}

// Standard output goes nowhere as long as it lives.
class Quiet {
public:
    Quiet() : m_nBefore(dup(STDOUT_FILENO)) {
        const base::CancelHold hold;
        std::fflush(stdout);
        const int nNowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nNowhere, STDOUT_FILENO);
        close(nNowhere);
    }
    ~Quiet() {
        const base::CancelHold hold;
        std::fflush(stdout);
        dup2(m_nBefore, STDOUT_FILENO);
        close(m_nBefore);
    }
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;

private:
    const int m_nBefore;
};

template <class Record>
Record Filled() {
    Record record;
    record.nUserId = 7;
    record.nCmd = 77;
    record.sOperInfo = LONG_TEXT;
    return record;
}

std::vector<Call> LogCalls() {
    return {
        {"TEOperationLog",
         [] {
             SOperateLogInfor plain = Filled<SOperateLogInfor>();
             plain.sOperObject = LONG_TEXT;
             const auto object = Filled<SOperateLogforObj>();
             const auto port = Filled<SOperateLogforPortObj>();
             return Show(TEOperationLog(plain, 4, 2), TEOperationLog(object), TEOperationLog(port));
         }},
        {"Printf",
         [] {
             const Quiet quiet;
             Filled<SOperateLogInfor>().Printf();
             Filled<SOperateLogforObj>().Printf();
             Filled<SOperateLogforPortObj>().Printf();
             return "";
         }},
        {"TNCommonLog",
         [] {
             TNCommonLog log;
             log.SetOperInfo(LONG_TEXT);
             log.AppendOperInfo(LONG_TEXT);
             log.SetOperObject(LONG_TEXT);
             TECmdMsg command{};
             command.msg.nCmd = 77;
             return Show(log.AddOperationLog(77, 1, 7, 0, 5, 4, 2),
                         log.AddOperationLog(&command.msg, 7, 0, 5, 4, 2),
                         log.AddOperationLog(&command, 7, 0, 5, 4, 2),
                         log.AddOperationLog(77, &command.msg, 7, 0, 5, 4, 2));
         }},
        {"TEDebugCommandMgr",
         [] {
             TEDebugCommandMgr& mgr = The<TEDebugCommandMgr>();
             mgr.AddDebugCommand(nullptr);
             mgr.RemoveDebugCommand(LONG_TEXT);
             mgr.RemoveDebugCommand(static_cast<TEDebugCommand*>(nullptr));
             return Show(mgr.Init(), mgr.Excute(LONG_TEXT));
         }},
        {"TEDebugCommandMgr::Destroy", [] { return TEDebugCommandMgr::Destroy(), ""; }},
        {"TELangResMgr::Destroy", [] { return TELangResMgr::Destroy(), ""; }},
        {"TNReqTimeoutIF::Destroy", [] { return TNReqTimeoutIF::Destroy(), ""; }},
    };
}

std::vector<Call> ModuleCalls() {
    // Its handler stays: a stop that fails would leave one more each time.
    ModuleMgr::Instance()->Modules().front()->Start();
    return {
        {"event 51",
         [] {
             ZembLogInfo info;
             return Show(TEEventMgr::Instance()->SendEvent(51, &info));
         }},
        {"ModuleObject",
         [] {
             ModuleObject& module = *ModuleMgr::Instance()->Modules().front();
             const int nStarted = module.Start();
             std::list<ModuleInterface*> listInterface;
             const int nListed = module.ListInterfaces(listInterface);
             auto& util = dynamic_cast<UtilIF&>(*module.QueryInterface("UtilIF", 0x1030001));
             return Show(nStarted, nListed, listInterface.size(), util.IsInt3Enabled(),
                         util.Reserved6(1, 2), util.Reserved7(1, 2), module.GetModuleName(),
                         module.GetModuleNumber(), module.Reserved(), module.Stop());
         }},
    };
}

}  // namespace

std::vector<Call> WorkCalls() {
    std::vector<Call> vecCall;
    for (const auto& Calls : {MutexCalls, TaskCalls, ReplyCalls, LogCalls, ModuleCalls})
        for (Call& call : Calls())
            vecCall.push_back(std::move(call));
    return vecCall;
}

}  // namespace faults
