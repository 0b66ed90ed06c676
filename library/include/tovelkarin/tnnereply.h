#pragma once

#include "tovelkarin/export.h"

#include "zemb/asn.h"

#include <list>
#include <string>

// Errors in the replies of NEs, node identifiers, and the settings of a user. Any thread; what only
// looks at its arguments costs the same each time, lists cost linear.
namespace NSTN_util {

// Whether an error code tells of no failure of an NE: 0, 1, 0x41011006, 0x41014308, 0x4101F011,
// 0x42008120, 0x42008121, 0x4200812F.
TN_API bool IsGeneralError(unsigned long nCode);

// Whether an error code says that an NE did not answer in time: 0x4108C002, 0x4108C00D, 0x41020008,
// 0x4101F003.
TN_API bool IsNeTimeOutErrCode(unsigned long nCode);

// Report what a reply says to the platform's log of operation errors; nothing for null.
// Details: the numbers and the two texts, each up to its first zero octet.
TN_API void ProcessQAsnErrInfo(const qcommon::QAsnErrInfo* pInfo);
TN_API void ProcessQErrList(const qcommon::QAsnErrInfoList* pListInfo);
// The code, unless it is a general error, and then the details, if there are any.
TN_API void ProcessMultiNEReqResult(const qcommon::QAsnErrInfoReturn* pReturn);
TN_API void ProcessMultiNEReqResult(const qcommon::QAsnErrInfoReturn& result);
// The code, 0 when there is none, and the text, unless the reply's flag is set; general errors too.
TN_API void ProcessQAsnSingleReturn(const qcommon::QAsnSingleReturn* pReturn);

// Replaces listOut by the numbers of a message, cut to int.
TN_API void Asn2Ems(const AsnIntList& listAsn, std::list<int>& listOut);
// Appends numbers to those of a message.
TN_API void Ems2Asn(const std::list<int>& listNumber, AsnIntList& listAsn);

// "VNO=2,3" for the virtual node 20003, "NE=1048576" for the NE of that number. Numbers up to
// 0xFFFFF, negative ones too, are virtual nodes.
TN_API std::string GetVirtaulNodeIDByNeID(int nId);
TN_API bool IsVirtualNodeID(int nId);
// Whether a text begins with "VNO=".
TN_API bool IsVirtualNodeID(const std::string& strId);

// The user whose work the calling thread's task does; 1 without one (line:
// "NSTE_util::GetTaskContext Failed").
TN_API int GetUserID();

// Sets nValue to a setting of the user configuration, read as by strtol: true. False, with nValue
// untouched, for an empty section, a setting that is not there, and one that is empty or a blank
// (line: "GetUserCfgInfo Error, please check db info", printed to standard output, too). Cost: the
// embedded platform asks its database at each call, some ten microseconds, through a connection
// that it keeps; while another program makes that database anew it waits up to two seconds.
TN_API bool GetBoolIntEnvVarFromDB(const std::string& strSection, const std::string& strKey,
                                   int& nValue);

}  // namespace NSTN_util
