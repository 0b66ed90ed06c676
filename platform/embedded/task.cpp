#include "zemb/task.h"

#include "zemb/control.h"

namespace {
thread_local ZembGnlTask* t_pTask = nullptr;
}

ZembGnlTask::ZembGnlTask(ZembCmdMSG* pReqMsg) : m_pReqMsg(pReqMsg) {}

ZembGnlTask::~ZembGnlTask() = default;

ZembCmdMSG* ZembGnlTask::GetCurReqMsg() {
    return m_pReqMsg;
}

ZembGnlTask* ZembGetCurrentTask() {
    return t_pTask;
}

namespace zemb {

ScopedTask::ScopedTask(ZembGnlTask* pTask) : m_pBefore(t_pTask) {
    t_pTask = pTask;
}

ScopedTask::~ScopedTask() {
    t_pTask = m_pBefore;
}

}  // namespace zemb
