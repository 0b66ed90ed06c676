#include "zemb/black_box.h"
#include "platform/embedded/black_box_format.h"
#include "tests/support.h"
#include "tests/system_calls.h"
#include "zemb/error_log.h"
#include "zemb/live.h"
#include "zemb/message.h"
#include "zemb/module.h"
#include "zemb/operlog.h"
#include "zemb/progress.h"
#include "zemb/progress_view.h"
#include "zemb/task.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <condition_variable>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <random>
#include <set>
#include <thread>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using zemb::BlackBox;
using zemb::ELiveCall;
using zemb::ELiveMaker;
using zemb::LiveObject;
using zemb::LiveWatcher;

class BlackBoxTest : public testing::Test {
protected:
    BlackBoxTest() {
        zemb::SetStatePath(m_folder.Path("state"));
        zemb::SetRootPath(m_folder.Path("root"));
    }
    ~BlackBoxTest() override {
        Stop();
        zemb::SetBlackBox(true);
        zemb::ResetRootPath();
        zemb::ResetStatePath();
    }

    static void Start() {
        std::string strError;
        EXPECT_TRUE(ModuleMgr::Instance()->StartModules(strError)) << strError;
    }
    static void Stop() {
        std::string strError;
        ModuleMgr::Instance()->StopModules(strError);
    }

    std::string File() const {
        return m_folder.Path("state/run/" + std::to_string(getpid()) + ".box");
    }

    BlackBox Read(const std::string& strFile) const {
        BlackBox box;
        std::string strError;
        EXPECT_TRUE(zemb::ReadBlackBox(strFile, box, strError)) << strError;
        return box;
    }
    BlackBox Read() const { return Read(File()); }

    // What is wrong with a file.
    static std::string FaultOf(const std::string& strFile) {
        BlackBox box;
        std::string strError;
        return zemb::ReadBlackBox(strFile, box, strError) ? "" : strError;
    }

    static void Call(ELiveCall eCall, ELiveMaker eMaker, int nOper, std::vector<LiveObject> vecObj,
                     bool bEnd = true) {
        LiveWatcher* const pWatcher = zemb::Live();
        pWatcher->CallBegins({eCall, eMaker, nOper, vecObj.size()}, vecObj.data(),
                             std::min<std::size_t>(vecObj.size(), 4));
        std::size_t nPlace = 0;
        for (const LiveObject& obj : vecObj)
            if (eCall == ELiveCall::ACQUIRE)
                pWatcher->Granted(obj, ++nPlace);
            else
                pWatcher->GivenBack(nOper, obj, ++nPlace);
        if (vecObj.empty())
            eCall == ELiveCall::ACQUIRE ? pWatcher->Granted({}, 0)
                                        : pWatcher->GivenBack(nOper, {}, 0);
        if (bEnd)
            pWatcher->CallEnds();
    }

    static std::uint64_t CounterOf(const BlackBox& box, zemb::ELiveCounter eCounter) {
        for (const auto& [strName, nValue] : box.vecCounter)
            if (strName == zemb::LiveCounterName(eCounter))
                return nValue;
        return 0;
    }

    support::TempFolder m_folder;
    support::DebugCapture m_debug;
};

std::vector<int> NesOf(const std::vector<zemb::BoxHeld>& vecHeld) {
    std::vector<int> vecNe;
    for (const zemb::BoxHeld& held : vecHeld)
        vecNe.push_back(held.obj.nNeId);
    return vecNe;
}

TEST_F(BlackBoxTest, IsThereFromStartToStopUnlessItIsSwitchedOff) {
    zemb::SetProcessName("nm_server");
    Start();
    struct stat status {};
    ASSERT_EQ(0, stat(File().c_str(), &status));
    EXPECT_EQ(0640U, status.st_mode & 0777U);
    EXPECT_EQ(0, stat(m_folder.Path("state/run").c_str(), &status));
    EXPECT_EQ(0750U, status.st_mode & 0777U);
    const BlackBox box = Read();
    EXPECT_EQ("nm_server", box.strProgram);
    EXPECT_EQ(zemb::EBoxState::ALIVE, box.eState);
    EXPECT_EQ(static_cast<std::uint32_t>(getpid()), box.nProcess);
    EXPECT_EQ(m_folder.Path("state"), box.strState);
    Stop();
    EXPECT_EQ(nullptr, zemb::Live());
    EXPECT_THAT(zemb::ListBlackBoxes(m_folder.Path("state")), IsEmpty());
    // Again and again, in the same place.
    for (int i = 0; i < 50; ++i) {
        Start();
        Call(ELiveCall::ACQUIRE, ELiveMaker::CALL, 7, {{i, 0, 0}});
        EXPECT_THAT(NesOf(Read().vecHeld), ElementsAre(i));
        Stop();
    }
    setenv("ZEMB_BOX", "off", 1);
    Start();
    EXPECT_EQ(nullptr, zemb::Live());
    unsetenv("ZEMB_BOX");
    Start();
    EXPECT_NE(nullptr, zemb::Live());
    zemb::SetBlackBox(false);
    EXPECT_EQ(nullptr, zemb::Live());
    EXPECT_THAT(zemb::ListBlackBoxes(m_folder.Path("state")), IsEmpty());
    Start();
    EXPECT_EQ(nullptr, zemb::Live());
}

