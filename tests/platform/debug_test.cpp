#include "zemb/debug.h"
#include "zemb/black_box.h"
#include "zemb/control.h"

#include "tests/support.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <map>
#include <memory>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::SizeIs;

class StateTest : public testing::Test {
protected:
    StateTest() {
        zemb::SetStatePath(m_folder.Path("state"));
        zemb::SetProcessName("p");
    }
    ~StateTest() override {
        zemb::ResetStatePath();
        zemb::SetProcessName("");
    }

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
    EXPECT_EQ(strLog + "%2E%2E%2Fetc%2Fx.p.log", zemb::LogFileOf("../etc/x"));
    EXPECT_EQ(strLog + "%.p.log", zemb::LogFileOf(""));
    EXPECT_EQ(strLog + "m%2E1.p.log", zemb::LogFileOf("m.1"));
    const std::string str64(64, 'x');
    EXPECT_EQ(strLog + str64 + ".p.log", zemb::LogFileOf(str64));
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
    m_folder.Write("state/log/m.p.log", "of another process, to");
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
        m_folder.Write("state/log/m.p.log", std::string(1, c) + " was full\n");
        std::filesystem::resize_file(strLog + "m.p.log", (10U << 20) - 1);  // ends within a line
        zemb::SetStatePath(m_folder.Path("state"));
        NSTE_util::GetDebugInterface("m")->Trace(1, "new");
        EXPECT_THAT(LinesOf("m"), ElementsAre(HasSubstr("] 1 new")));
        EXPECT_EQ(c, support::ReadAll(strLog + "m.p.1.log")[0]);
    }
    EXPECT_EQ('2', support::ReadAll(strLog + "m.p.5.log")[0]);
    EXPECT_FALSE(std::filesystem::exists(strLog + "m.p.6.log"));
}

// Each process has logs of its own, and their names tell whose they are.
TEST_F(StateTest, TheFilesOfALogTellWhoWroteThem) {
    for (const char* const szProcess : {"nm_server", "a.b c", "123", "nm_server"}) {
        zemb::SetProcessName(szProcess);
        NSTE_util::GetDebugInterface("m")->Trace(1, szProcess);
        EXPECT_THAT(LinesOf("m").back(), testing::EndsWith(std::string("] 1 ") + szProcess));
    }
    m_folder.Write("state/log/m.nm_server.12.log", "");
    m_folder.Write("state/log/m.nm_server.2.log", "");
    m_folder.Write("state/log/m.log", "");    // from when all processes wrote one log
    m_folder.Write("state/log/m.1.log", "");  // the same
    for (const char* const szOther :
         {"m.a.b.log", "m.a.1.2.log", "mm.a.log", "m.a.log.1", "m..log"})
        m_folder.Write(std::string("state/log/") + szOther, "");
    std::vector<std::string> vecFound;
    for (const zemb::LogFileName& name : zemb::LogFilesOf("m"))
        vecFound.push_back(name.strProcess + "/" + std::to_string(name.nAge));
    EXPECT_THAT(vecFound, ElementsAre("/1", "/0", "123/0", "a.b c/0", "nm_server/12", "nm_server/2",
                                      "nm_server/0"));
    zemb::SetLogFiles(false);
    NSTE_util::GetDebugInterface("m")->Trace(1, "not written");
    zemb::SetLogFiles(true);
    EXPECT_THAT(LinesOf("m").back(), HasSubstr("nm_server"));
}

