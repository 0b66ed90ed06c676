#pragma once

#include "mutex/held_objects.h"
#include "mutex/place_opers.h"

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

    unsigned long AcquireMutexOper(int nOper, const std::list<TEOperObject>& listObj) override;
    unsigned long AcquireMutexOper(int nOper, const TEOperObject& obj) override;
    void ReleaseMutexOper(int nOper, const std::list<TEOperObject>& listObj) override;
    void ReleaseMutexOper(int nOper, const TEOperObject& obj) override;
    bool IsOperRunning(int nOper) override;
    bool HasRunningOper() override;
    bool LoadMutexCfg(const std::string& strFile) override;

private:
    unsigned long CodeOfBlocker_nolock(int nBlocker);
    void Record_nolock(int nOper, const std::list<TEOperObject>& listObj);
    void ReleaseOne_nolock(int nOper, const TEOperObject& obj);

    bool LoadLines_nolock(std::string_view strText);
    bool LoadTableLine_nolock(const std::string& strLine);
    bool LoadErrorCodeLine_nolock(const std::string& strLine);
    void RegisterMutex(int nOper1, int nOper2, bool bBoth);

    // Each running operation and how many objects it holds; 0 after a grant without objects. Which
    // objects: m_held.
    OperCounts m_mapRunningOper;
    OperCounter m_counterRunning;
    HeldObjects m_held;
    std::map<int, std::set<int>> m_mapMutexTable;  // requested operation -> what blocks it
    std::set<int> m_setExclusiveOper;              // exclude every other, in both directions
    std::map<int, unsigned long> m_mapErrorCode;   // blocking operation -> code for the refused
    ACE_Thread_Mutex m_lock;
};

}  // namespace NSTE_util