TEST_F(BlackBoxTest, ShowsWhoHoldsWhatAndWhatIsUnderWay) {
    Start();
    zemb::Live()->ThreadWorks("backup", 1, 1000);
    ZembCmdMSG msg{};
    const NSTE_util::TETaskContext context{42};
    ZembGnlTask task(&msg, &context);
    const zemb::ScopedTask current(&task);
    NSTE_util::ProgressMgr::Instance()->Register(NSTE_util::ClientMissionID(5, &msg), &task);
    Call(ELiveCall::ACQUIRE, ELiveMaker::NE_GUARD, 101, {{5, 0, 0}, {6, 7, 8}});
    Call(ELiveCall::ACQUIRE, ELiveMaker::CALL, 102, {});
    Call(ELiveCall::ACQUIRE, ELiveMaker::TRAIL_GUARD, 0, {{9, 0, 0}});
    BlackBox box = Read();
    ASSERT_THAT(box.vecHeld, SizeIs(3));
    const zemb::BoxHeld& held = box.vecHeld[1];
    EXPECT_EQ(101, held.nOper);
    EXPECT_EQ(8, held.obj.lSubObjId);
    EXPECT_EQ(ELiveMaker::NE_GUARD, held.eMaker);
    EXPECT_EQ("backup", held.strLabel);
    EXPECT_EQ(task.GetTaskId(), held.nTask);
    EXPECT_EQ(5U, held.nMission);
    EXPECT_EQ(42, held.nUser);
    EXPECT_EQ(static_cast<std::uint32_t>(gettid()), held.nThread);
    EXPECT_FALSE(held.bUnderWay);
    EXPECT_TRUE(box.vecHeld[2].bNoObject);
    EXPECT_THAT(NesOf(box.vecTrail), ElementsAre(9));
    // Of equal ones the last goes; what was never held changes nothing.
    Call(ELiveCall::ACQUIRE, ELiveMaker::OBJECT_GUARD, 101, {{5, 0, 0}});
    Call(ELiveCall::RELEASE, ELiveMaker::CALL, 101, {{5, 0, 0}});
    Call(ELiveCall::RELEASE, ELiveMaker::CALL, 77, {{5, 0, 0}});
    Call(ELiveCall::RELEASE, ELiveMaker::CALL, 102, {});
    EXPECT_THAT(NesOf(Read().vecHeld), ElementsAre(5, 6));
    // A return under way, of an object that is still shown, and a request under way.
    zemb::Live()->CallBegins({ELiveCall::RELEASE, ELiveMaker::CALL, 101, 1},
                             std::vector<LiveObject>{{6, 7, 8}}.data(), 1);
    box = Read();
    EXPECT_FALSE(box.vecHeld[0].bUnderWay);
    EXPECT_TRUE(box.vecHeld[1].bUnderWay);
    ASSERT_THAT(box.vecThread, SizeIs(1));
    EXPECT_TRUE(box.vecThread[0].bInCall);
    zemb::Live()->CallEnds();
    Call(ELiveCall::ACQUIRE, ELiveMaker::CALL, 103, {{1, 1, 1}}, false);
    box = Read();
    EXPECT_FALSE(box.vecHeld[1].bUnderWay);
    EXPECT_TRUE(box.vecHeld[2].bUnderWay);
    zemb::Live()->CallEnds();
    zemb::Live()->AllGivenBack();
    EXPECT_THAT(Read().vecHeld, IsEmpty());
    EXPECT_THAT(Read().vecTrail, SizeIs(1));
    Call(ELiveCall::ACQUIRE, ELiveMaker::CALL, 104, {{2, 0, 0}});
    EXPECT_THAT(NesOf(Read().vecHeld), ElementsAre(2));
    zemb::Live()->ThreadWorks("", 0, 0);
    EXPECT_EQ(0, Read().vecThread[0].nNesting);
}

