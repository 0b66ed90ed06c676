#include "zemb/control.h"
#include "zemb/debug.h"
#include "zemb/event.h"
#include "zemb/module.h"
#include "zemb/settings.h"
#include "zemb/task.h"

#include "tovelkarin/temutexopermgr.h"
#include "tovelkarin/utilif.h"

#include "tests/support.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <thread>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

class StateTest : public testing::Test {
protected:
    StateTest() { zemb::SetStatePath(m_folder.Path("state")); }
    ~StateTest() override { zemb::ResetStatePath(); }

    static std::vector<std::string> LinesOf(const std::string& strModule) {
        std::istringstream text(support::ReadAll(zemb::LogFileOf(strModule)));
        std::vector<std::string> vecLine;
        for (std::string strLine; std::getline(text, strLine);)
            vecLine.push_back(strLine);
        return vecLine;
    }

    support::TempFolder m_folder;
};

TEST_F(StateTest, ALogLineCarriesTimeThreadAndKind) {
    zemb::ScopedClock clock;
    clock.Freeze(1772352000123000);
    NSTE_util::GetDebugInterface("m")->Trace(1, "first");
    clock.Advance(61);
    NSTE_util::GetDebugInterface("m")->Trace(3, nullptr);
    NSTE_util::GetDebugInterface("m")->Assert("ASSERT: x.\n");
    EXPECT_EQ(6, NSTE_util::GetDebugInterface("m")->Printf("%s %d\n", "abc", 7));
    EXPECT_THAT(LinesOf("m"),
                ElementsAre(MatchesRegex("2026-03-01 08:00:00\\.123Z \\[[0-9]+\\] 1 first"),
                            MatchesRegex("2026-03-01 08:01:01\\.123Z \\[[0-9]+\\] 3 "),
                            MatchesRegex("2026-03-01 08:01:01\\.123Z \\[[0-9]+\\] A ASSERT: x\\."),
                            MatchesRegex("2026-03-01 08:01:01\\.123Z \\[[0-9]+\\] P abc 7")));
    struct stat info {};
    ASSERT_EQ(0, stat(zemb::LogFileOf("m").c_str(), &info));
    EXPECT_EQ(0640U, info.st_mode & 0777U);
}

TEST_F(StateTest, TextCannotForgeALine) {
    const struct {
        const char* szText;
        const char* szLine;
    } arrCase[] = {
        {"a\n2026-03-01 [1] 1 forged\r\x1B[2J\\n\tend\x7F",
         "a\\n2026-03-01 [1] 1 forged\\r\\x1B[2J\\\\n\tend\\x7F"},
        {"\xC2\x9B"
         "2J \xC2\x80 \xC2\x9F",
         "\\xC2\\x9B2J \\xC2\\x80 \\xC2\\x9F"},
        {"\x9B"
         "2J \xE4\x9B \x9F",
         "\\x9B2J \xE4\\x9B \\x9F"},
        {"\xC2\xA0 \xE2\x9B\x84 \xF0\x9F\x9A\x82 \xFF",
         "\xC2\xA0 \xE2\x9B\x84 \xF0\x9F\x9A\x82 \xFF"},
        {"\xE2\x9B", "\xE2\\x9B"},
    };
    for (const auto& test : arrCase)
        NSTE_util::GetDebugInterface("m")->Trace(1, test.szText);
    const auto vecLine = LinesOf("m");
    ASSERT_THAT(vecLine, SizeIs(std::size(arrCase)));
    for (std::size_t i = 0; i < vecLine.size(); ++i)
        EXPECT_THAT(vecLine[i], testing::EndsWith(std::string("] 1 ") + arrCase[i].szLine));
}

TEST_F(StateTest, TheLevelFilterIsTheModulesOwn) {
    zemb::SetTraceLevel("quiet", 3);
    NSTE_util::GetDebugInterface("quiet")->Trace(2, "dropped");
    NSTE_util::GetDebugInterface("quiet")->Trace(3, "kept");
    NSTE_util::GetDebugInterface("loud")->Trace(0, "kept");
    EXPECT_THAT(LinesOf("quiet"), ElementsAre(HasSubstr("kept")));
    EXPECT_THAT(LinesOf("loud"), SizeIs(1));
}

