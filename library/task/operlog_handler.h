#pragma once

#include "zemb/event.h"

namespace NSTN_util {

// The event that asks for an operation-log entry; its data is a ZembLogInfo.
constexpr int EVENT_WRITE_OPERLOG = 51;

class TNWriteOperLogHandler final : public TEEventHandler {
public:
    // Keeps hold of the handler of the start before: an event may be on its way to it.
    explicit TNWriteOperLogHandler(const TNWriteOperLogHandler* pBefore = nullptr)
        : m_pBefore(pBefore) {}

    // Writes the entry of an event 51; -1 when it is not on the disk. Anything else: 0.
    int HandleEvent(int nEvent, void* pData) override;
    const TNWriteOperLogHandler* Before() const { return m_pBefore; }

private:
    const TNWriteOperLogHandler* const m_pBefore;
};

}  // namespace NSTN_util
