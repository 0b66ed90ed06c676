#include "tovelkarin/tntraceif.h"

#include "diagnosis/asn_sections.h"

#include "tests/naive/asn_check.h"
#include "tests/random_bytes.h"
#include "tests/support.h"
#include "tovelkarin/tnreqtimeout.h"
#include "zemb/asn.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <future>
#include <stdexcept>
#include <thread>
#include <utility>

namespace {

using namespace NSTN_util;
using naive::PlainAsn;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* EXCEPTION = "zembedded E Log Info::Exception c style format!";

class BadAsn : public AsnType {
public:
    std::string GetTypeName() const override { throw std::runtime_error("name"); }
    void AppendText(std::string&, std::size_t) const override { throw 1; }
};

// Each test has a root of its own, with a file of switches.
class AdvAsnTraceTest : public testing::Test {
protected:
    AdvAsnTraceTest() {
        zemb::SetRootPath(m_folder.Path());
        Write("AdvanceAsnTrace = 2\nbExplicityTrace = 0\n");
        RefreshAdvAsnTraceSwitch(-1);
        m_debug.Take();
    }
    ~AdvAsnTraceTest() override {
        RefreshAdvAsnTraceSwitch(1);  // as the process began
        zemb::ResetRootPath();
        NSTE_util::TNReqTimeoutIF::Destroy();
    }

    void Write(const std::string& strText) {
        m_folder.Write("etc/oss_cfg/e2e/nml_common/common.cfg", strText);
        NSTE_util::TNReqTimeoutIF::Destroy();  // and with it what it has read
        std::string strValue;
        NSTE_util::TNReqTimeoutIF::Instance()->GetItemValue(File(), "any", strValue);
        m_debug.Take();  // the line that a file is read for the first time
    }
    std::string File() const { return m_folder.Path("etc/oss_cfg/e2e/nml_common/common.cfg"); }

    // What a trace writes, as "module level text".
    std::vector<std::string> Traced(int nMode) {
        EXPECT_EQ(0, AdvAsnTrace(&m_value, nMode, 0));
        return m_debug.TakeWhole();
    }