TEST_F(StateTest, ModuleNamesMakeFileNamesThatStayInTheFolder) {
    const std::string strLog = m_folder.Path("state/log/");
    EXPECT_EQ(strLog + "%2E%2E%2Fetc%2Fx.log", zemb::LogFileOf("../etc/x"));
    EXPECT_EQ(strLog + "%.log", zemb::LogFileOf(""));
    EXPECT_EQ(strLog + "m%2E1.log", zemb::LogFileOf("m.1")) << "m.1.log is an old file of m";
    const std::string str64(64, 'x');
    EXPECT_EQ(strLog + str64 + ".log", zemb::LogFileOf(str64));
    for (const std::size_t nSize : {65U, 72U, 1U << 20})
        for (const char c : {'x', '/'}) {
            const std::string strLong(nSize, c);
            EXPECT_NE(zemb::LogFileOf(strLong), zemb::LogFileOf(strLong + "y"));
            EXPECT_NE(zemb::LogFileOf(strLong), zemb::LogFileOf(strLong.substr(0, 64)));
            NSTE_util::GetDebugInterface(strLong.c_str())->Trace(1, "kept");
            EXPECT_THAT(LinesOf(strLong), SizeIs(1));
        }
    EXPECT_EQ(NSTE_util::GetDebugInterface("same"), NSTE_util::GetDebugInterface("same"));
    EXPECT_EQ(nullptr, NSTE_util::GetDebugInterface(nullptr));
    EXPECT_EQ(-1, NSTE_util::GetDebugInterface("same")->Printf(nullptr));
}

TEST_F(StateTest, AFolderThatCannotBeMadeLosesLinesWithOneWarningUntilItCan) {
    m_folder.Write("blocked", "a file where the folder should be");
    zemb::SetStatePath(m_folder.Path("blocked"));
    testing::internal::CaptureStderr();
    NSTE_util::GetDebugInterface("m")->Trace(1, "lost");
    NSTE_util::GetDebugInterface("m")->Trace(1, "lost");
    const std::string strWarning = testing::internal::GetCapturedStderr();
    EXPECT_THAT(strWarning, HasSubstr("log of module m"));
    EXPECT_EQ(1, std::count(strWarning.begin(), strWarning.end(), '\n'));
    std::filesystem::remove(m_folder.Path("blocked"));
    NSTE_util::GetDebugInterface("m")->Trace(1, "kept");
    EXPECT_THAT(LinesOf("m"), ElementsAre(HasSubstr("kept")));
}

// What a killed process, or a full disk, left over.
TEST_F(StateTest, NoLineIsGluedToATornOne) {
    const auto Reopen = [this] { zemb::SetStatePath(m_folder.Path("state")); };
    const auto Trace = [](const char* szText) {
        NSTE_util::GetDebugInterface("m")->Trace(1, szText);
    };
    m_folder.Write("state/log/m.log", "of another process, to");
    chmod(zemb::LogFileOf("m").c_str(), 0640);
    Trace("first");
    Reopen();  // a whole line stands at the end: no empty one comes
    Trace("second");
    EXPECT_THAT(LinesOf("m"), ElementsAre("of another process, to", testing::EndsWith(" 1 first"),
                                          testing::EndsWith(" 1 second")));
    // The file may grow by a few bytes only.
    rlimit before{};
    ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &before));
    const auto pBefore = std::signal(SIGXFSZ, SIG_IGN);
    rlimit small = before;
    small.rlim_cur = std::filesystem::file_size(zemb::LogFileOf("m")) + 10;
    testing::internal::CaptureStderr();
    setrlimit(RLIMIT_FSIZE, &small);
    Trace("torn");
    Trace("torn");
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, pBefore);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("File too large"));
    Trace("third");
    const auto vecLine = LinesOf("m");
    ASSERT_THAT(vecLine, SizeIs(5));
    EXPECT_THAT(vecLine[3], SizeIs(10));
    EXPECT_THAT(vecLine[4], testing::EndsWith(" 1 third"));
}

