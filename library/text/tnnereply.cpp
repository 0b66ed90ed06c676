#include "tovelkarin/tnnereply.h"

#include "base/cancel_hold.h"
#include "base/number_text.h"
#include "base/read_number.h"
#include "tovelkarin/stringutil.h"
#include "trace/trace_line.h"

#include "zemb/operlog.h"
#include "zemb/settings.h"
#include "zemb/task.h"

#include <cstdio>

// What NEs reply and what becomes of it: which codes are errors worth telling of, their way into
// the error log of operations, and the texts of node identifiers. Everything that reaches the
// platform is guarded, so a bad reply costs at most its own line.
namespace NSTN_util {

namespace {

constexpr int VIRTUAL_NODE_MOST = 0xFFFFF;
constexpr int VIRTUAL_NODE_PART = 10000;
constexpr std::string_view VIRTUAL_NODE_BEGIN = "VNO=";
constexpr int NOBODY = 1;
constexpr const char* USER_CFG_ERROR = "GetUserCfgInfo Error, please check db info";

NSTE_util::TEOperErrorLogIF& ErrorLog() {
    return *NSTE_util::TEOperErrorLogIF::Instance();
}

}  // namespace

bool IsGeneralError(unsigned long nCode) {
    switch (nCode) {
        case 0:
        case 1:
        case 0x41011006:
        case 0x41014308:
        case 0x4101F011:
        case 0x42008120:
        case 0x42008121:
        case 0x4200812F: return true;
        default: return false;
    }
}

bool IsNeTimeOutErrCode(unsigned long nCode) {
    switch (nCode) {
        case 0x4108C002:
        case 0x4108C00D:
        case 0x41020008:
        case 0x4101F003: return true;
        default: return false;
    }
}

void ProcessQAsnErrInfo(const qcommon::QAsnErrInfo* pInfo) {
    if (pInfo == nullptr)
        return;
    GuardedCall([&] {
        std::list<int> listValue;
        Asn2Ems(pInfo->listValue, listValue);
        ErrorLog().AddErrInfo(listValue, GetCStrFromAsnOcts(pInfo->octsFirst),
                              GetCStrFromAsnOcts(pInfo->octsSecond));
    });
}

void ProcessQErrList(const qcommon::QAsnErrInfoList* pListInfo) {
    if (pListInfo == nullptr)
        return;
    for (const qcommon::QAsnErrInfo& info : *pListInfo)
        ProcessQAsnErrInfo(&info);
}

void ProcessMultiNEReqResult(const qcommon::QAsnErrInfoReturn* pReturn) {
    if (pReturn == nullptr)
        return;
    if (!IsGeneralError(pReturn->nCode))
        GuardedCall([&] { ErrorLog().AddErrCode(pReturn->nCode); });
    if (pReturn->listInfo)
        ProcessQErrList(&*pReturn->listInfo);
}

void ProcessMultiNEReqResult(const qcommon::QAsnErrInfoReturn& result) {
    ProcessMultiNEReqResult(&result);
}

void ProcessQAsnSingleReturn(const qcommon::QAsnSingleReturn* pReturn) {
    if (pReturn == nullptr || pReturn->bFlag)
        return;
    // Deliberate: a general error is reported too, unlike the code of a reply of several errors.
    GuardedCall([&] {
        ErrorLog().AddErrText(pReturn->nCode.value_or(0), GetCStrFromAsnOcts(pReturn->octsText));
    });
}

void Asn2Ems(const AsnIntList& listAsn, std::list<int>& listOut) {
    listOut.clear();
    for (std::size_t i = 0; i < listAsn.size(); ++i)
        listOut.push_back(static_cast<int>(listAsn[i].Value()));
}

void Ems2Asn(const std::list<int>& listNumber, AsnIntList& listAsn) {
    if (listAsn.size() == 0)  // otherwise the list's own doubling keeps many calls linear
        listAsn.Reserve(listNumber.size());
    for (const int nNumber : listNumber)
        listAsn.Append(AsnInt(nNumber));
}

std::string GetVirtaulNodeIDByNeID(int nId) {
    if (!IsVirtualNodeID(nId))
        return "NE=" + base::IntegerText(nId);
    return std::string(VIRTUAL_NODE_BEGIN) + base::IntegerText(nId / VIRTUAL_NODE_PART) + "," +
           base::IntegerText(nId % VIRTUAL_NODE_PART);
}

bool IsVirtualNodeID(int nId) {
    return nId <= VIRTUAL_NODE_MOST;
}

bool IsVirtualNodeID(const std::string& strId) {
    return strId.compare(0, VIRTUAL_NODE_BEGIN.size(), VIRTUAL_NODE_BEGIN) == 0;
}

int GetUserID() {
    const NSTE_util::TETaskContext* pContext = nullptr;
    GuardedCall([&] { pContext = NSTE_util::GetTaskContext(); });
    if (pContext != nullptr)
        return pContext->GetUserID();
    Report("NSTE_util::GetTaskContext Failed");
    return NOBODY;
}

bool GetBoolIntEnvVarFromDB(const std::string& strSection, const std::string& strKey, int& nValue) {
    const base::CancelHold hold;
    std::string strValue;
    bool bRead = false;
    GuardedCall([&] { bRead = FrameUtil::GetUserCfgInfo(strSection, strKey, strValue); });
    if (bRead && !strSection.empty() && !strValue.empty() && strValue != " ") {
        nValue = static_cast<int>(base::ReadLong(strValue, 10).nValue);
        return true;
    }
    Report(USER_CFG_ERROR);
    std::printf("%s.\n", USER_CFG_ERROR);
    return false;
}

}  // namespace NSTN_util
