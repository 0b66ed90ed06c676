#include "session.h"

#include "base/root_files.h"
#include "check/text_lines.h"
#include "commands/task_runner.h"
#include "commands/trail_holder.h"
#include "view/output.h"
#include "view/record.h"
#include "view/taken_prints.h"

#include "tovelkarin/nml_filemgr.h"
#include "tovelkarin/tnreqtimeout.h"
#include "tovelkarin/tnthreadmgr.h"

#include "zemb/module.h"
#include "zemb/operlog_store.h"
#include "zemb/settings.h"

#include <pthread.h>

#include <filesystem>

// What the commands of one run share, and its end. The module is started when the first command
// needs it. At the end everything is given back, the modules are stopped and threads are waited
// for; the operation log is flushed even if one of these failed.
namespace host {

namespace {

constexpr int WAIT_SECONDS = 30;

// Registrations of this thread end here; others are waited for.
void WaitForThreads() {
    NSTN_util::TNThreadMgr& mgr = *NSTN_util::TNThreadMgr::Instance();
    while (mgr.GetAllInfo().count(pthread_self()) != 0)
        mgr.UnRegist_Thread();
    if (!mgr.CheckNotExistThread() && !mgr.WaitingThreadExit(WAIT_SECONDS))
        Complain("threads are still busy; the log tells which");
}

void FlushOperLog() {
    const std::size_t nKept = zemb::FlushOperLog();
    if (nKept != 0)
        throw CommandError(SYSTEM_FAILED, Counted(nKept, "entry", "entries") +
                                              " of the operation log could not be written to " +
                                              zemb::OperLogFile());
}

}  // namespace

Session::Session() = default;

Session::~Session() {
    End();
}

int Session::End() {
    int nStatus = DONE;
    const auto Try = [&](auto fn) {
        try {
            fn();
        } catch (const std::exception& error) {
            Complain(error.what());
            nStatus = SYSTEM_FAILED;
        }
    };
    if (m_bEnded)
        return nStatus;
    m_bEnded = true;
    Try([this] { Stop(); });
    Try(FlushOperLog);
    return nStatus;
}

void Session::Start(bool bAgain) {
    if (m_bStarted || (m_bStopped && !bAgain))
        return;
    const std::string strRoot = NSTE_util::GetZEMBRootPath();
    std::error_code ignored;  // what cannot be looked at is not loaded
    if (strRoot.empty())
        Complain(
            "no installation root, so no settings and no table file: give --root DIR or set "
            "ZEMB_ROOT");
    else if (!std::filesystem::is_directory(strRoot, ignored))
        throw CommandError(SYSTEM_FAILED, strRoot + ": the installation root is no folder");
    std::string strError;
    if (!ModuleMgr::Instance()->StartModules(strError))
        throw CommandError(SYSTEM_FAILED, strError);
    m_bStarted = true;
    const std::string strTable = strRoot + base::MUTEX_TABLE_UNDER_ROOT;
    if (!m_bTableLoaded && !strRoot.empty() && std::filesystem::exists(strTable, ignored))
        LoadTable(strTable);
    const std::string strTimeouts = strRoot + base::TIMEOUTS_UNDER_ROOT;
    if (!m_bTableLoaded && !strRoot.empty() && std::filesystem::exists(strTimeouts, ignored))
        LoadTimeouts(strTimeouts);
    m_bTableLoaded = true;
}

void Session::Stop() {
    if (!m_bStarted)
        return;
    m_bStarted = false;
    m_bStopped = true;
    pTaskRunner = nullptr;  // what it runs goes on to its end
    mapTrail.clear();
    while (!ledger.Grants().empty()) {
        const std::unique_ptr<Grant> pGrant = ledger.Take(ledger.Grants().front().nId);
        if (!pGrant->IsInGuard())
            NSTE_util::TEMutexOperMgr::Instance()->ReleaseMutexOper(pGrant->nOper, pGrant->listObj);
    }
    std::string strError;
    if (!ModuleMgr::Instance()->StopModules(strError))
        throw CommandError(SYSTEM_FAILED, strError);
    WaitForThreads();
}

bool Session::LoadTable(const std::string& strFile) {
    ledger.table.Read(strFile);
    const bool bGood = NSTE_util::TEMutexOperMgr::Instance()->LoadMutexCfg(PathOfInput(strFile));
    if (!bGood)
        TellBadLines(strFile);
    return bGood;
}

void Session::TellBadLines(const std::string& strFile) {
    Complain(strFile + ": some lines are bad and were left out; see 'tovelkarin check mutex " +
             strFile + "'");
}

std::string Session::LoadTimeouts(const std::string& strFile) {
    if (strFile.empty())
        return m_strTimeoutFile;
    const std::string strPath = PathOfInput(strFile);
    if (!NSTN_util::IsFile(strPath))
        throw CommandError(SYSTEM_FAILED, strFile + ": no such time-out file");
    TimeoutFile file(strFile);
    TakenPrints prints;
    const bool bGood = NSTE_util::TNReqTimeoutIF::Instance()->LoadTimeoutCfgFile(strPath) != 0;
    if (const std::string strPrinted = prints.Take(); !strPrinted.empty())
        Complain(strPrinted);
    if (!bGood)
        Complain("see 'tovelkarin check timeouts " + strFile + "'");
    if (timeouts)
        timeouts->LoadOver(file);
    else
        timeouts = std::move(file);
    m_strTimeoutFile = strFile;
    return strFile;
}

std::string Session::RequireState(const std::string& strFile) {
    if (strFile.empty())
        throw CommandError(WRONG_USAGE, "where? give --state DIR or --root DIR", EName::COMMAND);
    return strFile;
}

void Session::EchoTrace(bool bOn) {
    m_pEcho.reset();
    if (!bOn)
        return;
    m_pEcho = std::make_unique<zemb::ScopedDebugSink>(
        [this](const zemb::DebugLine& line) {
            out.Put(
                "    log " + line.strModule + " " + line.strKind + " | " + line.strText,
                RecordOf(
                    {{"module", line.strModule}, {"kind", line.strKind}, {"text", line.strText}}));
        },
        true);
}

}  // namespace host