TEST_F(StateTest, AFullLogGivesWayAndFiveOldOnesAreKept) {
    const std::string strLog = m_folder.Path("state/log/");
    for (const char c : {'1', '2', '3', '4', '5', '6'}) {
        m_folder.Write("state/log/m.log", std::string(1, c) + " was full\n");
        std::filesystem::resize_file(strLog + "m.log", (10U << 20) - 1);  // ends within a line
        zemb::SetStatePath(m_folder.Path("state"));
        NSTE_util::GetDebugInterface("m")->Trace(1, "new");
        EXPECT_THAT(LinesOf("m"), ElementsAre(HasSubstr("] 1 new")));
        EXPECT_EQ(c, support::ReadAll(strLog + "m.1.log")[0]);
    }
    EXPECT_EQ('2', support::ReadAll(strLog + "m.5.log")[0]);
    EXPECT_FALSE(std::filesystem::exists(strLog + "m.6.log"));
}

TEST_F(StateTest, LinesOfManyThreadsAreWhole) {
    std::vector<std::thread> vecThread;
    for (int i = 0; i < 4; ++i)
        vecThread.emplace_back([] {
            for (int n = 0; n < 250; ++n)
                NSTE_util::GetDebugInterface("m")->Trace(
                    1, "0123456789012345678901234567890123456789");
        });
    for (std::thread& thread : vecThread)
        thread.join();
    const auto vecLine = LinesOf("m");
    EXPECT_THAT(vecLine, SizeIs(1000));
    EXPECT_THAT(vecLine,
                testing::Each(testing::EndsWith("1 0123456789012345678901234567890123456789")));
}

TEST(DebugTest, WithoutAStateFolderLinesGoToStandardError) {
    unsetenv("ZEMB_STATE");
    zemb::SetRootPath("");
    testing::internal::CaptureStderr();
    NSTE_util::GetDebugInterface("m")->Trace(1, "seen");
    NSTE_util::WriteException(nullptr);
    const std::string strText = testing::internal::GetCapturedStderr();
    zemb::ResetRootPath();
    EXPECT_THAT(strText, HasSubstr("] 1 seen\n"));
    EXPECT_THAT(strText, HasSubstr("] E \n"));
}

TEST(DebugTest, SinksNestAndMayCallBack) {
    std::vector<std::string> vecOuter;
    std::vector<std::string> vecInner;
    const zemb::ScopedDebugSink outer(
        [&](const zemb::DebugLine& line) { vecOuter.push_back(line.strText); });
    {
        const zemb::ScopedDebugSink inner([&](const zemb::DebugLine& line) {
            vecInner.push_back(line.strText);
            if (line.strText == "first")
                NSTE_util::GetDebugInterface("m")->Trace(1, "from inside");
        });
        NSTE_util::GetDebugInterface("m")->Trace(1, "first");
    }
    NSTE_util::GetDebugInterface("m")->Trace(1, "second");
    EXPECT_THAT(vecInner, ElementsAre("first", "from inside"));
    EXPECT_THAT(vecOuter, ElementsAre("second"));
}

TEST(DebugTest, SinksPassOnAndMayGoInAnyOrder) {
    std::vector<std::string> vecSeen;
    const auto Sink = [&](const char* szName) {
        return [&vecSeen, szName](const zemb::DebugLine&) { vecSeen.emplace_back(szName); };
    };
    auto pFirst = std::make_unique<zemb::ScopedDebugSink>(Sink("first"));
    auto pSecond = std::make_unique<zemb::ScopedDebugSink>(Sink("second"), true);
    NSTE_util::GetDebugInterface("m")->Trace(1, "x");
    EXPECT_THAT(vecSeen, ElementsAre("second", "first"));
    const zemb::ScopedDebugSink last(Sink("last"));
    pFirst = nullptr;
    pSecond = nullptr;
    vecSeen.clear();
    NSTE_util::GetDebugInterface("m")->Trace(1, "x");
    EXPECT_THAT(vecSeen, ElementsAre("last"));
}

TEST(ClockTest, MomentsBefore1970HaveTheirFractionToo) {
    EXPECT_EQ("1969-12-31 23:59:59.999Z", zemb::FormatTime(-1000));
    EXPECT_EQ("1970-01-01 00:00:00.000Z", zemb::FormatTime(999));
    zemb::ScopedClock clock;
    clock.Freeze(-1);
    EXPECT_EQ(-1, zemb::NowMicroseconds());
}

