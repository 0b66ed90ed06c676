#include "zemb/message.h"

#include "base/cancel_hold.h"
#include "base/immortal.h"
#include "embedded/fault_point.h"
#include "embedded/thrown.h"
#include "zemb/receiver.h"

#include <unistd.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

// Messages go to the receiver that is registered for their module, on the sender's thread and
// without a lock held. A receiver is shared by those who call it, so it may be taken out while a
// message is on its way.

namespace {

using Receiver = zemb::ScopedReceiver::Receiver;

struct Receivers {
    std::mutex lock;
    std::map<std::uint32_t, std::shared_ptr<const Receiver>> mapReceiver;
};

Receivers& AllReceivers() {
    static base::Immortal<Receivers> receivers;
    return *receivers;
}

std::shared_ptr<const Receiver> Find(std::uint32_t nModule) {
    Receivers& receivers = AllReceivers();
    const std::lock_guard<std::mutex> guard(receivers.lock);
    const auto it = receivers.mapReceiver.find(nModule);
    return it == receivers.mapReceiver.end() ? nullptr : it->second;
}

}  // namespace

ZembCmdMSG* ZembAppMgr::AllocMsg(std::size_t nPayload) noexcept {
    if (nPayload > SIZE_MAX - ZEMB_MSG_PAYLOAD || zemb::IsFaultyNoThrow("AllocMsg"))
        return nullptr;
    auto* const pMsg = static_cast<ZembCmdMSG*>(std::malloc(ZEMB_MSG_PAYLOAD + nPayload));
    if (pMsg != nullptr)
        *pMsg = {};
    return pMsg;
}

void ZembAppMgr::FreeMsg(ZembCmdMSG* pMsg) noexcept {
    std::free(pMsg);
}

std::uint32_t ZembAppMgr::OwnHandle() {
    return static_cast<std::uint32_t>(getpid());
}

int ZembAppMgr::ZembOutSendMsg(const ZembCmdMSG* pMsg) {
    if (zemb::IsFaulty("ZembOutSendMsg"))
        return -1;
    if (pMsg == nullptr || pMsg->nMarker != ZEMB_MSG_MARKER ||
        pMsg->nLength < ZEMB_MSG_LENGTH_EXTRA)
        return 0;
    const std::shared_ptr<const Receiver> pReceiver = Find(pMsg->nModule);
    if (pReceiver == nullptr)
        return 0;
    const base::CancelHold hold;
    try {
        (*pReceiver)(*pMsg, {reinterpret_cast<const char*>(pMsg) + ZEMB_MSG_PAYLOAD,
                             pMsg->nLength - ZEMB_MSG_LENGTH_EXTRA});
        return 1;
    } catch (...) {
        zemb::WriteThrown("a receiver of messages threw");
        return -1;
    }
}

namespace zemb {

ScopedReceiver::ScopedReceiver(std::uint32_t nModule, Receiver receiver) : m_nModule(nModule) {
    Receivers& receivers = AllReceivers();
    const std::lock_guard<std::mutex> guard(receivers.lock);
    m_bRegistered = receivers.mapReceiver
                        .try_emplace(nModule, std::make_shared<const Receiver>(std::move(receiver)))
                        .second;
}

ScopedReceiver::~ScopedReceiver() {
    if (!m_bRegistered)
        return;
    Receivers& receivers = AllReceivers();
    const std::lock_guard<std::mutex> guard(receivers.lock);
    receivers.mapReceiver.erase(m_nModule);
}

}  // namespace zemb