// A file that got another name, by a rotation of another process or by hand, is left within a
// second; one that somebody still has open is not deleted.
TEST_F(StateTest, AFileIsNotWrittenLongUnderAnotherName) {
    const std::string strRoot = m_folder.Path("root");
    m_folder.Write("root/etc/oss_cfg/trans/core/conf/trans_ems.cfg",
                   "log_bytes = 4096\nlog_files = 2\n");
    zemb::SetRootPath(strRoot);
    zemb::ScopedClock clock;
    clock.Freeze(1772352000123000);
    const std::string strFile = zemb::LogFileOf("m");
    const auto Trace = [](const std::string& strText) {
        NSTE_util::GetDebugInterface("m")->Trace(1, strText.c_str());
    };
    Trace("first");
    std::filesystem::rename(strFile, strFile + ".mine");
    Trace("second");
    EXPECT_FALSE(std::filesystem::exists(strFile));
    clock.Advance(1);
    Trace("third");
    EXPECT_THAT(LinesOf("m"), ElementsAre(HasSubstr("third")));
    EXPECT_THAT(support::ReadAll(strFile + ".mine"), HasSubstr("second"));
    // Another process that was stopped has the file open since before it gave way.
    const int nHeld = open(strFile.c_str(), O_WRONLY | O_APPEND);
    ASSERT_EQ(0, flock(nHeld, LOCK_SH));
    for (int i = 0; i < 20; ++i)
        Trace(std::string(3000, static_cast<char>('a' + i)));
    ASSERT_EQ(6, write(nHeld, "fourth", 6));
    std::string strAll;
    for (const zemb::LogFileName& name : zemb::LogFilesOf("m"))
        strAll += support::ReadAll(name.strFile);
    EXPECT_THAT(strAll, HasSubstr("fourth"));
    EXPECT_THAT(zemb::LogFilesOf("m"), SizeIs(4));  // the present one, two kept, and that one
    close(nHeld);
    Trace(std::string(4000, 'z'));
    EXPECT_THAT(zemb::LogFilesOf("m"), SizeIs(3));
    zemb::ResetRootPath();
}

// Processes of one name that write one log, which gives way again and again: each line is there
// once and whole.
TEST_F(StateTest, ProcessesThatShareALogLoseNoLine) {
    constexpr int LINES = 1500;
    m_folder.Write("root/etc/oss_cfg/trans/core/conf/trans_ems.cfg",
                   "log_bytes = 20000\nlog_files = 99\n");
    zemb::SetRootPath(m_folder.Path("root"));
    std::vector<pid_t> vecChild;
    for (const char* const szChild : {"left", "middle", "right"}) {
        vecChild.push_back(fork());
        if (vecChild.back() != 0)
            continue;
        for (int i = 0; i < LINES; ++i)
            NSTE_util::GetDebugInterface("m")->Trace(
                1, (std::string(szChild) + " " + std::to_string(i) + " " + szChild).c_str());
        _exit(0);
    }
    for (const pid_t nChild : vecChild) {
        int nStatus = -1;
        waitpid(nChild, &nStatus, 0);
        EXPECT_EQ(0, nStatus);
    }
    const std::vector<zemb::LogFileName> vecName = zemb::LogFilesOf("m");
    EXPECT_GT(vecName.size(), 1U);
    EXPECT_LT(vecName.size(), 40U);
    std::map<std::string, std::vector<std::string>> mapLines;
    for (const zemb::LogFileName& name : vecName) {
        std::istringstream text(support::ReadAll(name.strFile));
        for (std::string strLine; std::getline(text, strLine);)
            mapLines[strLine.substr(strLine.rfind(' ') + 1)].push_back(
                strLine.substr(strLine.find("] 1 ") + 4));
    }
    ASSERT_THAT(mapLines, SizeIs(3));
    for (auto& [strChild, vecLine] : mapLines) {
        std::sort(vecLine.begin(), vecLine.end());
        EXPECT_THAT(vecLine, SizeIs(LINES));
        EXPECT_EQ(vecLine.end(), std::unique(vecLine.begin(), vecLine.end()));
    }
    zemb::ResetRootPath();
}

TEST_F(StateTest, LinesOfManyThreadsAreWhole) {
    support::RunTogether(4, [](std::size_t) {
        for (int n = 0; n < 250; ++n)
            NSTE_util::GetDebugInterface("m")->Trace(1, "0123456789012345678901234567890123456789");
    });
    const auto vecLine = LinesOf("m");
    EXPECT_THAT(vecLine, SizeIs(1000));
    EXPECT_THAT(vecLine,
                testing::Each(testing::EndsWith("1 0123456789012345678901234567890123456789")));
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

}  // namespace
