#include "tovelkarin/tnnereply.h"

#include "tests/support.h"
#include "text/send_message.h"
#include "zemb/error_log.h"
#include "zemb/receiver.h"
#include "zemb/task.h"
#include "zemb/user_config.h"

#include <climits>
#include <set>

namespace {

using namespace NSTN_util;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST(NeReplyTest, KnowsGeneralErrorsAndTimeOuts) {
    const std::set<unsigned long> setGeneral = {0,          1,          0x41011006, 0x41014308,
                                                0x4101F011, 0x42008120, 0x42008121, 0x4200812F};
    const std::set<unsigned long> setTimeOut = {0x4108C002, 0x4108C00D, 0x41020008, 0x4101F003};
    std::set<unsigned long> setCode = {2, ~0UL, 0x10041011006UL};
    for (const auto* const pSet : {&setGeneral, &setTimeOut})
        for (const unsigned long nCode : *pSet)
            setCode.insert({nCode - 1, nCode, nCode + 1});
    for (const unsigned long nCode : setCode) {
        EXPECT_EQ(setGeneral.count(nCode) == 1, IsGeneralError(nCode)) << nCode;
        EXPECT_EQ(setTimeOut.count(nCode) == 1, IsNeTimeOutErrCode(nCode)) << nCode;
    }
}

// The errors reported, as "code numbers first second".
std::vector<std::string> Errors() {
    std::vector<std::string> vecText;
    for (const zemb::OperError& error : zemb::OperErrors()) {
        std::string strText = error.nCode ? std::to_string(*error.nCode) : "-";
        for (const int nValue : error.listValue)
            strText += " " + std::to_string(nValue);
        vecText.push_back(strText + " '" + error.strFirst + "' '" + error.strSecond + "'");
    }
    zemb::ClearOperErrors();
    return vecText;
}

TEST(NeReplyTest, ReportsWhatRepliesSay) {
    Errors();
    ProcessQAsnErrInfo(nullptr);
    ProcessQErrList(nullptr);
    ProcessMultiNEReqResult(nullptr);
    ProcessQAsnSingleReturn(nullptr);
    EXPECT_THAT(Errors(), IsEmpty());
    qcommon::QAsnErrInfo info;
    info.listValue.Append(AsnInt(5));
    info.listValue.Append(AsnInt(0x100000007));
    info.octsFirst = AsnOcts(std::string("one\0two", 7));
    qcommon::QAsnErrInfoReturn reply;
    for (const unsigned long nCode : {1UL, 0x42008122UL}) {
        reply.nCode = nCode;
        ProcessMultiNEReqResult(reply);
    }
    EXPECT_THAT(Errors(), ElementsAre("1107329314 '' ''"));
    reply.nCode = 0x4101F011;  // a general error: its details count all the same
    reply.listInfo = qcommon::QAsnErrInfoList{info, {}};
    ProcessMultiNEReqResult(&reply);
    EXPECT_THAT(Errors(), ElementsAre("- 5 7 'one' ''", "- '' ''"));
    qcommon::QAsnSingleReturn single;
    single.octsText = AsnOcts("text");
    ProcessQAsnSingleReturn(&single);
    single.nCode = 1;  // reported here, though general
    ProcessQAsnSingleReturn(&single);
    single.bFlag = true;
    ProcessQAsnSingleReturn(&single);
    EXPECT_THAT(Errors(), ElementsAre("0 'text' ''", "1 'text' ''"));
    for (int i = 0; i < 1500; ++i)
        ProcessQAsnErrInfo(&info);
    EXPECT_THAT(Errors(), SizeIs(1000));
}

TEST(NeReplyTest, ConvertsLists) {
    std::list<int> listNumber = {1, INT_MIN, INT_MAX};
    AsnIntList listAsn;
    Ems2Asn(listNumber, listAsn);
    Ems2Asn({}, listAsn);
    Ems2Asn({9}, listAsn);
    Asn2Ems(listAsn, listNumber);
    EXPECT_THAT(listNumber, ElementsAre(1, INT_MIN, INT_MAX, 9));
    Asn2Ems(AsnIntList(), listNumber);
    EXPECT_THAT(listNumber, IsEmpty());
}

TEST(NeReplyTest, NamesNodes) {
    EXPECT_EQ("VNO=2,3", GetVirtaulNodeIDByNeID(20003));
    EXPECT_EQ("VNO=0,0", GetVirtaulNodeIDByNeID(0));
    EXPECT_EQ("VNO=104,8575", GetVirtaulNodeIDByNeID(0xFFFFF));
    EXPECT_EQ("NE=1048576", GetVirtaulNodeIDByNeID(0x100000));
    EXPECT_EQ("VNO=-2,-3", GetVirtaulNodeIDByNeID(-20003));
    EXPECT_TRUE(IsVirtualNodeID(0xFFFFF));
    EXPECT_FALSE(IsVirtualNodeID(0x100000));
    EXPECT_TRUE(IsVirtualNodeID(std::string("VNO=")));
    for (const char* const szText : {"", "VNO", " VNO=1", "vno=1", "NE=5"})
        EXPECT_FALSE(IsVirtualNodeID(std::string(szText))) << szText;
}

TEST(NeReplyTest, KnowsTheUserOfATask) {
    support::DebugCapture debug;
    const NSTE_util::TETaskContext context{42};
    ZembGnlTask task(nullptr, &context);
    ZembGnlTask without;
    {
        const zemb::ScopedTask current(&task);
        EXPECT_EQ(42, GetUserID());
    }
    EXPECT_THAT(debug.Take(), IsEmpty());
    EXPECT_EQ(1, GetUserID());
    const zemb::ScopedTask current(&without);
    EXPECT_EQ(1, GetUserID());
    const std::string strLine = "tovelkarin 1 NSTE_util::GetTaskContext Failed";
    EXPECT_THAT(debug.TakeWhole(), ElementsAre(strLine, strLine));
}

TEST(NeReplyTest, ReadsTheUserConfiguration) {
    const support::TempFolder folder;
    zemb::SetStatePath(folder.Path("state"));
    support::DebugCapture debug;
    const auto Read = [&](const char* szSection, const char* szKey) {
        int nValue = 77;
        testing::internal::CaptureStdout();
        const bool bRead = GetBoolIntEnvVarFromDB(szSection, szKey, nValue);
        fflush(stdout);
        EXPECT_EQ(bRead ? "" : "GetUserCfgInfo Error, please check db info.\n",
                  testing::internal::GetCapturedStdout());
        EXPECT_EQ(bRead ? std::vector<std::string>{}
                        : std::vector<std::string>{"GetUserCfgInfo Error, please check db info"},
                  debug.Take());
        return std::make_pair(bRead, nValue);
    };
    const auto NONE = std::make_pair(false, 77);
    EXPECT_EQ(NONE, Read("view", "rows"));
    std::string strError;
    for (const auto& [szKey, szValue] : std::map<const char*, const char*>{
             {"rows", "5"}, {"no", "x"}, {"empty", ""}, {"blank", " "}})
        EXPECT_TRUE(zemb::SetUserCfg({"view", szKey, szValue}, strError)) << strError;
    EXPECT_TRUE(zemb::SetUserCfg({"", "rows", "6"}, strError));
    EXPECT_TRUE(zemb::SetUserCfg({"view", "rows", "-12 rows"}, strError));
    EXPECT_EQ(std::make_pair(true, -12), Read("view", "rows"));
    EXPECT_EQ(std::make_pair(true, 0), Read("view", "no"));
    EXPECT_EQ(NONE, Read("view", "empty"));
    EXPECT_EQ(NONE, Read("view", "blank"));
    EXPECT_EQ(NONE, Read("view", "absent"));
    EXPECT_EQ(NONE, Read("", "rows"));
    std::vector<zemb::UserCfgItem> vecItem;
    EXPECT_TRUE(zemb::ReadUserCfg(vecItem, strError));
    EXPECT_THAT(vecItem, SizeIs(5));
    zemb::ResetStatePath();
}

TEST(SendMessageTest, FillsTheHeaderAndCopiesThePayload) {
    support::DebugCapture debug;
    const RawMessage message = {0x0A000001, 7, 1201, 99};
    EXPECT_FALSE(SendMsgToModule(message, "x", 1));  // nobody receives
    ZembCmdMSG header{};
    std::string strPayload;
    bool bThrow = false;
    const zemb::ScopedReceiver receiver(99, [&](const ZembCmdMSG& msg, std::string_view strData) {
        header = msg;
        strPayload = strData;
        if (bThrow)
            throw 1;
    });
    const zemb::ScopedReceiver second(99, [](const ZembCmdMSG&, std::string_view) {});
    EXPECT_TRUE(receiver.IsRegistered());
    EXPECT_FALSE(second.IsRegistered());
    EXPECT_TRUE(SendMsgToModule(message, "payload", 7));
    EXPECT_EQ("payload", strPayload);
    EXPECT_EQ(10U, header.nKind);
    EXPECT_EQ(0xAB00ABU, header.nMarker);
    EXPECT_EQ(static_cast<std::uint32_t>(getpid()), header.nHandle);
    EXPECT_EQ(header.nHandle, header.nReplyHandle);
    EXPECT_EQ(0x0A000001U, header.nClientAddr);
    EXPECT_EQ(7U, header.nRequest);
    EXPECT_EQ(1201U, header.nCmd);
    EXPECT_EQ(99U, header.nModule);
    EXPECT_EQ(9U, header.nLength);
    EXPECT_EQ(0U, header.nTaskId);
    ZembGnlTask task;
    const zemb::ScopedTask current(&task);
    EXPECT_TRUE(SendMsgToModule(message, nullptr, 0));
    EXPECT_EQ(task.GetTaskId(), header.nTaskId);
    EXPECT_EQ("", strPayload);
    const std::string strLarge(16 << 20, 'x');
    EXPECT_TRUE(SendMsgToModule(message, strLarge.data(), strLarge.size()));
    EXPECT_EQ(strLarge, strPayload);
    EXPECT_THAT(debug.Take(), IsEmpty());
    EXPECT_FALSE(SendMsgToModule(message, "x", std::size_t{1} << 40));
    EXPECT_THAT(debug.Take(), ElementsAre("Fail to allocate memory\n"));
    EXPECT_TRUE(SendMsgToModule(message, nullptr, 5));
    EXPECT_EQ(std::string(5, '\0'), strPayload);
    EXPECT_THAT(debug.Take(), ElementsAre("memcpy_s in SendMsgToModule failed. "));
    bThrow = true;
    EXPECT_FALSE(SendMsgToModule(message, "x", 1));
    EXPECT_EQ(0, ZembAppMgr::ZembOutSendMsg(nullptr));
}

}  // namespace
