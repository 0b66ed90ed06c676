#include "tovelkarin/tnthreadmgr.h"

#include "diagnosis/nap.h"

#include "tests/support.h"

#include <malloc.h>
#include <pthread.h>

#include <functional>

namespace {

using NSTN_util::TNThreadGuard;
using NSTN_util::TNThreadInfo;
using NSTN_util::TNThreadMgr;
using testing::ElementsAre;
using testing::IsEmpty;

std::function<void(int)> g_fnNap;  // called with the number of the nap
int g_nNaps = 0;

class ThreadMgrTest : public testing::Test {
protected:
    ThreadMgrTest() {
        g_nNaps = 0;
        g_fnNap = nullptr;
        m_clock.Freeze(1000000000000000LL);
        NSTN_util::ReplaceNap([] {
            ++g_nNaps;
            if (g_fnNap)
                g_fnNap(g_nNaps);
        });
    }
    ~ThreadMgrTest() override {
        NSTN_util::ReplaceNap(nullptr);
        TNThreadMgr::Destroy();
    }

    static TNThreadMgr& Mgr() { return *TNThreadMgr::Instance(); }

    // The line of the calling thread.
    static std::string Line(const std::string& strTitle, const std::string& strLable,
                            int nSeconds) {
        return strTitle + ", lable = " + strLable + ", threadid = " + Id() +
               ", usetime = " + std::to_string(nSeconds) + "!";
    }
    static std::string Id() { return std::to_string(static_cast<std::uint32_t>(pthread_self())); }

