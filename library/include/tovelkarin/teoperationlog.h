#pragma once

#include "tovelkarin/export.h"

#include <cstdint>
#include <string>

struct ZembCmdMSG;
struct TECmdMsg;

// The operation log: who did what from where, on which object, with which result. Entries go to the
// platform's log (zemb/operlog.h), which tells whether they are on the disk; the functions here do
// not. Any thread; an object belongs to one thread at a time. Nothing is thrown but what a string
// throws without memory.
namespace NSTN_util {

constexpr int OPLOG_ILLEGAL = -2;        // command 0, or an operation type that there is not
constexpr int OPLOG_NO_MESSAGE = -1;     // no command message
constexpr int OPLOG_COLLECTED_TYPE = 5;  // operation type of what TNCommonLog writes

// An operation.
struct TN_API SOperateLogInfor {
    int nUserId = 0;
    std::uint32_t nIpAddr = 0;  // client's IPv4 address, most significant byte first
    unsigned long nCmd = 0;     // command number
    int nType = 0;
    int nNeId = 0;
    std::string sOperInfo;      // description
    unsigned long nResult = 0;  // result code, 0 for success
    std::string sOperObject;    // text of the object

    // Prints the fields to standard output, a line each.
    void Printf() const;
};

// An operation on a port of a board of an NE, or on a wavelength of it.
struct TN_API SOperateLogforObj {
    int nUserId = 0;
    std::uint32_t nIpAddr = 0;
    unsigned long nCmd = 0;
    int nType = 0;  // 0 to 7
    int nDwdmId = 0;
    int nNeId = 0;
    std::uint16_t nBoardId = 0;
    std::uint16_t nPortId = 0;
    std::string sOperInfo;
    unsigned long nResult = 0;

    // As that of SOperateLogInfor.
    void Printf() const;
};

// An operation on a port of a board of an NE.
struct TN_API SOperateLogforPortObj {
    int nUserId = 0;
    std::uint32_t nIpAddr = 0;
    unsigned long nCmd = 0;
    int nType = 0;  // 0 to 7
    int nNeId = 0;
    std::uint16_t nBoardId = 0;
    std::uint16_t nPortId = 0;
    std::string sOperInfo;
    unsigned long nResult = 0;

    // As that of SOperateLogInfor.
    void Printf() const;
};

// Writes an entry with the object (at most 255 bytes) and the description (at most 1,023), each cut
// before its last letter or digit, blank, or one of ":,[]()-", so that characters stay whole, a
// text without any of them wholly; result kind 0 for result 0, 1 for 0x15001 and 0x42008121, else
// 2. ucLevel and uiExtra are the entry's level and category. 0, whatever the log answers;
// OPLOG_ILLEGAL for command 0 (line: "\n Operation opLog Input Parameter Illigal:nCmd=0!!!\n"). An
// operation with user and address 0 is not written (line: "Write opLog, the usrid :%d, ipaddr:%d").
// Line besides: "memcpy_s in TEOperationLog failed. ".
TN_API int TEOperationLog(const SOperateLogInfor& record, unsigned char ucLevel,
                          unsigned int uiExtra);

// Write an entry with the description cut to 1,024 bytes, the result kind as above and level and
// category by the type: 0: 4, 2; 1: 201, 2; 2: 201, 3; 3: 201, 4; 4: 4, 1; 5: none; 6: 4, 4; 7: 4,
// 2. 0; OPLOG_ILLEGAL, and nothing written, for any other type. Neither the command nor user and
// address are looked at; NE, board, port and wavelength are not part of an entry. Line: "memcpy_s
// in SetDesc failed. ".
TN_API int TEOperationLog(const SOperateLogforObj& record);
TN_API int TEOperationLog(const SOperateLogforPortObj& record);

// Gathers the texts of an operation while it runs, and writes them at its end.
class TN_API TNCommonLog {
public:
    // Replaces the description.
    void SetOperInfo(const std::string& strInfo);
    // Appends, with ", " in front unless the text is empty.
    void AppendOperInfo(const std::string& strInfo);
    // Replaces the text of the object.
    void SetOperObject(const std::string& strObject);

    // Writes the texts, which stay as they are, as an SOperateLogInfor of type 5. A description of
    // 1,023 bytes or more becomes several entries, of at most 510 bytes of whole UTF-8 characters
    // each but the last, which is shorter than 1,023. The result of the last TEOperationLog; one
    // that fails ends the writing. Line: "Write log, the m_strOperInfo is:%s". Cost: linear.
    int AddOperationLog(unsigned long nCmd, unsigned int nIpAddr, int nUserId, int nResult,
                        unsigned long nNeId, unsigned char ucLevel, unsigned int uiExtra);
    // Take command and address from the header of a message; OPLOG_NO_MESSAGE for null (line:
    // "Error\243\272pCmdMsg Null").
    int AddOperationLog(ZembCmdMSG* pCmdMsg, int nUserId, int nResult, unsigned long nNeId,
                        unsigned char ucLevel, unsigned int uiExtra);
    int AddOperationLog(const TECmdMsg* pCmdMsg, int nUserId, int nResult, unsigned long nNeId,
                        unsigned char ucLevel, unsigned int uiExtra);
    // Takes the address only.
    int AddOperationLog(unsigned long nCmd, ZembCmdMSG* pCmdMsg, int nUserId, int nResult,
                        unsigned long nNeId, unsigned char ucLevel, unsigned int uiExtra);

private:
    std::string m_strOperInfo;
    std::string m_strOperObject;
};

}  // namespace NSTN_util