TEST_F(BlackBoxTest, ShowsTasksErrorsFactsAndCounters) {
    Start();
    ZembCmdMSG msg{};
    auto pTask = std::make_unique<ZembGnlTask>(&msg);
    NSTE_util::ProgressMgr& progress = *NSTE_util::ProgressMgr::Instance();
    progress.Register(NSTE_util::ClientMissionID(11, &msg), pTask.get());
    progress.SetScale(pTask.get(), 0.5F);
    zemb::Live()->TaskSection(pTask.get(), 10, 80, 4, 0);
    zemb::Live()->TaskSection(pTask.get(), 10, 80, 4, 3);
    progress.SendProgress(pTask.get(), 70, NSTE_util::TaskProgressInfo("third step"));
    zemb::AbortTask(pTask.get());
    BlackBox box = Read();
    ASSERT_THAT(box.vecTask, SizeIs(1));
    const zemb::BoxTask& task = box.vecTask[0];
    EXPECT_EQ(11U, task.nMission);
    EXPECT_EQ(70, task.nPercent);
    EXPECT_EQ(0.5F, task.fScale);
    EXPECT_EQ("third step", task.strText);
    EXPECT_EQ(3, task.nStep);
    EXPECT_EQ(4, task.nSteps);
    EXPECT_TRUE(task.bAbort);
    pTask.reset();
    NSTE_util::TEOperErrorLogIF::Instance()->AddErrText(0x4101F001, std::string(2000, 'x'));
    NSTE_util::TEOperErrorLogIF::Instance()->AddErrInfo({}, "first", "second");
    zemb::LiveFact("table", "/a/table.cfg", "content 1");
    zemb::LiveFact("setting", "low", "300");
    zemb::LiveFact("table", "/a/table.cfg", "content 2");
    std::thread([] { zemb::LiveCount(zemb::ELiveCounter::TIMEOUT_QUERIES); }).join();
    zemb::LiveCount(zemb::ELiveCounter::TIMEOUT_QUERIES);
    box = Read();
    EXPECT_THAT(box.vecTask, IsEmpty());
    EXPECT_EQ(zemb::EBoxEvent::TASK_ENDED, box.vecEvent.back().eKind);
    ASSERT_THAT(box.vecError, SizeIs(2));
    EXPECT_EQ(0x4101F001U, box.vecError[0].nCode);
    EXPECT_EQ("first second", box.vecError[1].strText);
    using Fact = std::tuple<std::string, std::string, std::string>;
    EXPECT_THAT(box.vecFact, testing::IsSupersetOf({Fact{"table", "/a/table.cfg", "content 2"},
                                                    Fact{"setting", "low", "300"}}));
    EXPECT_EQ(2U, CounterOf(box, zemb::ELiveCounter::TIMEOUT_QUERIES));
    EXPECT_EQ(2U, CounterOf(box, zemb::ELiveCounter::OPERATION_ERRORS));
}

TEST_F(BlackBoxTest, AChildBeginsItsOwnAtItsFirstReport) {
    Start();
    Call(ELiveCall::ACQUIRE, ELiveMaker::CALL, 7, {{1, 0, 0}});
    int arrPipe[2];
    ASSERT_EQ(0, pipe(arrPipe));
    const pid_t nChild = fork();
    if (nChild == 0) {
        const bool bNone = zemb::ListBlackBoxes(m_folder.Path("state")).size() == 1;
        Call(ELiveCall::ACQUIRE, ELiveMaker::CALL, 8, {{2, 0, 0}});
        char c = 0;
        close(arrPipe[1]);
        _exit(bNone && read(arrPipe[0], &c, 1) == 0 ? 0 : 1);
    }
    const std::string strChild = m_folder.Path("state/run/" + std::to_string(nChild) + ".box");
    while (FaultOf(strChild) != "")
        std::this_thread::yield();
    while (Read(strChild).vecHeld.empty())
        std::this_thread::yield();
    EXPECT_THAT(NesOf(Read(strChild).vecHeld), ElementsAre(2));
    EXPECT_THAT(NesOf(Read().vecHeld), ElementsAre(1));
    close(arrPipe[1]);
    int nStatus = -1;
    waitpid(nChild, &nStatus, 0);
    EXPECT_EQ(0, nStatus);
    EXPECT_EQ(zemb::EBoxState::DIED, Read(strChild).eState);
    close(arrPipe[0]);
}

