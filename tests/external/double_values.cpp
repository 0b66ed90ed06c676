// Tasks, messages, texts and values of the double: what nobody asks for here answers "none".
#include "zemb/asn.h"
#include "zemb/callchain.h"
#include "zemb/fdn.h"
#include "zemb/message.h"
#include "zemb/operlog.h"
#include "zemb/progress.h"
#include "zemb/securec.h"
#include "zemb/task.h"
#include "zemb/text.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>

AsnType::~AsnType() = default;
void AsnInt::AppendText(std::string&, std::size_t) const {}
void AsnOcts::AppendText(std::string&, std::size_t) const {}
void AsnText::AppendText(std::string&, std::size_t) const {}
void AsnTree::AppendText(std::string&, std::size_t) const {}
void AsnIntList::AppendText(std::string&, std::size_t) const {}

ZembGnlTask* ZembGetCurrentTask() {
    return nullptr;
}

ZembCmdMSG* ZembAppMgr::AllocMsg(std::size_t nPayload) noexcept {
    return static_cast<ZembCmdMSG*>(std::calloc(1, ZEMB_MSG_PAYLOAD + nPayload));
}

void ZembAppMgr::FreeMsg(ZembCmdMSG* pMsg) noexcept {
    std::free(pMsg);
}

std::uint32_t ZembAppMgr::OwnHandle() {
    return 1;
}

int ZembAppMgr::ZembOutSendMsg(const ZembCmdMSG*) {
    return 0;
}

int memcpy_s(void* pDest, std::size_t nDestSize, const void* pSrc, std::size_t nCount) {
    if (nCount > nDestSize)
        return ERANGE;
    std::memmove(pDest, pSrc, nCount);
    return 0;
}

std::string dao::likeEscape(const std::string& strText) {
    return strText;
}

namespace NSTE_util {

CallChainMgr* CallChainMgr::Instance() {
    return nullptr;
}

ProgressMgr* ProgressMgr::Instance() {
    return nullptr;
}

TEOperErrorLogIF* TEOperErrorLogIF::Instance() {
    return nullptr;
}

ClientMissionID::ClientMissionID(std::uint32_t nMissionOf, const ZembCmdMSG*)
    : nMission(nMissionOf) {}
TaskProgressInfo::TaskProgressInfo(const char* szDesc) : m_strDesc(szDesc) {}
TaskProgressInfo::~TaskProgressInfo() = default;

const TETaskContext* GetTaskContext() {
    return nullptr;
}

std::string Trim(const std::string& strText) {
    const std::size_t nFirst = strText.find_first_not_of(" \t\r\n");
    if (nFirst == std::string::npos)
        return "";
    return strText.substr(nFirst, strText.find_last_not_of(" \t\r\n") + 1 - nFirst);
}

std::vector<std::string> Token(const std::string& strText, char cSeparator) {
    std::vector<std::string> vecPiece;
    std::istringstream stream(strText + cSeparator);
    for (std::string strPiece; std::getline(stream, strPiece, cSeparator);)
        vecPiece.push_back(strPiece);
    return vecPiece;
}

bool StrToInt(const std::string& strText, int& nValue, int nBase) {
    char* pEnd = nullptr;
    nValue = static_cast<int>(std::strtol(strText.c_str(), &pEnd, nBase));
    return pEnd != strText.c_str() && *pEnd == '\0';
}

// Numbers alone, no spans.
bool StrToNumList(const std::string& strText, std::vector<int>& vecNumber) {
    vecNumber.clear();
    for (const std::string& strPiece : Token(strText, ','))
        if (!StrToInt(strPiece, vecNumber.emplace_back(), 10))
            return false;
    return true;
}

std::string toString(const AsnType&) {
    return "";
}

void AsnTrace(const AsnType&, TEDebugInterface&) {}

}  // namespace NSTE_util

namespace FrameUtil {

int WriteOperationLog(const ZembLogInfo&, int) noexcept {
    return OPERLOG_LOST;
}

StrUIDParser::StrUIDParser() = default;
StrUIDParser::~StrUIDParser() = default;
StrUIDFactory::StrUIDFactory() = default;
StrUIDFactory::~StrUIDFactory() = default;
StrSpliter::StrSpliter(char cSeparator) : m_cSeparator(cSeparator), m_nNext(0) {}
StrSpliter::~StrSpliter() = default;

bool StrUIDParser::Parse(const char*) {
    return false;
}

void StrUIDParser::SetCurToFirst() {}

bool StrUIDParser::GetValue(unsigned long&, const char*, unsigned long) const {
    return false;
}

bool StrUIDParser::GetValue(std::string&, const char*, unsigned long) const {
    return false;
}

bool StrSpliter::Parse(const char*) {
    return false;
}

StrSpliter& StrSpliter::operator>>(unsigned long&) {
    return *this;
}

void StrUIDFactory::Append(const char*, long) {}

std::string StrUIDFactory::GetStr() && {
    return m_strText;
}

}  // namespace FrameUtil
