#pragma once

#include <cstddef>
#include <cstdint>

// Header of a command message: words of 32 bits in host order. The payload follows it.
struct ZembCmdMSG {
    std::uint32_t nKind;          // what sort of message
    std::uint32_t nClientAddr;    // IPv4 address of the client, most significant byte first
    std::uint32_t nClientHandle;  // these three, with the address, name the request of a client
    std::uint32_t nSession;
    std::uint32_t nRequest;
    std::uint32_t nCmd;     // command number
    std::uint32_t nLength;  // bytes of payload behind the header
};

// A command message as the frameworks of the server processes hand it on.
struct TECmdMsg {
    ZembCmdMSG msg;
};

constexpr std::size_t ZEMB_MSG_CLIENT_ADDR = 4;
constexpr std::size_t ZEMB_MSG_REQUEST_WORDS[] = {4, 8, 12, 16};
constexpr std::size_t ZEMB_MSG_CMD = 20;

static_assert(offsetof(ZembCmdMSG, nClientAddr) == ZEMB_MSG_CLIENT_ADDR);
static_assert(offsetof(ZembCmdMSG, nClientAddr) == ZEMB_MSG_REQUEST_WORDS[0]);
static_assert(offsetof(ZembCmdMSG, nClientHandle) == ZEMB_MSG_REQUEST_WORDS[1]);
static_assert(offsetof(ZembCmdMSG, nSession) == ZEMB_MSG_REQUEST_WORDS[2]);
static_assert(offsetof(ZembCmdMSG, nRequest) == ZEMB_MSG_REQUEST_WORDS[3]);
static_assert(offsetof(ZembCmdMSG, nCmd) == ZEMB_MSG_CMD);
static_assert(sizeof(ZembCmdMSG) == 28, "words of 32 bits without gaps");
