#include "tovelkarin/temutexoperguard.h"

#include "tests/support.h"

#include "zemb/message.h"
#include "zemb/task.h"

#include <algorithm>
#include <memory>
#include <random>
#include <stdexcept>

namespace {

using NSTE_util::ERR_MUTEX_NO_REQUEST;
using NSTE_util::ERR_MUTEX_TRAIL_CONFLICT;
using NSTE_util::TEMutexLock;
using NSTE_util::TEMutexOperGuard;
using NSTE_util::TEMutexOperMgr;
using NSTE_util::TEMutexOperNEGuard;
using NSTE_util::TEMutexOperTrailGuard;
using NSTE_util::TEOperObject;
using testing::ElementsAre;
using testing::IsEmpty;

class GuardProbe : public TEMutexOperGuard {
public:
    using TEMutexOperGuard::m_listObj;
    using TEMutexOperGuard::m_nOper;
    using TEMutexOperGuard::TEMutexOperGuard;
};

class NEGuardProbe : public TEMutexOperNEGuard {
public:
    using TEMutexOperNEGuard::m_listObj;
    using TEMutexOperNEGuard::m_nOper;
    using TEMutexOperNEGuard::TEMutexOperNEGuard;
};

class TrailProbe : public TEMutexOperTrailGuard {
public:
    using TEMutexOperTrailGuard::m_bConflict;
    using TEMutexOperTrailGuard::m_listRegistered;
    using TEMutexOperTrailGuard::m_listStaticTrail;
    using TEMutexOperTrailGuard::m_listTrail;
    using TEMutexOperTrailGuard::TEMutexOperTrailGuard;
};

class GuardTest : public testing::Test {
protected:
    GuardTest() {
        TEMutexOperMgr::Destroy();
        TEMutexOperMgr::Instance()->LoadMutexCfg(
            m_folder.Write("m", "[MUTEX_TABLE]\n1:2:1\n0:50:0\n[MUTEX_ERRORCODE]\n1:11\n2:22\n"));
        TrailProbe::m_listStaticTrail.clear();
    }
    ~GuardTest() override {
        TEMutexOperMgr::Destroy();
        TrailProbe::m_listStaticTrail.clear();
    }

    static bool IsRunning(int nOper) { return TEMutexOperMgr::Instance()->IsOperRunning(nOper); }

