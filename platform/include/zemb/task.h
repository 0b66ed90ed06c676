#pragma once

#include "zemb/export.h"
#include "zemb/message.h"

// A unit of work that a command message has started.
class ZEMB_API ZembGnlTask {
public:
    // The task looks at pReqMsg, which must live as long as it; null: a task without a request.
    explicit ZembGnlTask(ZembCmdMSG* pReqMsg = nullptr);
    virtual ~ZembGnlTask();
    ZembGnlTask(const ZembGnlTask&) = delete;
    ZembGnlTask& operator=(const ZembGnlTask&) = delete;

    virtual ZembCmdMSG* GetCurReqMsg();  // may be null

private:
    ZembCmdMSG* m_pReqMsg;
};

// The task that the calling thread works on, or null.
ZEMB_API ZembGnlTask* ZembGetCurrentTask();