TEST_F(StateTest, ASecondBefore1970IsNotTakenForTheNext) {
    zemb::ScopedClock clock;
    clock.Freeze(-500000);
    NSTE_util::GetDebugInterface("m")->Trace(1, "before");
    clock.Freeze(250000);
    NSTE_util::GetDebugInterface("m")->Trace(1, "after");
    EXPECT_THAT(LinesOf("m"), ElementsAre(HasSubstr("1969-12-31 23:59:59.500Z"),
                                          HasSubstr("1970-01-01 00:00:00.250Z")));
}

TEST(DebugTest, ASinkMayWriteALineWhileItDies) {
    struct LastWords {
        ~LastWords() { NSTE_util::GetDebugInterface("m")->Trace(1, "last words"); }
    };
    support::DebugCapture debug;
    auto pWords = std::make_shared<LastWords>();
    auto pSink = std::make_unique<zemb::ScopedDebugSink>([pWords](const zemb::DebugLine&) {});
    pWords = nullptr;
    pSink = nullptr;
    EXPECT_THAT(debug.Take(), ElementsAre("last words"));
}

// The slot of a virtual operation, in words from the start of the table; destructors take two.
template <class Operation>
std::size_t SlotOf(Operation pfn) {
    std::size_t arrWord[2] = {};
    static_assert(sizeof arrWord == sizeof pfn);
    std::memcpy(arrWord, &pfn, sizeof pfn);
    return (arrWord[0] - 1) / sizeof(void*);
}

TEST(SlotTest, OperationsStandWhereTheInterfacesFixThem) {
    EXPECT_EQ(2U, SlotOf(&ModuleMgr::RegisterModule)) << "third slot";
    EXPECT_EQ(3U, SlotOf(&ZembTaskCreator::Register)) << "fourth slot";
    EXPECT_EQ(5U, SlotOf(&ZembTaskCreator::UnRegister)) << "sixth slot";
    EXPECT_EQ(0U, SlotOf(&TEEventMgr::RegisterHandler));
    EXPECT_EQ(1U, SlotOf(&TEEventMgr::UnRegisterHandler));
    EXPECT_EQ(0U, SlotOf(&TEDebugInterface::Trace));
    EXPECT_EQ(1U, SlotOf(&TEDebugInterface::Assert));
    EXPECT_EQ(2U, SlotOf(&ModuleObject::GetModuleName));
    EXPECT_EQ(3U, SlotOf(&ModuleObject::GetModuleNumber));
    EXPECT_EQ(4U, SlotOf(&ModuleObject::Start));
    EXPECT_EQ(5U, SlotOf(&ModuleObject::Stop));
    EXPECT_EQ(6U, SlotOf(&ModuleObject::QueryInterface));
    EXPECT_EQ(7U, SlotOf(&ModuleObject::ListInterfaces));
    EXPECT_EQ(8U, SlotOf(&ModuleObject::ReleaseInterfaces));
    EXPECT_EQ(9U, SlotOf(&ModuleObject::Reserved));
    EXPECT_EQ(2U, SlotOf(&UtilIF::GetInterfaceName));
    EXPECT_EQ(3U, SlotOf(&UtilIF::GetInterfaceVersion));
    EXPECT_EQ(4U, SlotOf(&UtilIF::IsMatch));
    EXPECT_EQ(5U, SlotOf(&UtilIF::IsInt3Enabled));
    EXPECT_EQ(6U, SlotOf(&UtilIF::Reserved6));
    EXPECT_EQ(7U, SlotOf(&UtilIF::Reserved7));
    using NSTE_util::TEMutexOperMgr;
    using NSTE_util::TEOperObject;
    using Objects = const std::list<TEOperObject>&;
    using One = const TEOperObject&;
    EXPECT_EQ(2U, SlotOf<unsigned long (TEMutexOperMgr::*)(int, Objects)>(
                      &TEMutexOperMgr::AcquireMutexOper));
    EXPECT_EQ(
        3U, SlotOf<unsigned long (TEMutexOperMgr::*)(int, One)>(&TEMutexOperMgr::AcquireMutexOper));
    EXPECT_EQ(4U,
              SlotOf<void (TEMutexOperMgr::*)(int, Objects)>(&TEMutexOperMgr::ReleaseMutexOper));
    EXPECT_EQ(5U, SlotOf<void (TEMutexOperMgr::*)(int, One)>(&TEMutexOperMgr::ReleaseMutexOper));
    EXPECT_EQ(6U, SlotOf(&TEMutexOperMgr::IsOperRunning));
    EXPECT_EQ(7U, SlotOf(&TEMutexOperMgr::HasRunningOper));
    EXPECT_EQ(8U, SlotOf(&TEMutexOperMgr::LoadMutexCfg));
}

