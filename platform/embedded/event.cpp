#include "zemb/event.h"

#include "base/cancel_hold.h"
#include "base/immortal.h"
#include "embedded/fault_point.h"
#include "embedded/thrown.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <string>
#include <vector>

TEEventHandler::~TEEventHandler() = default;
TEEventMgr::~TEEventMgr() = default;

namespace {

int CallHandler(TEEventHandler& handler, int nEvent, void* pData) {
    const base::CancelHold hold;
    const std::string strError = "event " + std::to_string(nEvent) + ": a handler threw";
    try {
        return handler.HandleEvent(nEvent, pData);
    } catch (...) {
        zemb::WriteThrown(strError.c_str());
        return -1;
    }
}

class EventMgr final : public TEEventMgr {
public:
    int RegisterHandler(TEEventHandler* pHandler, int nEvent, int /*nFlag*/) override {
        if (pHandler == nullptr || zemb::IsFaulty("RegisterHandler"))
            return -1;
        std::lock_guard<std::mutex> guard(m_lock);
        std::vector<TEEventHandler*>& vecHandler = m_mapHandler[nEvent];
        if (std::find(vecHandler.begin(), vecHandler.end(), pHandler) != vecHandler.end())
            return -1;
        vecHandler.push_back(pHandler);
        return 0;
    }

    int UnRegisterHandler(TEEventHandler* pHandler, int nEvent) override {
        if (zemb::IsFaulty("UnRegisterHandler"))
            return -1;
        std::lock_guard<std::mutex> guard(m_lock);
        std::vector<TEEventHandler*>& vecHandler = m_mapHandler[nEvent];
        const auto it = std::find(vecHandler.begin(), vecHandler.end(), pHandler);
        if (it == vecHandler.end())
            return -1;
        vecHandler.erase(it);
        return 0;
    }

    int SendEvent(int nEvent, void* pData) override {
        std::vector<TEEventHandler*> vecHandler;
        {
            std::lock_guard<std::mutex> guard(m_lock);
            const auto it = m_mapHandler.find(nEvent);
            if (it != m_mapHandler.end())
                vecHandler = it->second;
        }
        return static_cast<int>(std::count_if(
            vecHandler.begin(), vecHandler.end(),
            [&](TEEventHandler* pHandler) { return CallHandler(*pHandler, nEvent, pData) == 0; }));
    }

private:
    std::mutex m_lock;
    std::map<int, std::vector<TEEventHandler*>> m_mapHandler;
};

}  // namespace

TEEventMgr* TEEventMgr::Instance() {
    static base::Immortal<EventMgr> manager;
    return &*manager;
}
