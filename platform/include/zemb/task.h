#pragma once

#include "zemb/export.h"
#include "zemb/message.h"

namespace NSTE_util {

// Whose work a task does.
struct TETaskContext {
    int nUserId = 0;

    int GetUserID() const { return nUserId; }
};

}  // namespace NSTE_util

// A unit of work that a command message has started.
class ZEMB_API ZembGnlTask {
public:
    // The task looks at pReqMsg, which must live as long as it; null: a task without a request.
    // Likewise pContext; null: without a context.
    explicit ZembGnlTask(ZembCmdMSG* pReqMsg = nullptr,
                         const NSTE_util::TETaskContext* pContext = nullptr);
    virtual ~ZembGnlTask();
    ZembGnlTask(const ZembGnlTask&) = delete;
    ZembGnlTask& operator=(const ZembGnlTask&) = delete;

    virtual ZembCmdMSG* GetCurReqMsg();  // may be null

    const NSTE_util::TETaskContext* GetContext() const { return m_pContext; }
    // Counts the tasks of the process from 1.
    std::uint32_t GetTaskId() const { return m_nTaskId; }

private:
    ZembCmdMSG* m_pReqMsg;
    const NSTE_util::TETaskContext* m_pContext;
    const std::uint32_t m_nTaskId;
};

// The task that the calling thread works on, or null.
ZEMB_API ZembGnlTask* ZembGetCurrentTask();

namespace NSTE_util {

// The context of the calling thread's task, or null.
ZEMB_API const TETaskContext* GetTaskContext();

}  // namespace NSTE_util
