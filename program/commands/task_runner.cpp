#include "commands/task_runner.h"

#include "commands/mission.h"
#include "view/output.h"

#include "tovelkarin/temutexoperguard.h"
#include "tovelkarin/teoperationlog.h"
#include "tovelkarin/tnnereply.h"
#include "tovelkarin/tnprogress.h"
#include "tovelkarin/tnthreadmgr.h"

#include "zemb/progress_view.h"

#include <functional>
#include <future>

// Runs an operation from the command to the log entry, on the threads of a pool. A task in the
// background waits behind its first step until it is told to go on; so scripts can look at it while
// it holds its NE, and always see the same.
namespace host {

namespace {

using NSTE_util::TNProgressIF;

constexpr unsigned long NE_TIME_OUT = 0x4108C002;
constexpr std::size_t THREADS = 8;
constexpr std::size_t QUEUE = 64;

// What a server process does for a command: exclusion, progress, the reply of the NE, the log.
unsigned long RunOperation(ZembGnlTask& task, const TaskOrder& order,
                           const std::function<void()>& afterStep) {
    const NSTN_util::TNThreadGuard busy("operation " + std::to_string(order.nOper));
    TNProgressIF& progress = *TNProgressIF::Instance();
    const Mission mission(task);
    NSTN_util::TNCommonLog log;
    log.SetOperObject(NSTN_util::GetVirtaulNodeIDByNeID(order.nNe));
    log.SetOperInfo("operation " + std::to_string(order.nOper));
    const NSTE_util::TEMutexOperNEGuard guard(order.nNe);
    unsigned long nResult = guard.m_nResult;
    if (nResult == 0) {
        progress.SetProgressSection(100, order.nSteps);
        for (int i = 0; i < order.nSteps && !progress.IsAbort(); ++i) {
            progress.SendSectionStep(("step " + std::to_string(i + 1)).c_str());
            afterStep();
        }
        qcommon::QAsnErrInfoReturn reply;
        reply.nCode = order.bFail ? NE_TIME_OUT : 0;
        NSTN_util::ProcessMultiNEReqResult(reply);
        nResult = reply.nCode;
        log.AppendOperInfo(progress.IsAbort() ? "aborted"
                           : nResult == 0     ? "done"
                                              : "the NE did not answer in time");
    } else {
        log.AppendOperInfo("refused");
    }
    log.AddOperationLog(task.GetCurReqMsg(), NSTN_util::GetUserID(), static_cast<int>(nResult),
                        static_cast<unsigned long>(order.nNe), OPERATION_LEVEL, PROGRAM_CATEGORY);
    return nResult;
}

}  // namespace

struct TaskRunner::Background {
    TaskOrder order;
    std::string strState = "waiting";
    const ZembGnlTask* pTask = nullptr;  // while it runs
    bool bGoOn = false;
};

TaskRunner::TaskRunner() : m_pool(THREADS, QUEUE) {}

TaskRunner::~TaskRunner() {
    for (const Row& row : All())
        GoOn(row.nId);
    m_pool.Wait();
}

unsigned long TaskRunner::Run(const TaskOrder& order) {
    std::promise<unsigned long> result;
    m_pool.Submit(CommandMessage(order.nOper), {order.nUser}, [&](ZembGnlTask& task) {
        try {
            result.set_value(RunOperation(task, order, [] {}));
        } catch (...) {
            result.set_exception(std::current_exception());
        }
    });
    return result.get_future().get();
}

int TaskRunner::Start(const TaskOrder& order) {
    std::unique_lock<std::mutex> guard(m_lock);
    const int nId = static_cast<int>(m_mapTask.size()) + 1;
    Background& background = *(m_mapTask[nId] = std::make_unique<Background>());
    background.order = order;
    guard.unlock();
    m_pool.Submit(CommandMessage(order.nOper), {order.nUser},
                  [this, &background](ZembGnlTask& task) {
                      {
                          const std::lock_guard<std::mutex> lock(m_lock);
                          background.pTask = &task;
                      }
                      std::string strError;
                      unsigned long nResult = 0;
                      try {
                          nResult = RunOperation(task, background.order, [&] { Wait(background); });
                      } catch (const std::exception& error) {
                          strError = error.what();
                      }
                      const std::lock_guard<std::mutex> lock(m_lock);
                      background.pTask = nullptr;
                      background.strState = !strError.empty() ? "failed: " + strError
                                            : nResult != 0    ? "ended with " + Hex(nResult)
                                            : background.strState == "aborting" ? "aborted"
                                                                                : "done";
                      m_changed.notify_all();
                  });
    guard.lock();
    m_changed.wait(guard, [&] { return background.strState != "waiting"; });
    return nId;
}

// Called after each step: the first one waits.
void TaskRunner::Wait(Background& task) {
    std::unique_lock<std::mutex> guard(m_lock);
    if (task.strState == "waiting")
        task.strState = "running";
    m_changed.notify_all();
    m_changed.wait(guard, [&] { return task.bGoOn; });
}

bool TaskRunner::Abort(int nId) {
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        const auto it = m_mapTask.find(nId);
        if (it == m_mapTask.end() || it->second->pTask == nullptr ||
            !zemb::AbortTask(it->second->pTask))
            return false;
        it->second->strState = "aborting";
    }
    return GoOn(nId);
}

bool TaskRunner::GoOn(int nId) {
    std::unique_lock<std::mutex> guard(m_lock);
    const auto it = m_mapTask.find(nId);
    if (it == m_mapTask.end() || it->second->pTask == nullptr)
        return false;
    it->second->bGoOn = true;
    m_changed.notify_all();
    m_changed.wait(guard, [&] { return it->second->pTask == nullptr; });
    return true;
}

std::vector<TaskRunner::Row> TaskRunner::All() {
    const std::lock_guard<std::mutex> guard(m_lock);
    std::vector<Row> vecRow;
    for (const auto& [nId, pTask] : m_mapTask)
        vecRow.push_back({nId, pTask->order, pTask->strState});
    return vecRow;
}

}  // namespace host
