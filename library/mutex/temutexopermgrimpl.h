#pragma once

#include "mutex/held_objects.h"
#include "mutex/live_call.h"
#include "mutex/mutex_table.h"

#include "tovelkarin/temutexopermgr.h"

#include <ace/Thread_Mutex.h>

#include <map>
#include <set>
#include <string>
#include <string_view>

namespace NSTE_util {

class TEMutexOperMgrImpl final : public TEMutexOperMgr {
public:
    TEMutexOperMgrImpl();
    ~TEMutexOperMgrImpl() override;

    unsigned long AcquireMutexOper(int nOper, const std::list<TEOperObject>& listObj) override;
    unsigned long AcquireMutexOper(int nOper, const TEOperObject& obj) override;
    void ReleaseMutexOper(int nOper, const std::list<TEOperObject>& listObj) override;
    void ReleaseMutexOper(int nOper, const TEOperObject& obj) override;
    bool IsOperRunning(int nOper) override;
    bool HasRunningOper() override;
    bool LoadMutexCfg(const std::string& strFile) override;

private:
    unsigned long CodeOfBlocker_nolock(int nBlocker);
    struct InTheWay;
    InTheWay FindInTheWay_nolock(int nOper, const std::list<TEOperObject>& listObj,
                                 const MutexTable::Blockers& blockers);
    void Record_nolock(int nOper, const std::list<TEOperObject>& listObj,
                       const LiveCall<std::list<TEOperObject>>& call);
    bool IsRunning_nolock(int nOper) const;
    bool ReleaseOne_nolock(int nOper, const TEOperObject& obj);

    bool LoadLines_nolock(std::string_view strText);
    bool LoadTableLine_nolock(const std::string& strLine);
    bool LoadErrorCodeLine_nolock(const std::string& strLine);

    MutexTable m_table;
    HeldObjects m_held{m_table};                  // the running operations and what they hold
    std::set<int> m_setRunsOnNone;                // the running operations that hold nothing
    std::map<int, unsigned long> m_mapErrorCode;  // blocking operation -> code for the refused
    ACE_Thread_Mutex m_lock;
};

}  // namespace NSTE_util
