#pragma once

#include "zemb/export.h"
#include "zemb/message.h"

#include <cstdint>
#include <functional>
#include <string_view>

namespace zemb {

// Takes the messages for a module number as long as it lives; on other threads a call may still be
// under way when it goes. One a number: while one is there, a further one gets nothing.
class ZEMB_API ScopedReceiver {
public:
    // Called on the sender's thread, with no lock of the platform held.
    using Receiver = std::function<void(const ZembCmdMSG& msg, std::string_view strPayload)>;
    ScopedReceiver(std::uint32_t nModule, Receiver receiver);
    ~ScopedReceiver();
    ScopedReceiver(const ScopedReceiver&) = delete;
    ScopedReceiver& operator=(const ScopedReceiver&) = delete;

    bool IsRegistered() const { return m_bRegistered; }

private:
    const std::uint32_t m_nModule;
    bool m_bRegistered;
};

}  // namespace zemb