    zemb::ScopedClock m_clock;
    support::DebugCapture m_debug;
};

TEST_F(ThreadMgrTest, NestsRegistrationsOfOneThread) {
    Mgr().Regist_Thread("outer %d");
    m_clock.Advance(5);
    Mgr().Regist_Thread("inner");
    EXPECT_THAT(m_debug.TakeWhole(),
                ElementsAre("tovelkarin 1 Already Regist_Thread threadid = " + Id() + " !"));
    const TNThreadInfo info = Mgr().GetAllInfo().at(pthread_self());
    EXPECT_EQ("outer %d", info.m_strLable);
    EXPECT_EQ(2, info.m_nUseCount);
    EXPECT_EQ(1000000000, info.m_nStartTime);
    Mgr().PrintAllInfo("title %s");
    EXPECT_THAT(m_debug.TakeWhole(),
                ElementsAre("tovelkarin 1 " + Line("title %s", "outer %d", 5)));
    Mgr().UnRegist_Thread();
    EXPECT_FALSE(Mgr().CheckNotExistThread());
    EXPECT_EQ(1, Mgr().GetAllInfo().at(pthread_self()).m_nUseCount);
    Mgr().UnRegist_Thread();
    EXPECT_TRUE(Mgr().CheckNotExistThread());
    EXPECT_THAT(m_debug.Take(), IsEmpty());
    Mgr().UnRegist_Thread();
    Mgr().PrintAllInfo("nobody");
    EXPECT_THAT(m_debug.Take(), ElementsAre("UnRegist_Thread not found threadid = " + Id() + " !"));
}

TEST_F(ThreadMgrTest, TellsOfMoreThan300Seconds) {
    for (const int nSeconds : {300, 301}) {
        const TNThreadGuard guard("work");
        m_clock.Advance(nSeconds);
    }
    EXPECT_THAT(m_debug.Take(),
                ElementsAre(Line("UnRegist_Thread use time too many!", "work", 301)));
    {
        const TNThreadGuard guard("later");  // the second life of an entry begins anew
        EXPECT_EQ(1000000601, Mgr().GetAllInfo().at(pthread_self()).m_nStartTime);
        EXPECT_EQ("later", Mgr().GetAllInfo().at(pthread_self()).m_strLable);
    }
}

TEST_F(ThreadMgrTest, WaitsForTheLastThread) {
    EXPECT_TRUE(Mgr().WaitingThreadExit(0));
    EXPECT_EQ(0, g_nNaps);
    EXPECT_TRUE(Mgr().WaitingThreadExit());
    EXPECT_EQ(1, g_nNaps);  // it naps before it looks
    EXPECT_THAT(m_debug.Take(), IsEmpty());

    Mgr().Regist_Thread("busy");
    EXPECT_FALSE(Mgr().WaitingThreadExit(0));
    EXPECT_EQ(1, g_nNaps);
    EXPECT_THAT(m_debug.Take(), ElementsAre(Line("WaitingThreadExit First!", "busy", 0),
                                            Line("WaitingThreadExit end!", "busy", 0)));
    g_nNaps = 0;
    g_fnNap = [this](int) { m_clock.Advance(1); };
    EXPECT_FALSE(Mgr().WaitingThreadExit(-5));
    EXPECT_EQ(360, g_nNaps);
    std::vector<std::string> vecExpected = {Line("WaitingThreadExit First!", "busy", 0)};
    for (int i = 30; i <= 360; i += 30)
        vecExpected.push_back(Line("WaitingThreadExit again print!", "busy", i));
    vecExpected.push_back(Line("WaitingThreadExit end!", "busy", 360));
    EXPECT_EQ(vecExpected, m_debug.Take());

    g_nNaps = 0;
    g_fnNap = nullptr;
    EXPECT_FALSE(Mgr().WaitingThreadExit());
    EXPECT_EQ(3600, g_nNaps);
    m_debug.Take();

    g_nNaps = 0;
    g_fnNap = [](int nNap) {
        if (nNap == 2)
            TNThreadMgr::Instance()->UnRegist_Thread();
    };
    EXPECT_TRUE(Mgr().WaitingThreadExit(3));
    EXPECT_EQ(2, g_nNaps);
}

TEST_F(ThreadMgrTest, KeepsThreadsApart) {
    constexpr std::size_t THREADS = 8;
    support::RunTogether(THREADS, [](std::size_t) {
        for (int n = 0; n < 500; ++n) {
            const TNThreadGuard outer("outer");
            const TNThreadGuard inner("inner");
            ASSERT_EQ(2, Mgr().GetAllInfo().at(pthread_self()).m_nUseCount);
        }
    });
    EXPECT_TRUE(Mgr().CheckNotExistThread());
    EXPECT_EQ(THREADS * 500, m_debug.Take().size());
}

TEST_F(ThreadMgrTest, KeepsNoMemoryForALongLabelOfAThreadThatHasGone) {
    const auto InUse = [] { return mallinfo2().hblkhd + mallinfo2().uordblks; };
    const std::size_t nBefore = InUse();
    { const TNThreadGuard guard(std::string(std::size_t{64} << 20, 'x')); }
    EXPECT_GT(nBefore + (std::size_t{1} << 20), InUse());
}

TEST_F(ThreadMgrTest, LetsAChannelRegisterDuringTheLastLine) {
    for (const bool bLeave : {true, false}) {
        bool bInside = false;
        const zemb::ScopedDebugSink sink([&](const zemb::DebugLine& line) {
            if (bInside || line.strText.find("too many") == std::string::npos)
                return;
            bInside = true;
            Mgr().Regist_Thread("inside");
            if (bLeave)
                Mgr().UnRegist_Thread();
        });
        Mgr().Regist_Thread("outside");
        m_clock.Advance(301);
        Mgr().UnRegist_Thread();
        EXPECT_EQ(bLeave, Mgr().CheckNotExistThread());
    }
    Mgr().UnRegist_Thread();
    EXPECT_TRUE(Mgr().CheckNotExistThread());
}

TEST_F(ThreadMgrTest, SurvivesAChannelThatThrowsOrCallsBack) {
    const zemb::ScopedDebugSink sink([](const zemb::DebugLine&) {
        Mgr().CheckNotExistThread();
        Mgr().GetAllInfo();
        throw 1;
    });
    Mgr().UnRegist_Thread();
    Mgr().Regist_Thread("a");
    Mgr().Regist_Thread("a");
    Mgr().PrintAllInfo("title");
    Mgr().UnRegist_Thread();
    Mgr().UnRegist_Thread();
    EXPECT_TRUE(Mgr().CheckNotExistThread());
}

}  // namespace
