#pragma once

#include "zemb/event.h"

namespace NSTN_util {

// The event that asks for an operation-log entry; its data is a ZembLogInfo.
constexpr int EVENT_WRITE_OPERLOG = 51;

class TNWriteOperLogHandler final : public TEEventHandler {
public:
    // Writes the entry of an event 51; -1 when it is not on the disk. Anything else: 0.
    int HandleEvent(int nEvent, void* pData) override;
};

}  // namespace NSTN_util
