#include "tovelkarin/temutexopermgr.h"

#include "tests/naive/mutex_check.h"
#include "tests/random_bytes.h"
#include "tests/support.h"

#include <algorithm>
#include <climits>
#include <random>

namespace {

using NSTE_util::ERR_MUTEX_NO_ERRORCODE;
using NSTE_util::TEMutexOperMgr;
using NSTE_util::TEOperObject;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string NOT_REGISTERED = "No Mutex Operations Register for: ";
const std::string NO_CODE = "Can't find match error of operation(";
const std::string NOT_HELD = "ReleaseMutexOper warning:listIter end!";
const std::string ZERO_ZERO =
    "Calling TEMutexOperMgrImpl::RegisterMutex() with nOper1=0 and nOper2=0";

class TEMutexOperMgrTest : public testing::Test {
protected:
    TEMutexOperMgrTest() { TEMutexOperMgr::Destroy(); }
    ~TEMutexOperMgrTest() override { TEMutexOperMgr::Destroy(); }

    static TEMutexOperMgr& Mgr() { return *TEMutexOperMgr::Instance(); }

    bool Load(const std::string& strText) {
        return Mgr().LoadMutexCfg(m_folder.Write("mutex.cfg", strText));
    }

    // 20 blocks 10 one way, 30 and 31 block each other; 30 has no code.
    void LoadSample() {
        ASSERT_TRUE(Load("[MUTEX_TABLE]\n20:10:0\n30:31:1\n[MUTEX_ERRORCODE]\n20:2020\n31:3131\n"));
    }

    // Whether an operation that holds held refuses one that asks for asked.
    bool Overlap(const TEOperObject& held, const TEOperObject& asked) {
        EXPECT_EQ(0U, Mgr().AcquireMutexOper(20, held));
        const bool bRefused = Mgr().AcquireMutexOper(10, asked) != 0;
        Mgr().ReleaseMutexOper(20, held);
        if (!bRefused)
            Mgr().ReleaseMutexOper(10, asked);
        return bRefused;
    }

