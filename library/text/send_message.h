#pragma once

#include <cstddef>
#include <cstdint>

namespace NSTN_util {

// Whom a raw command message is from, and what it asks for.
struct RawMessage {
    std::uint32_t nClientAddr;
    std::uint32_t nRequest;
    std::uint32_t nCmd;
    std::uint32_t nModule;  // number of the module that it is for
};

// Sends a message with a payload, which is copied, to a module of the process; true when a receiver
// has taken it. A payload that cannot be copied, such as null with a size, is sent as zeroes (line:
// "memcpy_s in SendMsgToModule failed. "). Line besides: "Fail to allocate memory\n". Cost: linear
// in the payload.
bool SendMsgToModule(const RawMessage& message, const void* pPayload,
                     std::size_t nPayload) noexcept;

}  // namespace NSTN_util
