#pragma once

#include "tovelkarin/export.h"

#include <atomic>
#include <list>
#include <memory>
#include <string>

class ACE_Thread_Mutex;
class TEDebugCommand;

namespace NSTN_util {

// The debug commands of the process. The registry is inert: it takes no command, and every text
// that is executed answers "". Nothing is thrown, not even by a command's own name operation.
class TN_API TEDebugCommandMgr {
public:
    // The one registry, made at the first call. Null only when the process-wide static-object lock
    // cannot be taken, or memory is lacking, and no registry is there yet.
    static TEDebugCommandMgr* Instance();
    // Deletes the registry; nothing without one. Nobody may be using it.
    static void Destroy();

    ~TEDebugCommandMgr();
    TEDebugCommandMgr(const TEDebugCommandMgr&) = delete;
    TEDebugCommandMgr& operator=(const TEDebugCommandMgr&) = delete;

    // Does nothing. 0.
    int Init();

    // Does not store the command, which stays the caller's. 0.
    int AddDebugCommand(TEDebugCommand* pCmd);

    // Deletes the first stored command of exactly this name. One thread at a time, or by the other
    // form, which does it under the registry's lock; null does nothing. Cost: linear in the
    // commands.
    void RemoveDebugCommand(const std::string& strName);
    void RemoveDebugCommand(TEDebugCommand* pCmd);

    // "" for any text.
    std::string Excute(std::string strCmd);

protected:
    TEDebugCommandMgr();

    std::list<TEDebugCommand*> m_listCommand;
    const std::unique_ptr<ACE_Thread_Mutex> m_lock;

    static std::atomic<TEDebugCommandMgr*> m_pInstance;
};

}  // namespace NSTN_util
