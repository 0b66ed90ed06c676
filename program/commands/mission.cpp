#include "commands/mission.h"

#include "tovelkarin/tnprogress.h"

namespace host {

ZembCmdMSG CommandMessage(int nOper, std::uint32_t nRequest) {
    ZembCmdMSG msg{};
    msg.nClientAddr = LOCAL_ADDRESS;
    msg.nHandle = ZembAppMgr::OwnHandle();
    msg.nReplyHandle = msg.nHandle;
    msg.nRequest = nRequest;
    msg.nCmd = static_cast<std::uint32_t>(nOper);
    return msg;
}

Mission::Mission(ZembGnlTask& task) : m_task(task) {
    NSTE_util::TNProgressIF::Instance()->Register(static_cast<long>(task.GetTaskId()), &task);
}

Mission::~Mission() {
    NSTE_util::TNProgressIF::Instance()->UnRegister(&m_task);
}

}  // namespace host
