#include "tovelkarin/tncallchain.h"

#include "tests/support.h"

#include "zemb/task.h"

#include <json/reader.h>

#include <thread>

namespace {

using namespace NSTN_util;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class CallChainTest : public testing::Test {
protected:
    CallChainTest() {
        zemb::SetStatePath(m_folder.Path());
        zemb::SetCallChain(true);
    }
    ~CallChainTest() override {
        for (int i = 0; i < 100; ++i)
            EndCallChain();
        zemb::SetCallChain(false);
        zemb::ResetStatePath();
    }

    static std::vector<Json::Value> Records() {
        std::vector<Json::Value> vecRecord;
        std::istringstream stream(support::ReadAll(zemb::CallChainLog()));
        for (std::string strLine; std::getline(stream, strLine);) {
            std::istringstream line(strLine);
            vecRecord.emplace_back();
            line >> vecRecord.back();
        }
        return vecRecord;
    }

    support::TempFolder m_folder;
    support::DebugCapture m_debug;
};

TEST_F(CallChainTest, NamesTheMissingManager) {
    zemb::SetCallChain(false);
    EXPECT_EQ("", BeginCallChain("upload"));
    TnSetCallChainExtInfo("ne", "5");
    EXPECT_FALSE(TraceCallChain("begun"));
    zemb::SetCallChain(true);
    EXPECT_FALSE(TraceCallChain("begun without a manager"));
    EndCallChain();
    EXPECT_THAT(m_debug.TakeWhole(), ElementsAre("tovelkarin 3 BeginCallChain: no CallChainMgr",
                                                 "tovelkarin 3 TraceCallChain: no CallChainMgr"));
}

TEST_F(CallChainTest, WritesRecordsOfChainsInsideEachOther) {
    zemb::ScopedClock clock;
    clock.Freeze(1772352000000000LL);
    EXPECT_FALSE(TraceCallChain("no chain"));
    const std::string strOuter = BeginCallChain("upload");
    TnSetCallChainExtInfo("ne", "5");
    EXPECT_TRUE(TraceCallChain("begun"));
    const std::string strInner = BeginCallChain("board\n\"3\"");
    EXPECT_TRUE(TraceCallChain("read"));
    EndCallChain();
    EXPECT_TRUE(TraceCallChain("done"));
    std::thread([] { EXPECT_FALSE(TraceCallChain("another thread")); }).join();
    const std::vector<Json::Value> vecRecord = Records();
    ASSERT_THAT(vecRecord, SizeIs(3));
    EXPECT_EQ(strOuter, vecRecord[0]["id"].asString());
    EXPECT_EQ("", vecRecord[0]["parent"].asString());
    EXPECT_EQ(1U, vecRecord[0]["sequence"].asUInt());
    EXPECT_EQ("tovelkarin", vecRecord[0]["module"].asString());
    EXPECT_EQ("upload", vecRecord[0]["name"].asString());
    EXPECT_EQ("2026-03-01 08:00:00Z", vecRecord[0]["time"].asString());
    EXPECT_EQ("begun", vecRecord[0]["text"].asString());
    EXPECT_EQ("5", vecRecord[0]["ext"]["ne"].asString());
    EXPECT_EQ(strInner, vecRecord[1]["id"].asString());
    EXPECT_EQ(strOuter, vecRecord[1]["parent"].asString());
    EXPECT_EQ("board\n\"3\"", vecRecord[1]["name"].asString());
    EXPECT_TRUE(vecRecord[1]["ext"].empty());
    EXPECT_EQ(2U, vecRecord[2]["sequence"].asUInt());
    EXPECT_THAT(m_debug.Take(), IsEmpty());
}

TEST_F(CallChainTest, EndsTheChainsOfATaskWithIt) {
    ZembGnlTask first;
    {
        const zemb::ScopedTask current(&first);
        BeginCallChain("of the first task");
        EXPECT_TRUE(TraceCallChain("x"));
    }
    ZembGnlTask second;
    const zemb::ScopedTask current(&second);
    EXPECT_FALSE(TraceCallChain("x"));
    BeginCallChain("of the second task");
    zemb::SetStatePath("/dev/null/no folder");
    EXPECT_FALSE(TraceCallChain("lost"));
}

TEST_F(CallChainTest, ForgetsTheOutermostOfTooMany) {
    std::string strId;
    for (int i = 0; i < 70; ++i)
        strId = BeginCallChain("deep");
    int nChains = 0;
    for (; TraceCallChain("x"); ++nChains)
        EndCallChain();
    EXPECT_EQ(64, nChains);
    EXPECT_EQ(strId, Records().front()["id"].asString());
}

}  // namespace
