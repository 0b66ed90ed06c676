#include "tovelkarin/tedebugcommandmgr.h"

#include "trace/guarded_call.h"
#include "trace/singleton.h"

#include "zemb/debug.h"

#include <ace/Guard_T.h>
#include <ace/Thread_Mutex.h>

#include <algorithm>
#include <iostream>

namespace NSTN_util {

std::atomic<TEDebugCommandMgr*> TEDebugCommandMgr::m_pInstance{nullptr};

TEDebugCommandMgr* TEDebugCommandMgr::Instance() {
    return CreateOnce(m_pInstance, [] { return new TEDebugCommandMgr; });
}

void TEDebugCommandMgr::Destroy() {
    DestroyOnce(m_pInstance);
}

TEDebugCommandMgr::TEDebugCommandMgr() : m_lock(std::make_unique<ACE_Thread_Mutex>()) {}

TEDebugCommandMgr::~TEDebugCommandMgr() = default;

int TEDebugCommandMgr::Init() {
    return 0;
}

// Deliberate: nothing is ever registered.
int TEDebugCommandMgr::AddDebugCommand(TEDebugCommand* /*pCmd*/) {
    return 0;
}

void TEDebugCommandMgr::RemoveDebugCommand(const std::string& strName) {
    GuardedCall([&] {
        const auto it =
            std::find_if(m_listCommand.begin(), m_listCommand.end(),
                         [&](TEDebugCommand* pCommand) { return pCommand->GetName() == strName; });
        if (it == m_listCommand.end())
            return;
        TEDebugCommand* const pCommand = *it;
        m_listCommand.erase(it);
        delete pCommand;
    });
}

void TEDebugCommandMgr::RemoveDebugCommand(TEDebugCommand* pCmd) {
    if (pCmd == nullptr)
        return;
    GuardedCall([&] {
        const ACE_Guard<ACE_Thread_Mutex> guard(*m_lock);
        RemoveDebugCommand(pCmd->GetName());
    });
}

std::string TEDebugCommandMgr::Excute(std::string /*strCmd*/) {
    return "";
}

}  // namespace NSTN_util
