#include "tovelkarin/teoperationlog.h"

#include "base/cancel_hold.h"
#include "task/operlog_cut.h"
#include "task/operlog_handler.h"
#include "trace/trace_line.h"

#include "zemb/message.h"
#include "zemb/operlog.h"
#include "zemb/securec.h"

#include <ace/OS_NS_stdio.h>

#include <algorithm>
#include <iterator>
#include <string_view>

// Entries of the operation log, from the records and messages of callers to the fixed fields of the
// platform. A text that is too long is cut where its field ends or at an ASCII character of a word
// before that. Only a description that TNCommonLog has gathered loses nothing: it becomes several
// entries, split between whole UTF-8 characters in one walk. Level and category of an object record
// stand in a table by its type.
namespace NSTN_util {

namespace {

constexpr std::size_t OBJECT_MAX = 255;
constexpr std::size_t DESC_MAX = 1023;
constexpr std::size_t OBJECT_DESC_MAX = 1024;  // of the object records
constexpr unsigned long PARTLY_CODES[] = {0x15001, 0x42008121};

// Level and category by the type of an object record.
struct ObjectType {
    bool bSet;
    std::uint8_t nLevel;
    std::uint32_t nCategory;
};
constexpr ObjectType OBJECT_TYPES[] = {{true, 4, 2}, {true, 201, 2}, {true, 201, 3}, {true, 201, 4},
                                       {true, 4, 1}, {false, 0, 0},  {true, 4, 4},   {true, 4, 2}};

int ResultKind(unsigned long nResult) {
    if (nResult == 0)
        return 0;
    return std::find(std::begin(PARTLY_CODES), std::end(PARTLY_CODES), nResult) !=
                   std::end(PARTLY_CODES)
               ? 1
               : 2;
}

template <class Record>
ZembLogInfo InfoOf(const Record& record) {
    ZembLogInfo info;
    info.nUserId = record.nUserId;
    info.nIpAddr = record.nIpAddr;
    info.nCmd = record.nCmd;
    info.nResultKind = ResultKind(record.nResult);
    info.nResult = record.nResult;
    return info;
}

template <std::size_t SIZE>
void CopyText(char (&szField)[SIZE], std::string_view strText, const char* szFailed) {
    if (!strText.empty() && memcpy_s(szField, SIZE, strText.data(), strText.size()) != 0)
        Report(szFailed);
}

template <class Record>
int WriteObject(const Record& record) {
    const auto nType = static_cast<unsigned>(record.nType);
    if (nType >= std::size(OBJECT_TYPES))
        return OPLOG_ILLEGAL;
    ZembLogInfo info = InfoOf(record);
    CopyText(info.szDesc, std::string_view(record.sOperInfo).substr(0, OBJECT_DESC_MAX),
             "memcpy_s in SetDesc failed. ");
    if (OBJECT_TYPES[nType].bSet) {
        info.nLevel = OBJECT_TYPES[nType].nLevel;
        info.nCategory = OBJECT_TYPES[nType].nCategory;
    }
    FrameUtil::WriteOperationLog(info, 0);
    return 0;
}

int MessageMissing() {
    // Deliberate: the colon is two bytes of GB 2312, no UTF-8; whoever searches logs has it so.
    Report("Error\243\272pCmdMsg Null");
    return OPLOG_NO_MESSAGE;
}

void PrintHead(const char* szName, int nUserId, std::uint32_t nIpAddr, unsigned long nCmd,
               int nType) {
    ACE_OS::printf("\n %s's Attribute and Value", szName);
    ACE_OS::printf("\n nUserId  :%d", nUserId);
    ACE_OS::printf("\n nIpAddr  :%d.%d.%d.%d", static_cast<int>(nIpAddr >> 24),
                   static_cast<int>(nIpAddr >> 16 & 0xFF), static_cast<int>(nIpAddr >> 8 & 0xFF),
                   static_cast<int>(nIpAddr & 0xFF));
    ACE_OS::printf("\n nCmd     :%d", static_cast<int>(nCmd));
    ACE_OS::printf("\n nType    :%d", nType);
}

void PrintPort(int nNeId, int nBoardId, int nPortId) {
    ACE_OS::printf("\n nNeId    :%d", nNeId);
    ACE_OS::printf("\n nBoardId    :%d", nBoardId);
    ACE_OS::printf("\n nPortId    :%d", nPortId);
}

void PrintResult(const std::string& strInfo, unsigned long nResult) {
    ACE_OS::printf("\n sOperInfo:%s", strInfo.c_str());
    ACE_OS::printf("\n nResult  :%d\n", static_cast<int>(nResult));
}

}  // namespace

void SOperateLogInfor::Printf() const {
    const base::CancelHold hold;
    PrintHead("SOperateLogInfor", nUserId, nIpAddr, nCmd, nType);
    ACE_OS::printf("\n nNeId    :%d", nNeId);
    PrintResult(sOperInfo, nResult);
    ACE_OS::printf("\n sOperObject   :%s", sOperObject.c_str());
}

void SOperateLogforObj::Printf() const {
    const base::CancelHold hold;
    PrintHead("SOperateLogforObj", nUserId, nIpAddr, nCmd, nType);
    ACE_OS::printf("\n nDwdmId    :%d", nDwdmId);
    PrintPort(nNeId, nBoardId, nPortId);
    PrintResult(sOperInfo, nResult);
}

void SOperateLogforPortObj::Printf() const {
    const base::CancelHold hold;
    PrintHead("SOperateLogforPortObj", nUserId, nIpAddr, nCmd, nType);
    PrintPort(nNeId, nBoardId, nPortId);
    PrintResult(sOperInfo, nResult);
}

int TEOperationLog(const SOperateLogInfor& record, unsigned char ucLevel, unsigned int uiExtra) {
    if (record.nCmd == 0) {
        Report("\n Operation opLog Input Parameter Illigal:nCmd=0!!!\n");
        return OPLOG_ILLEGAL;
    }
    if (record.nUserId == 0 && record.nIpAddr == 0) {
        Report("Write opLog, the usrid :%d, ipaddr:%d", record.nUserId, record.nIpAddr);
        return 0;
    }
    constexpr const char* COPY_FAILED = "memcpy_s in TEOperationLog failed. ";
    ZembLogInfo info = InfoOf(record);
    CopyText(info.szObject, SafeCut(record.sOperObject, OBJECT_MAX), COPY_FAILED);
    CopyText(info.szDesc, SafeCut(record.sOperInfo, DESC_MAX), COPY_FAILED);
    info.nLevel = ucLevel;
    info.nCategory = uiExtra;
    FrameUtil::WriteOperationLog(info, 0);
    return 0;
}

int TEOperationLog(const SOperateLogforObj& record) {
    return WriteObject(record);
}

int TEOperationLog(const SOperateLogforPortObj& record) {
    return WriteObject(record);
}

void TNCommonLog::SetOperInfo(const std::string& strInfo) {
    m_strOperInfo = strInfo;
}

void TNCommonLog::AppendOperInfo(const std::string& strInfo) {
    if (!m_strOperInfo.empty())
        m_strOperInfo += ", ";
    m_strOperInfo += strInfo;
}

void TNCommonLog::SetOperObject(const std::string& strObject) {
    m_strOperObject = strObject;
}

int TNCommonLog::AddOperationLog(unsigned long nCmd, unsigned int nIpAddr, int nUserId, int nResult,
                                 unsigned long nNeId, unsigned char ucLevel, unsigned int uiExtra) {
    Report("Write log, the m_strOperInfo is:%s", m_strOperInfo);
    SOperateLogInfor record;
    record.nUserId = nUserId;
    record.nIpAddr = nIpAddr;
    record.nCmd = nCmd;
    record.nType = OPLOG_COLLECTED_TYPE;
    record.nNeId = static_cast<int>(nNeId);
    record.nResult = static_cast<unsigned long>(nResult);
    record.sOperObject = m_strOperObject;
    // Whoever takes the lines and entries may set the member anew.
    const std::string strInfo = m_strOperInfo;
    std::string_view strRest = strInfo;
    while (strRest.size() >= DESC_MAX) {
        const std::size_t nPart = SplitPoint(strRest);
        record.sOperInfo = strRest.substr(0, nPart);
        strRest.remove_prefix(nPart);
        const int nWritten = TEOperationLog(record, ucLevel, uiExtra);
        if (nWritten != 0)
            return nWritten;
    }
    record.sOperInfo = strRest;
    return TEOperationLog(record, ucLevel, uiExtra);
}

int TNCommonLog::AddOperationLog(ZembCmdMSG* pCmdMsg, int nUserId, int nResult, unsigned long nNeId,
                                 unsigned char ucLevel, unsigned int uiExtra) {
    if (pCmdMsg == nullptr)
        return MessageMissing();
    return AddOperationLog(pCmdMsg->nCmd, pCmdMsg, nUserId, nResult, nNeId, ucLevel, uiExtra);
}

int TNCommonLog::AddOperationLog(const TECmdMsg* pCmdMsg, int nUserId, int nResult,
                                 unsigned long nNeId, unsigned char ucLevel, unsigned int uiExtra) {
    if (pCmdMsg == nullptr)
        return MessageMissing();
    return AddOperationLog(pCmdMsg->msg.nCmd, pCmdMsg->msg.nClientAddr, nUserId, nResult, nNeId,
                           ucLevel, uiExtra);
}

int TNCommonLog::AddOperationLog(unsigned long nCmd, ZembCmdMSG* pCmdMsg, int nUserId, int nResult,
                                 unsigned long nNeId, unsigned char ucLevel, unsigned int uiExtra) {
    if (pCmdMsg == nullptr)
        return MessageMissing();
    return AddOperationLog(nCmd, pCmdMsg->nClientAddr, nUserId, nResult, nNeId, ucLevel, uiExtra);
}

int TNWriteOperLogHandler::HandleEvent(int nEvent, void* pData) {
    if (nEvent != EVENT_WRITE_OPERLOG || pData == nullptr)
        return 0;
    const int nWritten = FrameUtil::WriteOperationLog(*static_cast<ZembLogInfo*>(pData), 0);
    return nWritten == FrameUtil::OPERLOG_WRITTEN ? 0 : -1;
}

}  // namespace NSTN_util
