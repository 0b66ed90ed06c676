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
    using TEMutexOperTrailGuard::TrailsChanged;
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

// The busy trails in the plain way: the whole list is sorted and walked each time.
class PlainTrailGuard {
public:
    PlainTrailGuard(std::list<int> listTrail, std::list<int>& listBusy)
        : m_listTrail(std::move(listTrail)), m_listBusy(listBusy) {}
    ~PlainTrailGuard() {
        if (m_listTrail.empty() || m_bConflict)
            return;
        std::list<int> listLeft;
        m_listRegistered.sort();
        m_listBusy.sort();
        std::set_difference(m_listBusy.begin(), m_listBusy.end(), m_listRegistered.begin(),
                            m_listRegistered.end(), std::back_inserter(listLeft));
        m_listBusy = listLeft;
    }

    bool IsConflict() {
        m_bConflict = false;
        m_listRegistered.clear();
        if (m_listTrail.empty())
            return false;
        if (!m_listBusy.empty()) {
            m_listTrail.sort();
            m_listBusy.sort();
            std::set_intersection(m_listBusy.begin(), m_listBusy.end(), m_listTrail.begin(),
                                  m_listTrail.end(), std::back_inserter(m_listRegistered));
            m_bConflict = !m_listRegistered.empty();
            if (m_bConflict)
                return true;
        }
        m_listBusy.insert(m_listBusy.end(), m_listTrail.begin(), m_listTrail.end());
        m_listRegistered = m_listTrail;
        return false;
    }

    std::list<int> m_listTrail;
    std::list<int> m_listRegistered;

private:
    bool m_bConflict = false;
    std::list<int>& m_listBusy;
};

// Guards that come and go in any order, tested never, once or twice; and a list that others change.
TEST_F(GuardTest, RandomTrailGuardsSeeAndLeaveTheListOfThePlainWay) {
    std::mt19937 random(11);
    std::list<int> listPlain;
    std::vector<std::pair<std::unique_ptr<TrailProbe>, std::unique_ptr<PlainTrailGuard>>> vecGuard;
    const auto Numbers = [&](std::size_t nMost) {
        std::list<int> listNumber(random() % (nMost + 1));
        for (int& nNumber : listNumber)
            nNumber = static_cast<int>(random() % 60);
        return listNumber;
    };
    for (int i = 0; i < 30000; ++i) {
        const std::size_t nGuard = vecGuard.empty() ? 0 : random() % vecGuard.size();
        const unsigned nStep = static_cast<unsigned>(random() % 100);
        if (nStep < 40 || vecGuard.empty()) {
            const std::list<int> listWanted = Numbers(nStep == 0 ? 30 : 4);
            vecGuard.emplace_back(std::make_unique<TrailProbe>(listWanted),
                                  std::make_unique<PlainTrailGuard>(listWanted, listPlain));
        } else if (nStep < 74) {
            ASSERT_EQ(vecGuard[nGuard].second->IsConflict(), vecGuard[nGuard].first->IsConflict());
            ASSERT_EQ(vecGuard[nGuard].second->m_listTrail, vecGuard[nGuard].first->m_listTrail);
            ASSERT_EQ(vecGuard[nGuard].second->m_listRegistered,
                      vecGuard[nGuard].first->m_listRegistered);
        } else if (nStep < 98) {
            vecGuard.erase(vecGuard.begin() + static_cast<std::ptrdiff_t>(nGuard));
        } else if (nStep == 98) {
            TrailProbe::m_listStaticTrail = listPlain = Numbers(20);
            TrailProbe::TrailsChanged();
        } else {
            TrailProbe::m_listStaticTrail.push_front(59 - i % 60);  // seen without being told
            listPlain.push_front(59 - i % 60);
        }
        ASSERT_EQ(listPlain, TrailProbe::m_listStaticTrail) << "after step " << i;
    }
}

}  // namespace