TEST(SettingsTest, ReadsNumbersByTheLineRulesOfConfigurationFiles) {
    const support::TempFolder folder;
    const std::string strKey = "key = ";
    struct Case {
        std::string strText;
        int nResult;
        int nValue;
    };
    const Case arrCase[] = {
        {"key=5", 1, 5},
        {" \tkey \t= 5 \r\n", 1, 5},
        {"key = -5\n", 1, -5},
        {"key = 0x1F\n", 1, 31},
        {"key = -0x80000000\n", 1, -2147483647 - 1},
        {"key = 2147483648\n", 0, 0},
        {"key = 0x80000000\n", 0, 0},
        {"key = 12a\n", 0, 0},
        {"key = +5\n", 0, 0},
        {"key = 0x\n", 0, 0},
        {"key =\n", 0, 0},
        {"key\n", 0, 0},
        {"Key = 5\n", 0, 0},
        {"# key = 5\n  # key = 6\n", 0, 0},
        {"key = 5\nkey = 6\n", 1, 6},
        {"key = 5\nkey = x\n", 0, 0},
        {"key = 5=6\n", 0, 0},
        {"", 0, 0},
        {std::string(1022, '#') + "\nkey = 5\n", 1, 5},
        {std::string(1023, '#') + "\nkey = 5\n", 0, 0},
        {strKey + std::string(1022 - 7, ' ') + "5", 1, 5},
        {strKey + "5" + std::string(1022 - 7, ' ') + "6\nkey = 7\n", 1, 5},
    };
    for (const Case& test : arrCase) {
        int nValue = 99;
        const std::string strFile = folder.Write("x.cfg", test.strText);
        EXPECT_EQ(test.nResult, ZembGetRegInt("key", nValue, strFile.c_str())) << test.strText;
        EXPECT_EQ(test.nResult == 1 ? test.nValue : 99, nValue) << test.strText;
    }
    int nValue = 99;
    EXPECT_EQ(0, ZembGetRegInt("key", nValue, folder.Path().c_str())) << "a folder";
    EXPECT_EQ(0, ZembGetRegInt("key", nValue, "/no/such/file"));
    EXPECT_EQ(0, ZembGetRegInt(nullptr, nValue, nullptr));
    EXPECT_EQ(99, nValue);
}

TEST(SettingsTest, RootAndStateComeFromTheHostElseTheEnvironment) {
    setenv("ZEMB_ROOT", "/from/environment", 1);
    EXPECT_EQ("/from/environment", NSTE_util::GetZEMBRootPath());
    EXPECT_EQ("/from/environment/var", zemb::GetStatePath());
    setenv("ZEMB_STATE", "/state", 1);
    EXPECT_EQ("/state", zemb::GetStatePath());
    zemb::SetRootPath("/from/host");
    zemb::SetStatePath("/other");
    EXPECT_EQ("/from/host", NSTE_util::GetZEMBRootPath());
    EXPECT_EQ("/other", zemb::GetStatePath());
    zemb::ResetRootPath();
    zemb::ResetStatePath();
    unsetenv("ZEMB_ROOT");
    unsetenv("ZEMB_STATE");
    EXPECT_EQ("", NSTE_util::GetZEMBRootPath());
    EXPECT_EQ("", zemb::GetStatePath());
}

TEST(TaskTest, TheCurrentTaskIsTheThreadsOwn) {
    ZembCmdMSG msg{};
    ZembGnlTask task(&msg);
    const zemb::ScopedTask current(&task);
    EXPECT_EQ(&task, ZembGetCurrentTask());
    EXPECT_EQ(&msg, task.GetCurReqMsg());
    ZembGnlTask* pOther = &task;
    std::thread([&] { pOther = ZembGetCurrentTask(); }).join();
    EXPECT_EQ(nullptr, pOther);
    {
        const zemb::ScopedTask none(nullptr);
        EXPECT_EQ(nullptr, ZembGetCurrentTask());
    }
    EXPECT_EQ(&task, ZembGetCurrentTask());
}

