#include "tovelkarin/tnreqtimeout.h"

#include "tests/naive/timeout_file_check.h"
#include "tests/random_bytes.h"
#include "tests/support.h"

#include <atomic>
#include <climits>
#include <map>
#include <thread>

namespace {

using NSTE_util::TNReqTimeoutIF;
using testing::ElementsAre;
using testing::IsEmpty;

class TNReqTimeoutTest : public testing::Test {
protected:
    TNReqTimeoutTest() { TNReqTimeoutIF::Destroy(); }
    ~TNReqTimeoutTest() override { TNReqTimeoutIF::Destroy(); }

    static TNReqTimeoutIF& Service() { return *TNReqTimeoutIF::Instance(); }

    int Load(const std::string& strText) {
        return Service().LoadTimeoutCfgFile(m_folder.Write("t.cfg", strText));
    }

    support::TempFolder m_folder;
    support::DebugCapture m_debug;
    zemb::ScopedClock m_clock;
};

TEST_F(TNReqTimeoutTest, AgreesWithTheNaiveModel) {
    testing::internal::CaptureStdout();
    support::CheckRandomly(naive::CheckTimeoutFile, 3000, 200);
    testing::internal::GetCapturedStdout();
}

TEST_F(TNReqTimeoutTest, KnowsItsDefaultsWithoutAFile) {
    EXPECT_EQ(60, Service().GetReqTimeOutValue(7, 1, false));
    EXPECT_EQ(604800, Service().GetReqTimeDualValue(7));
    EXPECT_EQ(60, Service().GetReqDefaultTimeout(30));
    EXPECT_EQ(45, Service().GetReqTimeoutByDefault(7, 45));
    EXPECT_EQ(60, Service().GetReqTimeoutByDefault(7, -45));
}

TEST_F(TNReqTimeoutTest, CountsHalvesAndOffsets) {
    EXPECT_EQ(1, Load("[cmdreq_common_config]\ndefault_timeout = 0\noffset_time = -100\n"
                      "[cmdreq_command_timeout]\n7 = 20\n8 = 90 # nine tenths\n9 = 2147483647\n"
                      "[cmdreq_timedual_do]\n7 = 5\n"));
    const struct {
        int nCmd;
        int nCount;
        bool bOffset;
        int nSeconds;
    } arrCase[] = {{7, 1, false, 20},  {7, 3, false, 20}, {7, 5, false, 40},
                   {7, -4, false, 20}, {8, 1, true, 60},  {8, 1, false, 90},
                   {1, 1, false, 60},  {7, 14, true, 40}, {9, 2147483647, false, 2147483647}};
    for (const auto& one : arrCase)
        EXPECT_EQ(one.nSeconds, Service().GetReqTimeOutValue(one.nCmd, one.nCount, one.bOffset))
            << one.nCmd << " " << one.nCount;
    EXPECT_EQ(45, Service().GetReqDefaultTimeout(45));
    EXPECT_EQ(5, Service().GetReqTimeDualValue(7));
    EXPECT_EQ(604800, Service().GetReqTimeDualValue(8));
}

// Commands in a row, far apart and at both ends; each beside one that is not there.
TEST_F(TNReqTimeoutTest, FindsEachCommandAmongManyAndNoOther) {
    std::map<int, int> mapSeconds = {{INT_MIN, 1}, {-1, 2}, {INT_MAX, 3}};
    for (int i = 0; i < 700; ++i) {
        mapSeconds[2 * i] = 4 + i;
        mapSeconds[i << 21] = 1000 + i;
    }
    std::string strFile = "[cmdreq_common_config]\n[cmdreq_command_timeout]\n";
    for (const auto& [nCmd, nSeconds] : mapSeconds)
        strFile += std::to_string(nCmd) + " = " + std::to_string(nSeconds) + "\n";
    EXPECT_EQ(1, Load(strFile));
    for (const auto& [nCmd, nSeconds] : mapSeconds) {
        ASSERT_EQ(nSeconds, Service().GetReqTimeOutValue(nCmd, 1, false)) << nCmd;
        const int nOther = nCmd ^ 1;
        ASSERT_EQ(mapSeconds.count(nOther) == 0 ? 60 : mapSeconds[nOther],
                  Service().GetReqTimeOutValue(nOther, 1, false))
            << nOther;
    }
}

TEST_F(TNReqTimeoutTest, TakesTheFirstLineThatContainsTheKey) {
    Load(
        "x = 1\n[ cmdreq_common_config ]\r\ndefault_timeout_ext = 5\r\ndefault_timeout = 30\r\n"
        "offset_time\n[cmdreq_command_timeout]\n7 =\nabc = 4\n8\n 9x = 6 seconds\n"
        "[cmdreq_common_config]\nneed_auto_refresh = 1\n");
    EXPECT_EQ(5, Service().GetReqDefaultTimeout(1));
    EXPECT_EQ(60, Service().GetReqTimeOutValue(7, 1, false));  // 0 seconds
    EXPECT_EQ(5, Service().GetReqTimeOutValue(8, 1, false));
    EXPECT_EQ(6, Service().GetReqTimeOutValue(9, 1, false));
    m_folder.Write("t.cfg", "[cmdreq_command_timeout]\n9 = 7\n");
    support::SetFileTime(m_folder.Path("t.cfg"), 1);
    m_clock.Advance(301);
    testing::internal::CaptureStdout();
    EXPECT_EQ(7, Service().GetReqTimeOutValue(9, 1, false));
    EXPECT_EQ("Warning:cfg file (" + m_folder.Path("t.cfg") +
                  ") missing section cmdreq_common_config, load failed!",
              testing::internal::GetCapturedStdout());
}

TEST_F(TNReqTimeoutTest, PrintsWhatIsWrongWithTheFileAndKeepsWhatItHas) {
    Load("[cmdreq_common_config]\ndefault_timeout = 9\n[cmdreq_command_timeout]\n7 = 20\n");
    testing::internal::CaptureStdout();
    EXPECT_EQ(0, Service().LoadTimeoutCfgFile(m_folder.Path("none")));
    EXPECT_EQ(0, Service().LoadTimeoutCfgFile("/dev/zero"));
    const std::string strEnd = ")\nThis will cause reqtimeout to DEFAULT_TIMEOUT(60s)";
    const std::string strStart = "Warning:missing cfg file(load failed)\npath : (";
    EXPECT_EQ(strStart + m_folder.Path("none") + strEnd + strStart + "/dev/zero" + strEnd,
              testing::internal::GetCapturedStdout());
    EXPECT_EQ(20, Service().GetReqTimeOutValue(7, 1, false));
    EXPECT_EQ(9, Service().GetReqTimeOutValue(1, 1, false));
    EXPECT_THAT(m_debug.Take(), IsEmpty());
}

TEST_F(TNReqTimeoutTest, ReadsItemsOfOtherFilesAndReportsThoseThatExist) {
    const std::string strPath = m_folder.Write("c.cfg", "a = 0x10\nb = text\n");
    int nValue = 5;
    std::string strValue = "s";
    EXPECT_TRUE(Service().GetItemValue(strPath, "a", nValue));
    EXPECT_EQ(16, nValue);
    EXPECT_FALSE(Service().GetItemValue(strPath, "b", nValue));
    EXPECT_TRUE(Service().GetItemValue(strPath, "b", strValue));
    EXPECT_EQ("text", strValue);
    EXPECT_THAT(m_debug.TakeWhole(),
                ElementsAre("tovelkarin 1 GetTNReadcfg_nolock  InitByFileName failed!"));
    EXPECT_FALSE(Service().GetItemValue(m_folder.Path("none"), "a", nValue));
    EXPECT_EQ(16, nValue);
    EXPECT_EQ(3U, m_debug.Take().size());  // the reader's own reports, none of the service
    EXPECT_TRUE(Service().GetItemValue(m_folder.Path() + "/./c.cfg", "a", nValue));
    EXPECT_EQ(1U, m_debug.Take().size());  // another spelling is another reader
}

TEST_F(TNReqTimeoutTest, KeepsTheFileThatIsLoadedWhileAnotherThreadReadsTheOldOneAgain) {
    const std::string strOld = m_folder.Write(
        "old.cfg", "[cmdreq_common_config]\nneed_auto_refresh = 1\ndefault_timeout = 5\n");
    const std::string strNew = m_folder.Write(
        "new.cfg", "[cmdreq_common_config]\nneed_auto_refresh = 1\ndefault_timeout = 6\n");
    for (int i = 1; i < 300; ++i) {
        Service().LoadTimeoutCfgFile(strOld);
        support::SetFileTime(strOld, i);
        m_clock.Advance(301);
        std::thread asker([] { Service().GetReqDefaultTimeout(1); });
        Service().LoadTimeoutCfgFile(strNew);
        asker.join();
        ASSERT_EQ(6, Service().GetReqDefaultTimeout(1)) << i;
    }
}

// A query sees the times of one file, never some of each, and no load waits for queries.
TEST_F(TNReqTimeoutTest, SeesAWholeTableHoweverOftenItIsLoaded) {
    const std::string arrFile[] = {m_folder.Write("a.cfg",
                                                  "[cmdreq_common_config]\noffset_time = 1000\n"
                                                  "[cmdreq_command_timeout]\n7 = 1\n"),
                                   m_folder.Write("b.cfg",
                                                  "[cmdreq_common_config]\noffset_time = 3000\n"
                                                  "[cmdreq_command_timeout]\n7 = 3\n")};
    Service().LoadTimeoutCfgFile(arrFile[0]);
    std::atomic<int> nLoading{2};
    support::RunTogether(10, [&](std::size_t nThread) {
        if (nThread < 2) {
            for (int i = 0; i < 200; ++i)
                Service().LoadTimeoutCfgFile(arrFile[(nThread + static_cast<std::size_t>(i)) % 2]);
            --nLoading;
        }
        while (nLoading != 0)
            ASSERT_THAT(Service().GetReqTimeOutValue(7, 1, true), testing::AnyOf(1001, 3003));
    });
}

}  // namespace