    support::TempFolder m_folder;
    support::DebugCapture m_debug;
};

TEST_F(GuardTest, HoldsItsObjectsWhileInScope) {
    {
        const GuardProbe guard(1, TEOperObject{5, 7, 0});
        EXPECT_EQ(0U, guard.m_nResult);
        EXPECT_EQ(1, guard.m_nOper);
        EXPECT_THAT(guard.m_listObj, ElementsAre(TEOperObject{5, 7, 0}));
        const GuardProbe refused(2, std::list<TEOperObject>{{4, 0, 0}, {5, 0, 0}});
        EXPECT_EQ(11U, refused.m_nResult);
        EXPECT_FALSE(IsRunning(2));
    }
    EXPECT_FALSE(IsRunning(1));
    EXPECT_THAT(m_debug.Take(), IsEmpty()) << "a refused guard gives nothing back";
}

TEST_F(GuardTest, ReleasesAtTheManagerOfThatMoment) {
    {
        const GuardProbe guard(1, TEOperObject{5, 7, 0});
        TEMutexOperMgr::Destroy();
    }
    EXPECT_THAT(m_debug.Take(),
                ElementsAre("ASSERT: file mutex, line 362 assertion failed for 'bAssertFlag'."));
}

TEST_F(GuardTest, NEGuardTakesWholeNEsUnderTheNumberOfTheRequest) {
    ZembCmdMSG msg{};
    msg.nCmd = 2;
    ZembGnlTask task(&msg);
    const zemb::ScopedTask current(&task);
    {
        const NEGuardProbe one(5);
        EXPECT_EQ(0U, one.m_nResult);
        EXPECT_EQ(2, one.m_nOper);
        EXPECT_THAT(one.m_listObj, ElementsAre(TEOperObject{5, 0, 0}));
        const NEGuardProbe vector(std::vector<int>{7, 6, 7});
        EXPECT_THAT(vector.m_listObj, ElementsAre(TEOperObject{7, 0, 0}, TEOperObject{6, 0, 0},
                                                  TEOperObject{7, 0, 0}));
        msg.nCmd = 1;
        const NEGuardProbe list(std::list<int>{8, 5});
        EXPECT_EQ(22U, list.m_nResult);
        msg.nCmd = 0xFFFFFFFF;
        EXPECT_EQ(-1, NEGuardProbe(9).m_nOper) << "the word as a signed number";
    }
    EXPECT_FALSE(TEMutexOperMgr::Instance()->HasRunningOper());
    {
        msg.nCmd = 2;
        const NEGuardProbe none{std::vector<int>()};
        EXPECT_EQ(0U, none.m_nResult);
    }
    EXPECT_TRUE(IsRunning(2)) << "granted without objects: runs for good";
}

TEST_F(GuardTest, NEGuardWithoutARequestAsksForNothing) {
    const auto Expect = [](const NEGuardProbe& guard) {
        EXPECT_EQ(ERR_MUTEX_NO_REQUEST, guard.m_nResult);
        EXPECT_EQ(0, guard.m_nOper);
        EXPECT_THAT(guard.m_listObj, IsEmpty());
    };
    Expect(NEGuardProbe(5));
    ZembGnlTask task;
    const zemb::ScopedTask current(&task);
    Expect(NEGuardProbe(std::vector<int>{5}));
    struct ThrowingTask : ZembGnlTask {
        ZembCmdMSG* GetCurReqMsg() override { throw std::runtime_error("task"); }
    } throwing;
    const zemb::ScopedTask worse(&throwing);
    Expect(NEGuardProbe(std::list<int>{5}));
    EXPECT_THAT(m_debug.Take(), ElementsAre("Log Info::Exception c style format!"));
}

TEST_F(GuardTest, MutexLockTakesEverything) {
    EXPECT_EQ(0U, TEMutexLock::lock(1));
    EXPECT_EQ(11U, GuardProbe(2, TEOperObject{9, 9, 9}).m_nResult);
    TEMutexLock::release(1);
    const GuardProbe guard(2, TEOperObject{9, 9, 9});
    EXPECT_EQ(22U, TEMutexLock::lock(1));
}

TEST_F(GuardTest, TrailsAreBusyWhileTheirGuardIsInScope) {
    auto pFirst = std::make_unique<TrailProbe>(std::vector<int>{3, 9});
    EXPECT_THAT(TrailProbe::m_listStaticTrail, IsEmpty()) << "nothing before the test";
    EXPECT_EQ(0U, pFirst->GetResult());
    {
        TrailProbe second(std::list<int>{12, 9});
        EXPECT_EQ(ERR_MUTEX_TRAIL_CONFLICT, second.GetResult());
        EXPECT_TRUE(second.m_bConflict);
        EXPECT_THAT(second.m_listRegistered, ElementsAre(9)) << "what was found busy";
    }
    EXPECT_THAT(TrailProbe::m_listStaticTrail, ElementsAre(3, 9));
    pFirst = nullptr;
    TrailProbe third(std::vector<int>{9, 12});
    EXPECT_FALSE(third.IsConflict());
    EXPECT_THAT(third.m_listRegistered, ElementsAre(9, 12));
}

TEST_F(GuardTest, TrailZeroAloneIsNoTrailAndInAListIsOne) {
    TrailProbe none(0);
    EXPECT_FALSE(none.IsConflict());
    EXPECT_THAT(TrailProbe::m_listStaticTrail, IsEmpty());
    TrailProbe zero(std::vector<int>{0});
    EXPECT_FALSE(zero.IsConflict());
    EXPECT_THAT(TrailProbe::m_listStaticTrail, ElementsAre(0));
    EXPECT_FALSE(none.IsConflict());
}

TEST_F(GuardTest, ASecondTestConflictsWithItselfAndLeavesItsTrailsForGood) {
    {
        TrailProbe guard(std::vector<int>{4, 2});
        EXPECT_FALSE(guard.IsConflict());
        EXPECT_EQ(ERR_MUTEX_TRAIL_CONFLICT, guard.GetResult());
        EXPECT_THAT(guard.m_listRegistered, ElementsAre(2, 4));
    }
    EXPECT_THAT(TrailProbe::m_listStaticTrail, ElementsAre(2, 4));
}

TEST_F(GuardTest, TheBusyListKeepsItsOrderUntilATestOrDestructorSortsIt) {
    TrailProbe first(std::vector<int>{9, 3});
    first.IsConflict();
    EXPECT_THAT(TrailProbe::m_listStaticTrail, ElementsAre(9, 3));
    EXPECT_THAT(first.m_listTrail, ElementsAre(9, 3));
    TrailProbe second(std::vector<int>{7, 1, 7});
    second.IsConflict();
    EXPECT_THAT(TrailProbe::m_listStaticTrail, ElementsAre(3, 9, 1, 7, 7));
    EXPECT_THAT(second.m_listTrail, ElementsAre(1, 7, 7));
    { const TrailProbe untested(std::vector<int>{3}); }
    EXPECT_THAT(TrailProbe::m_listStaticTrail, ElementsAre(1, 3, 7, 7, 9))
        << "a guard that was never tested sorts and removes nothing";
    TrailProbe::m_listStaticTrail = {5, 7, 7, 5};
    {
        TrailProbe third(std::vector<int>{6, 8});
        third.IsConflict();
        third.m_listRegistered = {5, 7, 99};
    }
    EXPECT_THAT(TrailProbe::m_listStaticTrail, ElementsAre(5, 6, 7, 8))
        << "one occurrence is removed for each registered one";
}

TEST_F(GuardTest, RandomTrailGuardsLeaveTheListAsSetDifferenceWould) {
    std::mt19937 random(11);
    for (int i = 0; i < 2000; ++i) {
        std::list<int> listBusy(random() % 20);
        for (int& nTrail : listBusy)
            nTrail = static_cast<int>(random() % 12);
        TrailProbe::m_listStaticTrail = listBusy;
        std::list<int> listWanted(1 + random() % 5);
        for (int& nTrail : listWanted)
            nTrail = static_cast<int>(random() % 12);
        bool bBusy = false;
        for (const int nTrail : listWanted)
            bBusy = bBusy || std::count(listBusy.begin(), listBusy.end(), nTrail) != 0;
        {
            TrailProbe guard(listWanted);
            ASSERT_EQ(bBusy, guard.IsConflict());
            ASSERT_EQ(listBusy.size() + (bBusy ? 0 : listWanted.size()),
                      TrailProbe::m_listStaticTrail.size());
        }
        listBusy.sort();
        ASSERT_EQ(listBusy, TrailProbe::m_listStaticTrail);
    }
}

}  // namespace