    support::TempFolder m_folder;
    support::DebugCapture m_debug;
};

TEST_F(TEMutexOperMgrTest, ObjectsOverlapUnlessTheyDifferAtALevelBeforeAnyZero) {
    LoadSample();
    const struct {
        TEOperObject a;
        TEOperObject b;
        bool bOverlap;
    } arrCase[] = {
        {{5, 0, 0}, {5, 7, 99}, true},
        {{5, 7, 1}, {5, 8, 1}, false},
        {{5, 7, 1}, {5, 7, 2}, false},
        {{0, 3, 3}, {5, 7, 99}, true},
        {{5, 7, 1}, {5, 7, 1}, true},
        {{5, 7, 0}, {5, 7, 1}, true},
        {{5, 0, 3}, {5, 7, 99}, true},
        {{5, 0, 3}, {6, 0, 3}, false},
        {{0, 0, 0}, {0, 1, 2}, true},
        {{-1, 2, LONG_MIN}, {-1, 2, LONG_MIN}, true},
        {{-1, 2, LONG_MIN}, {-1, 2, LONG_MAX}, false},
        {{INT_MIN, 1, 1}, {INT_MAX, 1, 1}, false},
    };
    for (const auto& test : arrCase) {
        EXPECT_EQ(test.bOverlap, Overlap(test.a, test.b)) << test.a.nNeId << "/" << test.a.nObjId;
        EXPECT_EQ(test.bOverlap, Overlap(test.b, test.a)) << test.b.nNeId << "/" << test.b.nObjId;
    }
    EXPECT_FALSE(Mgr().HasRunningOper());
}

TEST_F(TEMutexOperMgrTest, AnEmptyTableGrantsEverythingAndSaysSo) {
    EXPECT_EQ(0U, Mgr().AcquireMutexOper(7, TEOperObject{}));
    EXPECT_EQ(0U, Mgr().AcquireMutexOper(8, TEOperObject{}));
    EXPECT_THAT(m_debug.TakeWhole(), ElementsAre("tovelkarin 1 " + NOT_REGISTERED + "7",
                                                 "tovelkarin 1 " + NOT_REGISTERED + "8"));
}

TEST_F(TEMutexOperMgrTest, ARefusalCarriesTheCodeOfTheRunningOperation) {
    LoadSample();
    EXPECT_EQ(0U, Mgr().AcquireMutexOper(20, TEOperObject{5, 0, 0}));
    EXPECT_EQ(2020U, Mgr().AcquireMutexOper(10, TEOperObject{5, 7, 99}));
    EXPECT_FALSE(Mgr().IsOperRunning(10)) << "a refused operation runs on nothing";
    m_debug.Take();
    EXPECT_EQ(0U, Mgr().AcquireMutexOper(30, TEOperObject{6, 0, 0}));
    EXPECT_EQ(ERR_MUTEX_NO_ERRORCODE, Mgr().AcquireMutexOper(31, TEOperObject{6, 1, 0}));
    EXPECT_THAT(m_debug.Take(), ElementsAre(NO_CODE + "30)"));
}

TEST_F(TEMutexOperMgrTest, TheLowestBlockerDecidesAndExclusiveOnesComeBeforeTheTable) {
    ASSERT_TRUE(Load("[MUTEX_TABLE]\n2:5:0\n3:5:0\n0:9:0\n[MUTEX_ERRORCODE]\n2:22\n3:33\n9:99\n"));
    const TEOperObject first{1, 0, 0};
    const TEOperObject second{2, 0, 0};
    Mgr().AcquireMutexOper(3, first);
    Mgr().AcquireMutexOper(2, second);
    EXPECT_EQ(22U, Mgr().AcquireMutexOper(5, std::list<TEOperObject>{first, second}))
        << "not the one that overlaps the first object";
    Mgr().AcquireMutexOper(9, TEOperObject{3, 0, 0});
    EXPECT_EQ(99U, Mgr().AcquireMutexOper(
                       5, std::list<TEOperObject>{first, second, TEOperObject{3, 1, 0}}));
    EXPECT_EQ(22U, Mgr().AcquireMutexOper(9, TEOperObject{}))
        << "an exclusive request meets all running operations, itself included";
}

TEST_F(TEMutexOperMgrTest, AnOperationExcludesItselfOnlyIfTheTableSaysSo) {
    ASSERT_TRUE(Load("[MUTEX_TABLE]\n4:4:0\n5:6:0\n12:0:0\n[MUTEX_ERRORCODE]\n4:44\n12:1212\n"));
    const TEOperObject obj{1, 1, 1};
    EXPECT_EQ(0U, Mgr().AcquireMutexOper(6, obj));
    EXPECT_EQ(0U, Mgr().AcquireMutexOper(6, obj)) << "both grants are recorded";
    Mgr().ReleaseMutexOper(6, obj);
    EXPECT_TRUE(Mgr().IsOperRunning(6));
    Mgr().ReleaseMutexOper(6, obj);
    EXPECT_FALSE(Mgr().IsOperRunning(6));
    EXPECT_EQ(0U, Mgr().AcquireMutexOper(4, obj));
    EXPECT_EQ(44U, Mgr().AcquireMutexOper(4, obj));
    Mgr().ReleaseMutexOper(4, obj);
    EXPECT_EQ(0U, Mgr().AcquireMutexOper(12, obj));
    EXPECT_EQ(1212U, Mgr().AcquireMutexOper(12, obj));
}

TEST_F(TEMutexOperMgrTest, ACodeOfZeroIsReturnedToAnExclusiveRequestAndOverlookedByOthers) {
    ASSERT_TRUE(Load("[MUTEX_TABLE]\n1:0:0\n2:3:0\n[MUTEX_ERRORCODE]\n1:0\n2:0\n"));
    const TEOperObject obj{1, 0, 0};
    EXPECT_EQ(0U, Mgr().AcquireMutexOper(2, obj));
    EXPECT_EQ(0U, Mgr().AcquireMutexOper(1, obj));
    EXPECT_FALSE(Mgr().IsOperRunning(1)) << "looks like a grant, nothing is recorded";
    EXPECT_EQ(0U, Mgr().AcquireMutexOper(3, obj));
    EXPECT_TRUE(Mgr().IsOperRunning(3)) << "granted beside its blocker";
}

TEST_F(TEMutexOperMgrTest, AGrantWithoutObjectsRunsForGoodAndIsInNobodysWay) {
    LoadSample();
    EXPECT_EQ(0U, Mgr().AcquireMutexOper(20, std::list<TEOperObject>{}));
    EXPECT_EQ(0U, Mgr().AcquireMutexOper(10, TEOperObject{}));
    Mgr().ReleaseMutexOper(20, std::list<TEOperObject>{});
    m_debug.Take();
    Mgr().ReleaseMutexOper(20, TEOperObject{});
    EXPECT_THAT(m_debug.Take(), ElementsAre(NOT_HELD)) << "the entry is there, the object is not";
    EXPECT_TRUE(Mgr().IsOperRunning(20));
}

// More operations than the manager remembers after their release, in turns that outlive it.
TEST_F(TEMutexOperMgrTest, OperationsThatCameAndWentAreForgottenWhateverTheirNumber) {
    for (int nTurn = 0; nTurn < 3; ++nTurn)
        for (int nOper = -40; nOper < 40; ++nOper) {
            Mgr().AcquireMutexOper(nOper, TEOperObject{1, 1, 1});
            EXPECT_EQ(0U, Mgr().AcquireMutexOper(nOper, std::list<TEOperObject>{}));
            if (nOper % 3 == 0)
                Mgr().AcquireMutexOper(nOper + 100, TEOperObject{1, 1, 1});
            Mgr().ReleaseMutexOper(nOper, TEOperObject{1, 1, 1});
            EXPECT_FALSE(Mgr().IsOperRunning(nOper)) << "the last object ends a bare grant too";
        }
    for (int nOper = -40; nOper < 40; ++nOper)
        EXPECT_EQ(nOper % 3 == 0, Mgr().IsOperRunning(nOper + 100));
    for (int i = 0; i < 3; ++i)
        for (int nOper = -39; nOper < 40; nOper += 3)
            Mgr().ReleaseMutexOper(nOper + 100, TEOperObject{1, 1, 1});
    EXPECT_FALSE(Mgr().HasRunningOper());
}

TEST_F(TEMutexOperMgrTest, ReleaseTakesObjectsThatAreEqualInAllThreeFields) {
    LoadSample();
    Mgr().AcquireMutexOper(20, std::list<TEOperObject>{{5, 0, 3}, {5, 0, 0}, {0, 9, 9}});
    m_debug.Take();
    Mgr().ReleaseMutexOper(20, std::list<TEOperObject>{{5, 0, 4}, {0, 0, 0}, {5, 0, 3}, {5, 0, 3}});
    EXPECT_THAT(m_debug.Take(), ElementsAre(NOT_HELD, NOT_HELD, NOT_HELD));
    Mgr().ReleaseMutexOper(20, std::list<TEOperObject>{{5, 0, 0}, {0, 9, 9}, {5, 0, 0}});
    EXPECT_THAT(m_debug.TakeWhole(),
                ElementsAre("zembedded P ASSERT: file mutex, line 362 assertion failed for "
                            "'bAssertFlag'."));
    EXPECT_FALSE(Mgr().HasRunningOper());
}

TEST_F(TEMutexOperMgrTest, LoadReadsGoodLinesAmongBadOnes) {
    struct Case {
        const char* szText;
        bool bResult;
        bool bRelated;  // 1 blocks 2 afterwards
    };
    const std::string strComment1023 = "#" + std::string(1022, 'x') + "\n";
    const std::string strComment1024 = "#" + std::string(1023, 'x') + "\n";
    const std::string strWhole = strComment1023 + "[MUTEX_TABLE]\n1:2:0\n";
    const std::string strCut = strComment1024 + "[MUTEX_TABLE]\n1:2:0\n";
    const Case arrCase[] = {
        {"", true, false},
        {"[MUTEX_TABLE]\n1:2:0", true, true},
        {"  [MUTEX_TABLE]\t\r\n\t1 : 2 : 0 \r\n", true, true},
        {"[MUTEX_TABLE]\n1:3,2,5-7:0\n", true, true},
        {"[MUTEX_TABLE]\n1:1-3:0\n", true, true},
        {"[MUTEX_TABLE]\n2:1:1\n", true, true},
        {"[MUTEX_TABLE]\n2:1:0\n", true, false},
        {"[MUTEX_TABLE]\n2:1:-1\n", true, true},
        {"1:2:0\n[MUTEX_TABLE]\n", false, false},
        {"# 1:2:0\n\n[MUTEX_TABLE]\n   # x\n1:2:0\n", true, true},
        {"[mutex_table]\n1:2:0\n", false, false},
        {"[MUTEX_TABLE ]\n[MUTEX_TABLE]\n1:2:0\n", false, true},
        {"[MUTEX_TABLE]\n1:2:0:\n", false, false},
        {"[MUTEX_TABLE]\n1:2\n1:2:0\n", false, true},
        {"[MUTEX_TABLE]\n1::0\n", true, false},
        {"[MUTEX_TABLE]\n1:2,-3:0\n", false, false},
        {"[MUTEX_TABLE]\n1:3-2:0\n1:2:x\nx:2:0\n", false, false},
        {"[MUTEX_TABLE]\n1:2,1-2147483647:0\n", false, false},
        {"[MUTEX_TABLE]\n1:1-1048576:0\n", true, true},
        {"[MUTEX_TABLE]\n1:1-1048576,2:0\n", false, false},
        {"[MUTEX_TABLE]\n1:0-1:0\n", true, true},
        {"[MUTEX_TABLE]\n0:2-9:0\n", true, true},
        {"[MUTEX_TABLE]\n1:4294967298:0\n", true, true},
        {"[MUTEX_TABLE]\n1:4294967296-4294967298:0\n", true, true},
        {"[MUTEX_TABLE]\n1:2147483650:0\n1:99999999999999999999:0\n", false, false},
        {"[MUTEX_TABLE]\n4294967297:2:0\n", false, false},
        {"[MUTEX_ERRORCODE]\n[MUTEX_TABLE]\n1:2:0\n[MUTEX_ERRORCODE]\n1:7\n", true, true},
        {"[MUTEX_ERRORCODE]\n1:2147483648\n1:0x10\n1\n1:2:3\n", false, false},
        {strWhole.c_str(), true, true},
        {strCut.c_str(), true, false},
    };
    for (const Case& test : arrCase) {
        TEMutexOperMgr::Destroy();
        EXPECT_EQ(test.bResult, Load(test.szText)) << test.szText;
        Mgr().AcquireMutexOper(1, TEOperObject{});
        EXPECT_EQ(test.bRelated, Mgr().AcquireMutexOper(2, TEOperObject{}) != 0) << test.szText;
    }
}

TEST_F(TEMutexOperMgrTest, LoadKeepsTheFirstCodeAndAddsToWhatIsThere) {
    ASSERT_TRUE(Load("[MUTEX_TABLE]\n1:2:0\n[MUTEX_ERRORCODE]\n1:11\n1:12\n"));
    ASSERT_TRUE(Load("[MUTEX_TABLE]\n3:4:0\n[MUTEX_ERRORCODE]\n1:13\n3:-5\n"));
    Mgr().AcquireMutexOper(1, TEOperObject{});
    EXPECT_EQ(11U, Mgr().AcquireMutexOper(2, TEOperObject{}));
    Mgr().AcquireMutexOper(3, TEOperObject{});
    EXPECT_EQ(0xFFFFFFFFFFFFFFFBU, Mgr().AcquireMutexOper(4, TEOperObject{}))
        << "a negative code is widened with its sign";
}

TEST_F(TEMutexOperMgrTest, LoadTakesZeroAsEveryOperation) {
    ASSERT_TRUE(Load("[MUTEX_TABLE]\n0:17:1\n12:0:0\n0:0:1\n"));
    EXPECT_THAT(m_debug.Take(), ElementsAre(ZERO_ZERO));
    for (const int nExclusive : {17, 12}) {
        Mgr().AcquireMutexOper(nExclusive, TEOperObject{});
        EXPECT_NE(0U, Mgr().AcquireMutexOper(999, TEOperObject{})) << nExclusive;
        Mgr().ReleaseMutexOper(nExclusive, TEOperObject{});
        Mgr().AcquireMutexOper(999, TEOperObject{});
        EXPECT_NE(0U, Mgr().AcquireMutexOper(nExclusive, TEOperObject{})) << nExclusive;
        Mgr().ReleaseMutexOper(999, TEOperObject{});
    }
    EXPECT_FALSE(Mgr().IsOperRunning(0));
}

TEST_F(TEMutexOperMgrTest, LoadReportsWhatCannotBeOpened) {
    const std::string strFolder = m_folder.Path();
    const std::string strMissing = m_folder.Path("missing");
    EXPECT_FALSE(Mgr().LoadMutexCfg(strMissing));
    EXPECT_FALSE(Mgr().LoadMutexCfg(strFolder));
    EXPECT_FALSE(Mgr().LoadMutexCfg(""));
    EXPECT_FALSE(Mgr().LoadMutexCfg(std::string(10 << 20, 'x')));
    const auto vecLine = m_debug.Take();
    ASSERT_EQ(4U, vecLine.size());
    EXPECT_THAT(vecLine[3], testing::EndsWith("string too more! \n"));
    EXPECT_THAT(std::vector<std::string>(vecLine.begin(), vecLine.begin() + 3),
                ElementsAre("Open file(" + strMissing + ") error! ",
                            "Open file(" + strFolder + ") error! ", "Open file() error! "));
}

TEST_F(TEMutexOperMgrTest, TellsOfAMissingFileWithoutItsLock) {
    int nAsked = 0;
    const zemb::ScopedDebugSink sink([&](const zemb::DebugLine&) {
        EXPECT_FALSE(Mgr().HasRunningOper());  // would never end under the lock
        ++nAsked;
    });
    EXPECT_FALSE(Mgr().LoadMutexCfg("/no/such/file"));
    EXPECT_EQ(1, nAsked);
}

TEST_F(TEMutexOperMgrTest, LoadEndsAtALineThatIsTooLongInAnEndlessFile) {
    EXPECT_TRUE(Mgr().LoadMutexCfg("/dev/zero"));
    EXPECT_THAT(m_debug.Take(), IsEmpty());
}

TEST_F(TEMutexOperMgrTest, AssertionsAreWrittenWhileExitingAndNeedADefaultChannel) {
    zemb::SetExit(true);
    Mgr().ReleaseMutexOper(1, TEOperObject{});
    Mgr().AcquireMutexOper(1, TEOperObject{});
    zemb::SetExit(false);
    EXPECT_THAT(m_debug.Take(),
                ElementsAre("ASSERT: file mutex, line 362 assertion failed for 'bAssertFlag'."));
    const zemb::ScopedNoDebugChannel none;
    Mgr().ReleaseMutexOper(2, TEOperObject{});
    EXPECT_THAT(m_debug.Take(), IsEmpty());
}

TEST_F(TEMutexOperMgrTest, AFileCutAtAnyByteIsReadLikeTheModelReadsIt) {
    const std::string strText =
        "# c\n[MUTEX_TABLE]\r\n1:2,4-6:1\n0:9:0\n 7 : 0 : 0\n[MUTEX_ERRORCODE]\n1:11\n7:-77\n\n9:x";
    for (std::size_t n = 0; n <= strText.size(); ++n)
        ASSERT_NO_THROW(
            naive::CheckMutexFile(reinterpret_cast<const std::uint8_t*>(strText.data()), n))
            << n;
}

TEST_F(TEMutexOperMgrTest, RandomScriptsAgreeWithTheModel) {
    support::CheckRandomly(naive::CheckMutexScript, 600, 400);
}

// So many that places with the same tag meet: one taken for another would refuse what is free.
TEST_F(TEMutexOperMgrTest, ManyHeldObjectsAreKeptApart) {
    ASSERT_TRUE(Load("[MUTEX_TABLE]\n1:100:0\n[MUTEX_ERRORCODE]\n1:1001\n"));
    std::vector<TEOperObject> vecHeld;
    for (int i = 0; i < 20000; ++i)
        vecHeld.push_back({1 + i % 97, 1 + i % 11, 1 + i % 1009});
    for (const TEOperObject& obj : vecHeld)
        ASSERT_EQ(0U, Mgr().AcquireMutexOper(1, obj));
    for (const auto& [nNeId, nObjId, lSubObjId] : vecHeld)
        for (const TEOperObject& obj : {TEOperObject{nNeId, nObjId, lSubObjId + 2000},
                                        TEOperObject{nNeId, nObjId + 100, 0}}) {
            ASSERT_EQ(0U, Mgr().AcquireMutexOper(100, obj));
            Mgr().ReleaseMutexOper(100, obj);
        }
    std::shuffle(vecHeld.begin(), vecHeld.end(), std::mt19937(3));
    m_debug.Take();
    for (const TEOperObject& obj : vecHeld)
        Mgr().ReleaseMutexOper(1, obj);
    EXPECT_THAT(m_debug.Take(), IsEmpty());
    EXPECT_FALSE(Mgr().HasRunningOper());
}

// Blockers and running operations that alternate, so that a search goes by kinds of operations, and
// a table that grows while they run, so that kinds are split.
TEST_F(TEMutexOperMgrTest, ManyRunningOperationsAgreeWithTheModel) {
    const auto Lines = [](int nFirst, int nStep, const std::string& strRest) {
        std::string strText = "[MUTEX_TABLE]\n";
        for (int nOper = nFirst; nOper <= 150; nOper += nStep)
            strText += std::to_string(nOper) + strRest;
        return strText;
    };
    const std::string arrTable[] = {Lines(1, 2, ":200:0\n"), Lines(1, 3, ":201,300-400:1\n"),
                                    Lines(2, 4, ":0:0\n"), Lines(3, 6, ":200-203:0\n")};
    naive::MutexPair pair;
    std::mt19937 random(11);
    const auto Below = [&random](unsigned n) { return static_cast<int>(random() % n); };
    for (const std::string& strTable : arrTable) {
        pair.Load(strTable + "[MUTEX_ERRORCODE]\n1:1001\n");
        for (int i = 0; i < 400; ++i) {
            const TEOperObject obj{Below(40) == 0 ? 0 : 5, 1 + Below(60), Below(2)};
            const int nOper = 1 + Below(150);
            const auto itHeld = pair.Model().mapRunning.find(nOper);
            if (itHeld == pair.Model().mapRunning.end()) {
                ASSERT_NO_THROW(pair.Acquire(nOper, {obj}));
            } else {
                ASSERT_NO_THROW(pair.Release(nOper, std::list<TEOperObject>(itHeld->second)));
            }
            for (const int nAsked : {200, 201, 202, 350, 2})
                ASSERT_NO_THROW(pair.Acquire(nAsked, {{5 * Below(2), 0, 0}}));
            for (const int nAsked : {200, 201, 202, 350, 2})
                while (pair.Model().mapRunning.count(nAsked) != 0)
                    ASSERT_NO_THROW(
                        pair.Release(nAsked, {pair.Model().mapRunning[nAsked].front()}));
        }
    }
}

TEST_F(TEMutexOperMgrTest, InstanceIsNewAfterDestroy) {
    LoadSample();
    Mgr().AcquireMutexOper(20, TEOperObject{});
    TEMutexOperMgr::Destroy();
    EXPECT_FALSE(Mgr().HasRunningOper()) << "new and empty";
    m_debug.Take();
    EXPECT_EQ(0U, Mgr().AcquireMutexOper(10, TEOperObject{}));
    EXPECT_THAT(m_debug.Take(), ElementsAre(NOT_REGISTERED + "10")) << "the table is gone too";
}

TEST_F(TEMutexOperMgrTest, AChannelThatThrowsChangesNoAnswer) {
    LoadSample();
    const zemb::ScopedDebugSink sink([](const zemb::DebugLine&) { throw 1; });
    EXPECT_EQ(0U, Mgr().AcquireMutexOper(30, TEOperObject{1, 0, 0}));
    EXPECT_EQ(ERR_MUTEX_NO_ERRORCODE, Mgr().AcquireMutexOper(31, TEOperObject{}));
    EXPECT_EQ(0U, Mgr().AcquireMutexOper(777, TEOperObject{}));
    EXPECT_NO_THROW(Mgr().ReleaseMutexOper(778, TEOperObject{}));
    EXPECT_NO_THROW(Mgr().ReleaseMutexOper(777, TEOperObject{9, 9, 9}));
    EXPECT_TRUE(Mgr().IsOperRunning(777));
}

}  // namespace