    support::TempFolder m_folder;
    support::DebugCapture m_debug;
    const AsnInt m_value{5, "TAge"};
    const std::vector<std::string> m_vecFull = {"zembedded 1  --(TAge): 5"};
    const std::vector<std::string> m_vecSummary = {"tovelkarin 1 AATS>>> TAge"};
    const std::vector<std::string> m_vecFixed = {
        "tovelkarin 1 AdvAsnTraceFix asn szie:13",
        "tovelkarin 1 Total Size: 13  >>> Section(0 ~ 12)\n --(TAge): 5\n"};
};

TEST_F(AdvAsnTraceTest, AgreesWithTheNaiveModel) {
    zemb::SetRootPath("");
    support::CheckRandomly(naive::CheckAsnSections, 400, 60);
}

TEST_F(AdvAsnTraceTest, PrintsByModeAndSwitch) {
    EXPECT_EQ(m_vecFull, Traced(1));
    EXPECT_EQ(m_vecSummary, Traced(2));
    EXPECT_EQ(m_vecFixed, Traced(3));
    EXPECT_EQ(m_vecFixed, Traced(4));
    EXPECT_EQ(m_vecSummary, Traced(0));
    EXPECT_THAT(Traced(-1), IsEmpty());
    Write("AdvanceAsnTrace = 3\nbExplicityTrace = 0\n");
    const std::string strChange = "tovelkarin 1 AdvAsnTrace Configuration Changed (2 -> 3)";
    std::vector<std::string> vecExpected = m_vecFixed;
    vecExpected.insert(vecExpected.begin(), strChange);
    EXPECT_EQ(vecExpected, Traced(-1));
    EXPECT_EQ(m_vecFixed, Traced(0));
    Write("AdvanceAsnTrace = 7\nbExplicityTrace = 0\n");
    EXPECT_THAT(Traced(0), ElementsAre("tovelkarin 1 AdvAsnTrace Configuration Changed (3 -> 7)",
                                       "tovelkarin 1 Warning:Advance Trace Config Error!advTrace=7",
                                       m_vecFull[0]));
    EXPECT_THAT(Traced(9), ElementsAre("tovelkarin 1 Warning:Advance Trace Config Error!advTrace=9",
                                       m_vecFull[0]));
    EXPECT_THAT(Traced(-2), SizeIs(2));
}

TEST_F(AdvAsnTraceTest, ReadsTheSwitches) {
    RefreshAdvAsnTraceSwitch(4);
    EXPECT_THAT(m_debug.Take(), ElementsAre("AdvAsnTrace Configuration Changed (2 -> 4)"));
    RefreshAdvAsnTraceSwitch(4);  // a change to the same is told too
    EXPECT_THAT(m_debug.Take(), ElementsAre("AdvAsnTrace Configuration Changed (4 -> 4)"));
    RefreshAdvAsnTraceSwitch(5);
    EXPECT_THAT(m_debug.Take(), ElementsAre("AdvAsnTrace Configuration Changed (4 -> 2)"));
    EXPECT_FALSE(IsExplicityTrace());
    Write("bExplicityTrace = 9\n");
    RefreshAdvAsnTraceSwitch(0);
    EXPECT_TRUE(IsExplicityTrace());
    EXPECT_THAT(
        m_debug.Take(),
        testing::IsSupersetOf({" read AdvAsnTrace failed! file = " + File(),
                               std::string("AdvAsnTrace Configuration Changed (1 -> 0)"),
                               std::string("ExplicityTrace Configuration Changed (0 -> 9)")}));
    Write("AdvanceAsnTrace = 2\n");
    RefreshAdvAsnTraceSwitch(0);
    EXPECT_FALSE(IsExplicityTrace());
    const std::vector<std::string> vecLine = m_debug.Take();
    EXPECT_EQ("AdvAsnTrace Configuration Changed (0 -> 2)", vecLine.front());
    EXPECT_EQ(" read bExplicityTrace failed! file = " + File(), vecLine.back());
    zemb::SetRootPath("");
    RefreshAdvAsnTraceSwitch(-1);
    EXPECT_THAT(m_debug.Take(), IsEmpty());
    EXPECT_EQ(m_vecSummary, Traced(0));
}

TEST_F(AdvAsnTraceTest, RefusesNullAndExit) {
    EXPECT_EQ(-1, AdvAsnTrace(nullptr, 1, 0));
    EXPECT_THAT(m_debug.Take(), ElementsAre("Error:Input Parameter Error!"));
    zemb::SetExit(true);
    EXPECT_EQ(-1, AdvAsnTrace(&m_value, 1, 0));
    zemb::SetExit(false);
    EXPECT_THAT(m_debug.Take(), IsEmpty());
}

TEST_F(AdvAsnTraceTest, PrintsNoFullTextOnceTheProcessExits) {
    std::vector<std::string> vecLine;
    const zemb::ScopedDebugSink sink([&](const zemb::DebugLine& line) {
        vecLine.push_back(line.strText);
        zemb::SetExit(true);
    });
    EXPECT_EQ(0, AdvAsnTrace(&m_value, 9, 0));
    zemb::SetExit(false);
    EXPECT_THAT(vecLine, ElementsAre("Warning:Advance Trace Config Error!advTrace=9"));
}

// Whether a thread rests in the kernel, look after look, before bDone.
bool Rests(pid_t nThread, const std::atomic<bool>& bDone) {
    const std::string strFile = "/proc/self/task/" + std::to_string(nThread) + "/stat";
    for (int nLooks = 0; nLooks < 1000; ++nLooks) {
        std::string strStat;
        std::ifstream file(strFile);
        std::getline(file, strStat);
        if (bDone)
            return false;
        const std::size_t nState = strStat.rfind(") ");
        if (nState == std::string::npos || strStat[nState + 2] != 'S')
            nLooks = 0;  // works, or rests for a moment
        std::this_thread::yield();
    }
    return true;
}

TEST_F(AdvAsnTraceTest, OneThreadPrintsAtATime) {
    Write("AdvanceAsnTrace = 3\nbExplicityTrace = 0\n");
    RefreshAdvAsnTraceSwitch(-1);  // its lines stand outside of the lock
    const struct {
        int nFirst;
        int nSecond;
        bool bWaits;
    } arrCase[] = {{1, 2, true},  {2, 2, true},  {3, 1, true},  {2, 4, true},
                   {2, -1, true}, {4, 2, false}, {4, 4, false}, {-1, 2, false}};
    for (const auto& one : arrCase) {
        std::promise<void> printing;
        std::promise<void> release;
        std::atomic<int> nLines{0};
        const zemb::ScopedDebugSink sink([&](const zemb::DebugLine&) {
            if (++nLines == 1) {
                printing.set_value();
                release.get_future().wait();
            }
        });
        std::thread first([&] { AdvAsnTrace(&m_value, one.nFirst, 0); });
        printing.get_future().wait();
        std::promise<pid_t> id;
        std::atomic<bool> bDone{false};
        std::thread second([&] {
            id.set_value(static_cast<pid_t>(syscall(SYS_gettid)));
            AdvAsnTrace(&m_value, one.nSecond, 0);
            bDone = true;
        });
        EXPECT_EQ(one.bWaits, Rests(id.get_future().get(), bDone))
            << one.nFirst << " before " << one.nSecond;
        release.set_value();
        first.join();
        second.join();
        EXPECT_LE(2, nLines);
    }
}

TEST_F(AdvAsnTraceTest, FallsBackWhenAValueThrows) {
    const BadAsn value;
    EXPECT_EQ(-1, AdvAsnTrace(&value, 1, 0));
    EXPECT_EQ(-1, AdvAsnTrace(&value, 2, 0));
    EXPECT_THAT(m_debug.TakeWhole(), ElementsAre(EXCEPTION, EXCEPTION));
    EXPECT_EQ(-1, AdvAsnTrace(&value, 3, 0));
    EXPECT_THAT(m_debug.TakeWhole(),
                ElementsAre("tovelkarin 1 Exception: AdvAsnTrace error! Asn size:0",
                            "tovelkarin 1 use default asn trace", EXCEPTION));
    const zemb::ScopedNoDebugChannel silent;
    EXPECT_EQ(0, AdvAsnTrace(&m_value, 1, 0));
}

TEST_F(AdvAsnTraceTest, LetsAChannelCallBack) {
    int nCalls = 0;
    const zemb::ScopedDebugSink sink([&](const zemb::DebugLine&) {
        if (++nCalls == 1)
            AdvAsnTrace(&m_value, 3, 0);
        throw 1;
    });
    AdvAsnTrace(&m_value, 2, 0);
    EXPECT_LE(2, nCalls);
}

// One thread prints, the other one reads items, and who takes their lines calls back on both.
void ExitWithTwoThatCallBack(const AsnType& value, const std::string& strFile) {
    alarm(20);  // ends the process when they wait for each other
    std::promise<void> arrInside[2];
    std::shared_future<void> arrBothInside[2] = {arrInside[0].get_future(),
                                                 arrInside[1].get_future()};
    thread_local std::size_t t_nThread = 0;
    thread_local bool t_bInside = false;
    const zemb::ScopedDebugSink sink([&](const zemb::DebugLine&) {
        if (std::exchange(t_bInside, true))
            return;
        arrInside[t_nThread].set_value();
        arrBothInside[1 - t_nThread].wait();
        AdvAsnTrace(&value, 2, 0);
    });
    std::thread reader([&] {
        t_nThread = 1;
        std::string strValue;  // the first look at a file is reported
        NSTE_util::TNReqTimeoutIF::Instance()->GetItemValue(strFile, "key", strValue);
    });
    AdvAsnTrace(&value, 2, 0);
    reader.join();
    std::_Exit(0);
}

TEST_F(AdvAsnTraceTest, LetsChannelsOfTwoThreadsCallBack) {
    GTEST_FLAG_SET(death_test_style, "fast");
    const std::string strFile = m_folder.Write("other.cfg", "key = value\nno equal\n");
    EXPECT_EXIT(ExitWithTwoThatCallBack(m_value, strFile), testing::ExitedWithCode(0), "");
    std::string strValue;
    EXPECT_TRUE(NSTE_util::TNReqTimeoutIF::Instance()->GetItemValue(strFile, "key", strValue));
    EXPECT_THAT(m_debug.Take(), ElementsAre("GetTNReadcfg_nolock  InitByFileName failed!",
                                            " TNReadCfg_SplitStrBySeparator (no equal) error! "));
}

TEST_F(AdvAsnTraceTest, StopsAtTheLimitOfSections) {
    std::string strText;
    for (int i = 0; i < 505; ++i)
        strText += std::string(3999, 'x') + "\n";
    const PlainAsn value(strText);
    const auto Print = [&](unsigned nSections) {
        EXPECT_TRUE(AdvAsnTraceFix(value, nSections, 0));
        return m_debug.Take();
    };
    // The label in front keeps sections from ending at a line feed.
    std::vector<std::string> vecLine = Print(10);
    ASSERT_THAT(vecLine, SizeIs(12));
    EXPECT_EQ(naive::SectionLines(" --(Plain)" + strText, false), vecLine);
    EXPECT_THAT(vecLine.back(), testing::EndsWith(")\n ...More Asn Not Print..."));
    vecLine = Print(0);
    ASSERT_THAT(vecLine, SizeIs(502));
    EXPECT_THAT(vecLine.back(),
                testing::EndsWith("\n pack count more than 1000 ...More Asn Not Print..."));
    vecLine = Print(501);
    ASSERT_THAT(vecLine, SizeIs(502));
    EXPECT_THAT(vecLine.back(), testing::EndsWith(" 1000 ...More Asn Not Print..."));
    EXPECT_EQ("", CompactAsnText("", 0, true));
    EXPECT_EQ("ab - -", CompactAsnText("    a --b - -     --", 0, true));
    EXPECT_EQ("a --b", CompactAsnText("    a --b", 5, false));
}

TEST_F(AdvAsnTraceTest, TracesAValueWithoutLineFeed) {
    const PlainAsn value(": x\ny");
    EXPECT_EQ(0, AdvAsnTrace(&value, 1, 0));
    EXPECT_THAT(m_debug.Take(), ElementsAre(" --(Plain): x", "y"));
}

TEST(AsnValueTest, WritesATreeLineByLine) {
    AsnTree tree(AsnTree::EKind::SEQUENCE, "TConnect");
    tree.Add("ne", std::make_shared<AsnInt>(-5));
    tree.Add("name", std::make_shared<AsnText>("a\nb\\\x01", "TName"));
    auto pList = std::make_shared<AsnTree>(AsnTree::EKind::LIST);
    pList->Add("", std::make_shared<AsnOcts>(std::string("\x00\xFF", 2)));
    pList->Add("", nullptr);
    tree.Add("ports", pList);
    auto pChoice = std::make_shared<AsnTree>(AsnTree::EKind::CHOICE);
    pChoice->Add("some", std::make_shared<AsnInt>(1));
    tree.Add("", pChoice);
    EXPECT_EQ(
        " --(TConnect):\n"
        "     --ne: -5\n"
        "     --name (TName): \"a\\nb\\\\\\x01\"\n"
        "     --ports: 2 elements\n"
        "         --[0]: 0x00FF\n"
        "         --[1]: \n"
        "     --: choice\n"
        "         --some: 1\n",
        NSTE_util::toString(tree));
}

}  // namespace