TEST_F(BlackBoxTest, ReadersSayWhatIsWrongWithAFile) {
    Start();
    Call(ELiveCall::ACQUIRE, ELiveMaker::CALL, 7, {{1, 0, 0}});
    const std::string strGood = support::ReadAll(File());
    const auto With = [&](std::size_t nAt, const std::string& strText) {
        std::string strBox = strGood;
        return strBox.replace(nAt, strText.size(), strText);
    };
    std::string strRandom(strGood.size(), 'r');
    std::memcpy(strRandom.data(), zemb::box::MAGIC, sizeof zemb::box::MAGIC);
    const std::pair<std::string, const char*> ROWS[] = {
        {"", "cut"},
        {strGood.substr(0, 4095), "cut"},
        {strGood.substr(0, strGood.size() - 1), "cut"},
        {std::string(strGood.size(), '\0'), "not complete"},
        {With(0, "somebody"), "no black box"},
        {With(8, "\x02"), "version 2"},
        {With(12, "\x01"), "of this machine's kind"},
        {strRandom, "version"},
        {With(32, "\x10"), "layout"},   // the size of a record
        {With(39, "\x7F"), "layout"},   // how many
        {With(24, "\x01"), "layout"},   // where
        {With(156, "\xFF"), "layout"},  // counters
    };
    int nRow = 0;
    for (const auto& [strBox, szFault] : ROWS) {
        const std::string strFile =
            m_folder.Write("state/run/" + std::to_string(++nRow) + ".box", strBox);
        EXPECT_THAT(FaultOf(strFile), HasSubstr(szFault)) << nRow;
    }
    const std::string strFile = m_folder.Write("state/run/a.box", strGood);
    EXPECT_EQ("", FaultOf(strFile));
    chmod(strFile.c_str(), 0646);
    EXPECT_THAT(FaultOf(strFile), HasSubstr("everybody may write it"));
    std::filesystem::create_symlink(File(), m_folder.Path("state/run/b.box"));
    EXPECT_THAT(FaultOf(m_folder.Path("state/run/b.box")), HasSubstr("a link"));
    mkfifo(m_folder.Path("state/run/c.box").c_str(), 0600);
    EXPECT_THAT(FaultOf(m_folder.Path("state/run/c.box")), HasSubstr("no plain file"));
    EXPECT_THAT(FaultOf(m_folder.Path("state/run/d.box")), HasSubstr("No such file"));
    EXPECT_THAT(zemb::ListBlackBoxes(m_folder.Path("state")), SizeIs(std::size(ROWS) + 4));
}

// Of boxes of the dead the newest 16 stay, and as many of children, which push out nobody else's.
TEST_F(BlackBoxTest, OldOnesGiveWay) {
    Start();
    const std::string strGood = support::ReadAll(File());
    Stop();
    const auto Leave = [&](int nNumber, std::uint32_t nParent, std::uint32_t bEnded) {
        std::string strBox = strGood;
        auto& header = *reinterpret_cast<zemb::box::Header*>(strBox.data());
        header.nStartTicks = 0;
        header.nBegun = nNumber;
        header.nParent = nParent;
        header.bEnded = bEnded;
        m_folder.Write("state/run/" + std::to_string(nNumber) + ".box", strBox);
    };
    for (int i = 0; i < 20; ++i) {
        Leave(1000 + i, 0, 0);
        Leave(2000 + i, 999, 0);
    }
    Leave(3000, 0, 1);
    Start();
    std::vector<long long> arrLeft[2];
    for (const zemb::BoxSummary& box : zemb::ListBlackBoxes(m_folder.Path("state")))
        if (box.eState == zemb::EBoxState::DIED)
            arrLeft[box.nParent == 999 ? 1 : 0].push_back(box.nBegun);
    for (std::vector<long long>& vecLeft : arrLeft)
        std::sort(vecLeft.begin(), vecLeft.end());
    EXPECT_THAT(arrLeft[0], testing::AllOf(SizeIs(16), testing::Contains(1004)));
    EXPECT_THAT(arrLeft[1], testing::AllOf(SizeIs(16), testing::Contains(2004)));
}

