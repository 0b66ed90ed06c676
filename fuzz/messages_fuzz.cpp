#include "tests/naive/byte_source.h"

#include "zemb/message.h"
#include "zemb/progress.h"
#include "zemb/receiver.h"

#include <cstring>
#include <memory>

// A message of any header and payload reaches its receiver as it is, or nobody.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    naive::ByteSource source(pData, nSize);
    ZembCmdMSG header{};
    const std::string strHeader = source.Text(sizeof header);
    std::memcpy(&header, strHeader.data(), strHeader.size());
    const std::string strPayload = source.Rest();
    const bool bGood = source.Below(8) != 0;
    if (bGood)
        header.nMarker = ZEMB_MSG_MARKER;
    header.nModule %= 4;
    header.nLength = static_cast<std::uint32_t>(strPayload.size()) + ZEMB_MSG_LENGTH_EXTRA;
    const std::unique_ptr<ZembCmdMSG, decltype(&ZembAppMgr::FreeMsg)> pMsg(
        ZembAppMgr::AllocMsg(strPayload.size()), &ZembAppMgr::FreeMsg);
    *pMsg = header;
    strPayload.copy(reinterpret_cast<char*>(pMsg.get() + 1), strPayload.size());
    int nTaken = 0;
    const zemb::ScopedReceiver receiver(2, [&](const ZembCmdMSG& msg, std::string_view strTaken) {
        ++nTaken;
        naive::Expect(strTaken == strPayload, "payload");
        naive::Expect(std::memcmp(&msg, &header, sizeof header) == 0, "header");
    });
    const bool bReceived = header.nMarker == ZEMB_MSG_MARKER && header.nModule == 2;
    naive::Expect(ZembAppMgr::ZembOutSendMsg(pMsg.get()) == (bReceived ? 1 : 0), "answer");
    naive::Expect(nTaken == (bReceived ? 1 : 0), "received");
    const NSTE_util::ClientMissionID mission(7, pMsg.get());
    naive::Expect(mission.nMission == 7 && mission.arrRequest[0] == header.nClientAddr &&
                      mission.arrRequest[3] == header.nRequest,
                  "mission");
    return 0;
}
