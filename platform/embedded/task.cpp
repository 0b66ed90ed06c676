#include "zemb/task.h"

#include "embedded/black_box.h"
#include "embedded/fault_point.h"
#include "zemb/control.h"
#include "zemb/debug.h"
#include "zemb/progress.h"

#include <atomic>

namespace {
thread_local ZembGnlTask* t_pTask __attribute__((tls_model("initial-exec"))) = nullptr;
std::atomic<std::uint32_t> g_nLastTaskId{0};
}  // namespace

ZembGnlTask::ZembGnlTask(ZembCmdMSG* pReqMsg, const NSTE_util::TETaskContext* pContext)
    : m_pReqMsg(pReqMsg), m_pContext(pContext), m_nTaskId(++g_nLastTaskId) {}

// Another task may get the same address: nothing of this one may be left.
ZembGnlTask::~ZembGnlTask() {
    try {
        NSTE_util::ProgressMgr::Instance()->UnRegister(this);
    } catch (...) {
        NSTE_util::WriteException("a task that ended could not be forgotten");
    }
}

ZembCmdMSG* ZembGnlTask::GetCurReqMsg() {
    return m_pReqMsg;
}

ZembGnlTask* ZembGetCurrentTask() {
    if (zemb::IsFaulty("ZembGetCurrentTask"))
        return nullptr;
    return t_pTask;
}

namespace NSTE_util {

const TETaskContext* GetTaskContext() {
    return t_pTask == nullptr || zemb::IsFaulty("GetTaskContext") ? nullptr : t_pTask->GetContext();
}

}  // namespace NSTE_util

namespace zemb {

ZembGnlTask* CurrentTask() noexcept {
    return t_pTask;
}

ScopedTask::ScopedTask(ZembGnlTask* pTask) : m_pBefore(t_pTask) {
    t_pTask = pTask;
}

ScopedTask::~ScopedTask() {
    t_pTask = m_pBefore;
}

}  // namespace zemb
