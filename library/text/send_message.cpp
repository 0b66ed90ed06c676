#include "text/send_message.h"

#include "trace/trace_line.h"

#include "zemb/message.h"
#include "zemb/securec.h"
#include "zemb/task.h"

#include <cstring>
#include <memory>

namespace NSTN_util {

namespace {

constexpr std::uint32_t COMMAND_KIND = 10;
constexpr std::size_t PAYLOAD_MOST = UINT32_MAX - ZEMB_MSG_LENGTH_EXTRA;
constexpr int TAKEN = 1;

}  // namespace

bool SendMsgToModule(const RawMessage& message, const void* pPayload,
                     std::size_t nPayload) noexcept {
    bool bTaken = false;
    GuardedCall([&] {
        const std::unique_ptr<ZembCmdMSG, decltype(&ZembAppMgr::FreeMsg)> pMsg(
            nPayload > PAYLOAD_MOST ? nullptr : ZembAppMgr::AllocMsg(nPayload),
            &ZembAppMgr::FreeMsg);
        if (pMsg == nullptr)
            return Report("Fail to allocate memory\n");
        pMsg->nKind = COMMAND_KIND;
        pMsg->nMarker = ZEMB_MSG_MARKER;
        pMsg->nHandle = ZembAppMgr::OwnHandle();
        pMsg->nReplyHandle = ZembAppMgr::OwnHandle();
        pMsg->nClientAddr = message.nClientAddr;
        pMsg->nRequest = message.nRequest;
        pMsg->nCmd = message.nCmd;
        const ZembGnlTask* const pTask = ZembGetCurrentTask();
        pMsg->nTaskId = pTask == nullptr ? 0 : pTask->GetTaskId();
        pMsg->nModule = message.nModule;
        pMsg->nLength = static_cast<std::uint32_t>(nPayload) + ZEMB_MSG_LENGTH_EXTRA;
        if (nPayload != 0 && memcpy_s(pMsg.get() + 1, nPayload, pPayload, nPayload) != 0) {
            std::memset(pMsg.get() + 1, 0, nPayload);  // not what the memory held before
            Report("memcpy_s in SendMsgToModule failed. ");
        }
        bTaken = ZembAppMgr::ZembOutSendMsg(pMsg.get()) == TAKEN;
    });
    return bTaken;
}

}  // namespace NSTN_util
