#pragma once

#include "zemb/export.h"

#include <cstddef>
#include <cstdint>

// Header of a command message: words of 32 bits in host order. The payload follows it.
struct ZembCmdMSG {
    std::uint32_t nKind;         // what sort of message
    std::uint32_t nClientAddr;   // IPv4 address of the client, most significant byte first
    std::uint32_t nHandle;       // of the sending process; these three, with the address, name the
    std::uint32_t nReplyHandle;  // request of a client
    std::uint32_t nRequest;
    std::uint32_t nCmd;     // command number
    std::uint32_t nMarker;  // ZEMB_MSG_MARKER
    std::uint32_t nTaskId;  // of the task that sent it; 0: none
    std::uint32_t nModule;  // number of the module it is for
    std::uint32_t nLength;  // bytes of payload behind the header, and 2
};

// A command message as the frameworks of the server processes hand it on.
struct TECmdMsg {
    ZembCmdMSG msg;
};

// Where the payload begins, in bytes from the beginning of the message.
constexpr std::size_t ZEMB_MSG_PAYLOAD = 40;
// What every message carries, and what the length counts beside the payload.
constexpr std::uint32_t ZEMB_MSG_MARKER = 0xAB00AB;
constexpr std::uint32_t ZEMB_MSG_LENGTH_EXTRA = 2;

// Modules that were built apart agree on these places.
static_assert(offsetof(ZembCmdMSG, nClientAddr) == 4 && offsetof(ZembCmdMSG, nHandle) == 8);
static_assert(offsetof(ZembCmdMSG, nReplyHandle) == 12 && offsetof(ZembCmdMSG, nRequest) == 16);
static_assert(offsetof(ZembCmdMSG, nCmd) == 20);
static_assert(offsetof(ZembCmdMSG, nMarker) == 24 && offsetof(ZembCmdMSG, nTaskId) == 28);
static_assert(offsetof(ZembCmdMSG, nModule) == 32 && offsetof(ZembCmdMSG, nLength) == 36);
static_assert(sizeof(ZembCmdMSG) == ZEMB_MSG_PAYLOAD, "words of 32 bits without gaps");

// Messages between the modules of a process. Any thread.
class ZEMB_API ZembAppMgr {
public:
    // A message with room for a payload, its header all zero; null without memory. FreeMsg takes it
    // back.
    static ZembCmdMSG* AllocMsg(std::size_t nPayload) noexcept;
    static void FreeMsg(ZembCmdMSG* pMsg) noexcept;  // null does nothing

    // The handle of this process.
    static std::uint32_t OwnHandle();

    // Hands a message to the receiver of its module, on this thread; the message stays the
    // caller's. 1; 0 for null, for a message whose marker or length is no good, and without a
    // receiver; -1 when the receiver throws, which is noted in the default channel.
    static int ZembOutSendMsg(const ZembCmdMSG* pMsg);
};