// More threads than there are places: they are counted as long as they live, and get a place when
// one is free.
TEST_F(BlackBoxTest, ThreadsWithoutAPlaceAreCounted) {
    Start();
    std::mutex lock;
    std::condition_variable changed;
    int nUp = 0;
    int nPhase = 0;
    const auto Wait = [&](int nPhaseOf) {
        std::unique_lock<std::mutex> guard(lock);
        ++nUp;
        changed.notify_all();
        changed.wait(guard, [&] { return nPhase >= nPhaseOf; });
    };
    const auto AwaitUp = [&](int nThreads) {
        std::unique_lock<std::mutex> guard(lock);
        changed.wait(guard, [&] { return nUp == nThreads; });
    };
    const auto LetGo = [&](int nPhaseOf) {
        const std::lock_guard<std::mutex> guard(lock);
        nPhase = nPhaseOf;
        changed.notify_all();
    };
    zemb::LiveCount(zemb::ELiveCounter::GRANTS);
    constexpr int PLACES = 1022;  // beside that of this thread and the shared one
    std::vector<std::thread> vecThread;
    for (int i = 0; i < PLACES; ++i)
        vecThread.emplace_back([&] {
            zemb::LiveCount(zemb::ELiveCounter::GRANTS);
            Wait(1);
        });
    AwaitUp(PLACES);
    std::thread late([&] {
        zemb::LiveCount(zemb::ELiveCounter::GRANTS);
        Wait(2);
        Call(ELiveCall::ACQUIRE, ELiveMaker::CALL, 7, {{1, 0, 0}});
        Wait(3);
    });
    AwaitUp(PLACES + 1);
    EXPECT_EQ(1U, Read().nThreadsNotShown);
    LetGo(1);
    for (std::thread& thread : vecThread)
        thread.join();
    LetGo(2);
    AwaitUp(PLACES + 2);
    const BlackBox box = Read();
    EXPECT_EQ(0U, box.nThreadsNotShown);
    EXPECT_THAT(box.vecThread, SizeIs(2));
    EXPECT_EQ(PLACES + 3U, CounterOf(box, zemb::ELiveCounter::GRANTS));
    LetGo(3);
    late.join();
}

// What is held was read here and there between events; what it was before them is found again.
TEST_F(BlackBoxTest, WhatWasHeldBeforeTheReadingIsFoundAgain) {
    std::mt19937 random(20261122);
    const auto Below = [&](unsigned nMost) { return static_cast<int>(random() % nMost); };
    using Key = std::pair<int, int>;  // operation and NE
    for (int nRound = 0; nRound < 300; ++nRound) {
        std::map<Key, zemb::BoxHeld> mapHeld;
        std::set<Key> before;
        std::map<Key, std::optional<zemb::BoxHeld>> mapRead;  // at a moment of its own each
        BlackBox box;
        box.nEventBefore = 40;
        for (int i = 0; i < 80; ++i) {
            if (i == 40)
                for (const auto& [key, held] : mapHeld)
                    before.insert(key);
            const Key key(Below(3), Below(4));
            if (i >= 40 && mapRead.count(key) == 0 && Below(2) == 0)
                mapRead[key] = mapHeld.count(key) != 0 ? std::optional(mapHeld[key]) : std::nullopt;
            zemb::BoxEvent event;
            event.nNumber = static_cast<std::uint64_t>(i);
            event.nOper = key.first;
            event.obj = {key.second, 0, 0};
            event.nPlace = 1;
            event.nTime = i / 8;
            event.nThread = 5;
            event.eKind =
                mapHeld.count(key) != 0 ? zemb::EBoxEvent::GIVEN_BACK : zemb::EBoxEvent::GRANTED;
            box.vecEvent.push_back(event);
            if (mapHeld.erase(key) == 0) {
                zemb::BoxHeld& held = mapHeld[key];
                held.nOper = event.nOper;
                held.obj = event.obj;
                held.nSince = event.nTime;
                held.nThread = event.nThread;
            }
        }
        for (const auto& [key, held] : mapHeld)
            mapRead.emplace(key, held);
        for (const auto& [key, held] : mapRead)
            if (held)
                box.vecHeld.push_back(*held);
        // Its record was written, its event not yet.
        box.vecHeld.emplace_back();
        box.vecHeld.back().nOper = 9;
        box.vecHeld.back().bUnderWay = true;
        std::multiset<Key> found;
        for (const zemb::BoxHeld& held : zemb::HeldBefore(box))
            found.emplace(held.nOper, held.obj.nNeId);
        ASSERT_EQ(std::multiset<Key>(before.begin(), before.end()), found) << nRound;
    }
}

