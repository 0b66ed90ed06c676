#pragma once

#include "zemb/task_pool.h"

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace host {

// An operation on an NE.
struct TaskOrder {
    int nOper = 0;
    int nNe = 0;
    int nUser = 1;
    int nSteps = 4;
    bool bFail = false;  // the NE does not answer in time
};

// Runs operations as a server process does. What was started in the background stays at its first
// step until it is aborted or told to go on.
class TaskRunner {
public:
    TaskRunner();
    ~TaskRunner();  // lets everything go on, and waits
    TaskRunner(const TaskRunner&) = delete;
    TaskRunner& operator=(const TaskRunner&) = delete;

    // Runs one now; its result code.
    unsigned long Run(const TaskOrder& order);

    // Returns the number of the new task, when it has its first step behind it or is at its end.
    int Start(const TaskOrder& order);
    // False for a task that is not there, or has ended.
    bool Abort(int nId);
    bool GoOn(int nId);

    struct Row {
        int nId;
        TaskOrder order;
        std::string strState;  // "running", or how it ended
    };
    std::vector<Row> All();

private:
    struct Background;

    void Wait(Background& task);

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::map<int, std::unique_ptr<Background>> m_mapTask;
    zemb::TaskPool m_pool;
};

}  // namespace host