// A module whose start and stop do as they are told; registered modules live to the end.
class FakeModule : public ModuleObject {
public:
    explicit FakeModule(const std::string& strName) : m_strName(strName) {}
    std::string GetModuleName() override { return m_strName; }
    int GetModuleNumber() override { return 1; }
    int Start() override { return Answer("start"); }
    int Stop() override { return Answer("stop"); }
    ModuleInterface* QueryInterface(const std::string&, int) override { return nullptr; }
    int ListInterfaces(std::list<ModuleInterface*>&) override { return 0; }
    void ReleaseInterfaces() override {}
    int Reserved() override { return 0; }

    int nAnswer = 0;
    bool bThrow = false;
    std::vector<std::string>* pCalls = nullptr;

private:
    int Answer(const char* szWhat) {
        if (pCalls != nullptr)
            pCalls->push_back(m_strName + " " + szWhat);
        if (bThrow)
            throw std::runtime_error("broken");
        return nAnswer;
    }

    const std::string m_strName;
};

TEST(ModuleMgrTest, StartsInOrderStopsInReverseAndTellsWhatFailed) {
    static FakeModule first("first");
    static FakeModule second("second");
    ModuleMgr& mgr = *ModuleMgr::Instance();
    EXPECT_FALSE(mgr.RegisterModule(nullptr));
    EXPECT_TRUE(mgr.RegisterModule(&first));
    EXPECT_TRUE(mgr.RegisterModule(&second));
    EXPECT_FALSE(mgr.RegisterModule(&first));
    std::vector<std::string> vecCall;
    first.pCalls = second.pCalls = &vecCall;

    support::DebugCapture debug;
    std::string strError;
    second.nAnswer = 5;
    EXPECT_FALSE(mgr.StartModules(strError));
    EXPECT_EQ("module second: start answered 5", strError);
    EXPECT_TRUE(mgr.IsStarted(&first));
    EXPECT_FALSE(mgr.IsStarted(&second));
    second.nAnswer = 0;
    EXPECT_TRUE(mgr.StartModules(strError));
    first.bThrow = true;
    EXPECT_FALSE(mgr.StopModules(strError));
    EXPECT_EQ("module first: stop threw: broken", strError);
    EXPECT_THAT(vecCall, ElementsAre("first start", "second start", "second start", "second stop",
                                     "first stop"));
    first.bThrow = false;
    EXPECT_TRUE(mgr.StartModules(strError));
    first.nAnswer = 3;
    second.nAnswer = 4;
    EXPECT_FALSE(mgr.StopModules(strError));
    EXPECT_EQ("module second: stop answered 4", strError) << "of several the one that came first";
    first.nAnswer = second.nAnswer = 0;
    first.pCalls = second.pCalls = nullptr;
}

TEST(ModuleMgrTest, LoadingTellsWhyItFailed) {
    std::string strError;
    EXPECT_FALSE(ModuleMgr::Instance()->LoadModule("/no/such/module.so", strError));
    EXPECT_THAT(strError, HasSubstr("/no/such/module.so"));
    EXPECT_FALSE(ModuleMgr::Instance()->LoadModule("libm.so.6", strError));
    EXPECT_THAT(strError, HasSubstr("registered no module"));
}

TEST(TaskCreatorTest, KnowsItsRecords) {
    ZembTaskCreator& creator = *ZembTaskCreator::Instance();
    static ZembTaskCreatorRecord record{};
    EXPECT_EQ(-1, creator.Register(nullptr));
    EXPECT_EQ(0, creator.UnRegister(&record)) << "an unknown record is no failure";
    EXPECT_EQ(0, creator.Register(&record));
    EXPECT_EQ(0, creator.Register(&record));
    EXPECT_TRUE(creator.IsRegistered(&record));
    EXPECT_EQ(0, creator.UnRegister(&record));
    EXPECT_FALSE(creator.IsRegistered(&record));
}

}  // namespace
