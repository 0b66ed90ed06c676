#include "tovelkarin/teoperationlog.h"

#include "task/operlog_cut.h"
#include "task/operlog_handler.h"
#include "tests/naive/operlog_check.h"
#include "tests/random_bytes.h"
#include "tests/support.h"
#include "zemb/event.h"
#include "zemb/message.h"
#include "zemb/operlog.h"

namespace {

using namespace NSTN_util;
using support::OperLogRows;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class OperationLogTest : public testing::Test {
protected:
    OperationLogTest() { zemb::SetStatePath(m_folder.Path()); }
    ~OperationLogTest() override { zemb::ResetStatePath(); }

    static SOperateLogInfor Record() {
        SOperateLogInfor record;
        record.nUserId = 7;
        record.nIpAddr = 0x0A000001;
        record.nCmd = 0x100000005;
        record.sOperInfo = "made a trail";
        record.sOperObject = "NE-5";
        return record;
    }

    support::TempFolder m_folder;
    support::DebugCapture m_debug;
};

TEST(OperationLogCutTest, AgreesWithTheNaiveModel) {
    support::CheckRandomly(naive::CheckOperLogCut, 20000, 60);
}

TEST(OperationLogCutTest, CutsBehindWholeWords) {
    const struct {
        const char* szText;
        std::size_t nMost;
        const char* szCut;
    } arrCase[] = {
        {"abc", 3, "abc"},         {"abcd", 3, "abc"},     {"ab\xC3\xA9", 3, "a"},
        {"a[b\xC3\xA9g", 4, "a["}, {"a \xC3\xA9", 2, "a"}, {"\xC3\xA9\xC3\xA9", 2, ""},
        {"ab[c", 2, "ab"},         {"ab;;;", 4, "a"},      {"abc", 0, ""},
    };
    for (const auto& one : arrCase)
        EXPECT_EQ(one.szCut, SafeCut(one.szText, one.nMost)) << one.szText;
}

TEST_F(OperationLogTest, WritesAllFieldsOfAnOperation) {
    const zemb::ScopedClock clock;
    SOperateLogInfor record = Record();
    record.nResult = 0x15001;
    EXPECT_EQ(0, TEOperationLog(record, 200, 0xFFFFFFFF));
    record.nResult = 0x42008121;
    EXPECT_EQ(0, TEOperationLog(record, 1, 2));
    record.nResult = 0x100015001UL;  // all 64 bits count
    EXPECT_EQ(0, TEOperationLog(record, 1, 2));
    record.nUserId = 0;
    EXPECT_EQ(0, TEOperationLog(record, 1, 2));
    const std::vector<zemb::OperLogRow> vecRow = OperLogRows();
    ASSERT_THAT(vecRow, SizeIs(4));
    EXPECT_EQ(7, vecRow[0].nUserId);
    EXPECT_EQ(0x0A000001U, vecRow[0].nIpAddr);
    EXPECT_EQ(0x100000005U, vecRow[0].nCmd);
    EXPECT_EQ("NE-5", vecRow[0].strObject);
    EXPECT_EQ("made a trail", vecRow[0].strDesc);
    EXPECT_EQ(200U, vecRow[0].nLevel);
    EXPECT_EQ(0xFFFFFFFFU, vecRow[0].nCategory);
    EXPECT_EQ(0x15001U, vecRow[0].nResult);
    EXPECT_EQ(1, vecRow[0].nResultKind);
    EXPECT_EQ(1, vecRow[1].nResultKind);
    EXPECT_EQ(2, vecRow[2].nResultKind);
    EXPECT_EQ(0x100015001U, vecRow[2].nResult);
    EXPECT_EQ(0, vecRow[3].nUserId);
    EXPECT_THAT(m_debug.Take(), IsEmpty());
}

TEST_F(OperationLogTest, RefusesCommand0AndNobody) {
    SOperateLogInfor record = Record();
    record.nCmd = 0;
    EXPECT_EQ(-2, TEOperationLog(record, 0, 0));
    record = Record();
    record.nUserId = 0;
    record.nIpAddr = 0;
    EXPECT_EQ(0, TEOperationLog(record, 0, 0));
    EXPECT_THAT(m_debug.TakeWhole(),
                ElementsAre("tovelkarin 1 \n Operation opLog Input Parameter Illigal:nCmd=0!!!\n",
                            "tovelkarin 1 Write opLog, the usrid :0, ipaddr:0"));
    EXPECT_THAT(OperLogRows(), IsEmpty());
}

TEST_F(OperationLogTest, CutsTextsToTheirFields) {
    SOperateLogInfor record = Record();
    record.sOperObject = std::string(254, 'o') + "\xC3\xA9tail";
    record.sOperInfo = std::string("nul\0in", 6) + std::string(2000, 'd');
    EXPECT_EQ(0, TEOperationLog(record, 0, 0));
    SOperateLogforPortObj object;
    object.nType = 1;
    object.sOperInfo = std::string(1500, 'p');
    EXPECT_EQ(0, TEOperationLog(object));
    const std::vector<zemb::OperLogRow> vecRow = OperLogRows();
    ASSERT_THAT(vecRow, SizeIs(2));
    EXPECT_EQ(std::string(253, 'o'), vecRow[0].strObject);
    EXPECT_EQ(record.sOperInfo.substr(0, 1023), vecRow[0].strDesc);
    EXPECT_EQ(std::string(1024, 'p'), vecRow[1].strDesc);
}

TEST_F(OperationLogTest, MapsTheTypesOfObjectRecords) {
    const std::pair<unsigned, unsigned> arrLevel[] = {{4, 2}, {201, 2}, {201, 3}, {201, 4},
                                                      {4, 1}, {0, 0},   {4, 4},   {4, 2}};
    for (int nType = 0; nType < 8; ++nType) {
        SOperateLogforObj object;  // neither user nor command is needed
        object.nType = nType;
        EXPECT_EQ(0, TEOperationLog(object));
    }
    for (const int nType : {-1, 8, 1000}) {
        SOperateLogforObj object;
        object.nType = nType;
        EXPECT_EQ(-2, TEOperationLog(object));
        SOperateLogforPortObj port;
        port.nType = nType;
        EXPECT_EQ(-2, TEOperationLog(port));
    }
    const std::vector<zemb::OperLogRow> vecRow = OperLogRows();
    ASSERT_THAT(vecRow, SizeIs(8));
    for (std::size_t i = 0; i < 8; ++i)
        EXPECT_EQ(arrLevel[i], std::make_pair(vecRow[i].nLevel, vecRow[i].nCategory)) << i;
    EXPECT_THAT(m_debug.Take(), IsEmpty());
}

TEST_F(OperationLogTest, CollectsAndSplitsLongTexts) {
    TNCommonLog log;
    log.AppendOperInfo("a");
    log.AppendOperInfo("b");
    log.SetOperObject("object");
    EXPECT_EQ(0, log.AddOperationLog(5, 1, 7, -1, 0x100000009, 3, 4));
    EXPECT_THAT(m_debug.TakeWhole(),
                ElementsAre("tovelkarin 1 Write log, the m_strOperInfo is:a, b"));
    std::string strLong;
    while (strLong.size() < 2500)
        strLong += "x\xE4\xB8\xAD";  // four bytes: byte 510 is inside of a character
    log.SetOperInfo(strLong);
    EXPECT_EQ(0, log.AddOperationLog(5, 1, 7, 0, 9, 3, 4));
    for (const std::size_t nSize : {1024U, 1023U, 1022U}) {
        log.SetOperInfo(std::string(nSize, 'c'));
        EXPECT_EQ(0, log.AddOperationLog(5, 1, 7, 0, 9, 3, 4));
    }
    log.SetOperInfo(std::string(1500, '\x80'));
    EXPECT_EQ(-2, log.AddOperationLog(0UL, 1U, 7, 0, 9UL, 3, 4));
    const std::vector<zemb::OperLogRow> vecRow = OperLogRows();
    ASSERT_THAT(vecRow, SizeIs(10));
    EXPECT_EQ("a, b", vecRow[0].strDesc);
    EXPECT_EQ("object", vecRow[0].strObject);
    EXPECT_EQ(~0UL, vecRow[0].nResult);
    EXPECT_EQ(2, vecRow[0].nResultKind);
    std::string strJoined;
    for (std::size_t i = 1; i < 5; ++i) {
        EXPECT_THAT(vecRow[i].strDesc[0], testing::AnyOf('x', '\xE4'));
        EXPECT_LE(vecRow[i].strDesc.size(), i == 4 ? 1022U : 510U);
        strJoined += vecRow[i].strDesc;
    }
    EXPECT_EQ(strLong, strJoined);
    std::vector<std::size_t> vecSize;
    for (std::size_t i = 5; i < vecRow.size(); ++i)
        vecSize.push_back(vecRow[i].strDesc.size());
    EXPECT_THAT(vecSize, ElementsAre(510, 514, 510, 513, 1022));
}

TEST_F(OperationLogTest, CutsTheTextThatItTracedWhoeverSetsItMeanwhile) {
    TNCommonLog log;
    log.SetOperInfo("set before the line");
    int nOthers = 0;
    const std::string strText(2500, 'a');
    {
        const zemb::ScopedDebugSink sink([&](const zemb::DebugLine& line) {
            const bool bTraced = line.strText.find("Write log") == 0;
            nOthers += bTraced ? 0 : 1;
            log.SetOperInfo(bTraced ? strText : std::string(strText.size(), 'b'));
        });
        zemb::SetStatePath("/dev/null/no folder");  // the writer complains
        EXPECT_EQ(0, log.AddOperationLog(5, 1, 7, 0, 9, 3, 4));
    }
    zemb::SetStatePath(m_folder.Path());
    EXPECT_LT(0, nOthers);
    EXPECT_EQ(0U, zemb::FlushOperLog());
    std::string strJoined;
    for (const zemb::OperLogRow& row : OperLogRows())
        strJoined += row.strDesc;
    EXPECT_EQ(strText, strJoined);
}

TEST_F(OperationLogTest, TakesCommandAndAddressFromMessages) {
    ZembCmdMSG message{};
    message.nClientAddr = 0x0A0B0C0D;
    message.nCmd = 0xFFFFFFFF;
    const TECmdMsg command{message};
    TNCommonLog log;
    EXPECT_EQ(0, log.AddOperationLog(&message, 1, 0, 9UL, 3, 4));
    EXPECT_EQ(0, log.AddOperationLog(&command, 2, 0, 9UL, 3, 4));
    EXPECT_EQ(0, log.AddOperationLog(77UL, &message, 3, 0, 9UL, 3, 4));
    m_debug.Take();
    ZembCmdMSG* const pNone = nullptr;
    const TECmdMsg* const pNoCommand = nullptr;
    EXPECT_EQ(-1, log.AddOperationLog(pNone, 1, 0, 9UL, 3, 4));
    EXPECT_EQ(-1, log.AddOperationLog(pNoCommand, 1, 0, 9UL, 3, 4));
    EXPECT_EQ(-1, log.AddOperationLog(77UL, pNone, 3, 0, 9UL, 3, 4));
    const std::string strLine = "Error\243\272pCmdMsg Null";
    EXPECT_THAT(m_debug.Take(), ElementsAre(strLine, strLine, strLine));
    const std::vector<zemb::OperLogRow> vecRow = OperLogRows();
    ASSERT_THAT(vecRow, SizeIs(3));
    for (const zemb::OperLogRow& row : vecRow)
        EXPECT_EQ(0x0A0B0C0DU, row.nIpAddr);
    EXPECT_EQ(0xFFFFFFFFU, vecRow[0].nCmd);
    EXPECT_EQ(0xFFFFFFFFU, vecRow[1].nCmd);
    EXPECT_EQ(77U, vecRow[2].nCmd);
}

TEST_F(OperationLogTest, HandlesEvent51) {
    TNWriteOperLogHandler handler;
    ZembLogInfo info;
    info.nUserId = 5;
    EXPECT_EQ(0, handler.HandleEvent(50, &info));
    EXPECT_EQ(0, handler.HandleEvent(51, nullptr));
    EXPECT_THAT(OperLogRows(), IsEmpty());
    EXPECT_EQ(0, handler.HandleEvent(51, &info));
    EXPECT_THAT(OperLogRows(), SizeIs(1));
    zemb::SetStatePath("/dev/null/no folder");
    EXPECT_EQ(-1, handler.HandleEvent(51, &info));
    zemb::SetStatePath(m_folder.Path());
    EXPECT_EQ(0U, zemb::FlushOperLog());
    EXPECT_THAT(OperLogRows(), SizeIs(2));
}

TEST_F(OperationLogTest, PrintsRecords) {
    SOperateLogInfor record = Record();
    record.nResult = 3;
    record.nNeId = 9;
    SOperateLogforObj object;
    object.nIpAddr = 0xFF000102;
    object.nDwdmId = 4;
    object.nBoardId = 65535;
    object.sOperInfo = "info";
    SOperateLogforPortObj port;
    port.nPortId = 8;
    testing::internal::CaptureStdout();
    record.Printf();
    object.Printf();
    port.Printf();
    fflush(stdout);
    EXPECT_EQ(
        "\n SOperateLogInfor's Attribute and Value\n nUserId  :7\n nIpAddr  :10.0.0.1\n nCmd     "
        ":5\n nType    :0\n nNeId    :9\n sOperInfo:made a trail\n nResult  :3\n\n sOperObject   "
        ":NE-5\n SOperateLogforObj's Attribute and Value\n nUserId  :0\n nIpAddr  "
        ":255.0.1.2\n nCmd     :0\n nType    :0\n nDwdmId    :4\n nNeId    :0\n nBoardId    "
        ":65535\n nPortId    :0\n sOperInfo:info\n nResult  :0\n\n SOperateLogforPortObj's "
        "Attribute and Value\n nUserId  :0\n nIpAddr  :0.0.0.0\n nCmd     :0\n nType    :0\n nNeId "
        " "
        "  :0\n nBoardId    :0\n nPortId    :8\n sOperInfo:\n nResult  :0\n",
        testing::internal::GetCapturedStdout());
}

}  // namespace