// One line in the log, and the server works on.
TEST_F(BlackBoxTest, AServerWithoutABoxWorksOn) {
    const auto FailsWith = [&](const char* szText) {
        m_debug.Take();
        Start();
        EXPECT_EQ(nullptr, zemb::Live()) << szText;
        std::vector<std::string> vecLine = m_debug.Take();
        vecLine.erase(std::remove_if(vecLine.begin(), vecLine.end(),
                                     [](const std::string& strLine) {
                                         return strLine.find("black box: ") != 0;
                                     }),
                      vecLine.end());
        EXPECT_THAT(vecLine, ElementsAre(testing::AllOf(HasSubstr(szText),
                                                        HasSubstr("nothing can be seen"))));
        Stop();
    };
    {
        const support::SystemCalls calls([](const std::string& strCall, const std::string&) {
            return strCall == "posix_fallocate" ? ENOSPC : 0;
        });
        FailsWith("No space left");
    }
    EXPECT_THAT(zemb::ListBlackBoxes(m_folder.Path("state")), IsEmpty());
    m_folder.Write("file", "");
    zemb::SetStatePath(m_folder.Path("file"));
    FailsWith("file");
    // What stands in its place is put aside, a link or the box of a process of that number.
    zemb::SetStatePath(m_folder.Path("state"));
    std::filesystem::create_symlink(m_folder.Path("file"), File());
    Start();
    EXPECT_NE(nullptr, zemb::Live());
    EXPECT_EQ(0U, std::filesystem::file_size(m_folder.Path("file")));
    EXPECT_THAT(zemb::ListBlackBoxes(m_folder.Path("state")), SizeIs(2));
    // Even one of this process, from before it began another program, is no living one.
    const std::string strOld = support::ReadAll(File());
    Stop();
    m_folder.Write("state/run/" + std::to_string(getpid()) + ".box", strOld);
    Start();
    const std::string strAside = m_folder.Path("state/run/" + std::to_string(getpid()) + ".2.box");
    EXPECT_EQ(zemb::EBoxState::DIED, Read(strAside).eState);
    EXPECT_EQ(zemb::EBoxState::ALIVE, Read().eState);
}

// Four readers beside a writer: each event is whole, which its numbers prove.
TEST_F(BlackBoxTest, NoRecordIsTorn) {
    Start();
    constexpr int EVENTS = 100000;
    std::atomic<bool> bDone{false};
    std::atomic<int> nBad{0};
    std::atomic<long> nRead{0};
    std::vector<std::thread> vecReader;
    for (int i = 0; i < 4; ++i)
        vecReader.emplace_back([&] {
            const auto IsWhole = [](int nOper, const LiveObject& obj) {
                return obj.nNeId == nOper + 1 && obj.nObjId == (nOper ^ 0x5555) &&
                       obj.lSubObjId == long{nOper} * 0x100000001L;
            };
            while (!bDone) {
                const BlackBox box = Read();
                for (const zemb::BoxEvent& event : box.vecEvent)
                    nBad += IsWhole(event.nOper, event.obj) ? 0 : 1;
                for (const zemb::BoxHeld& held : box.vecHeld)
                    nBad += IsWhole(held.nOper, held.obj) ? 0 : 1;
                nRead += static_cast<long>(box.vecEvent.size());
            }
        });
    for (int i = 0; i < EVENTS || nRead == 0; ++i) {
        const int n = i % 1000;
        const std::vector<LiveObject> vecObj = {{n + 1, n ^ 0x5555, long{n} * 0x100000001L}};
        Call(ELiveCall::ACQUIRE, ELiveMaker::CALL, n, vecObj);
        Call(ELiveCall::RELEASE, ELiveMaker::CALL, n, vecObj);
    }
    bDone = true;
    for (std::thread& thread : vecReader)
        thread.join();
    EXPECT_EQ(0, nBad);
    const BlackBox box = Read();
    ASSERT_FALSE(box.vecEvent.empty());
    for (std::size_t i = 1; i < box.vecEvent.size(); ++i)
        ASSERT_EQ(box.vecEvent[i - 1].nNumber + 1, box.vecEvent[i].nNumber);
    EXPECT_EQ(box.nNextEvent, box.vecEvent.back().nNumber + 1);
}

}  // namespace
