#include "tests/mutex/random_calls.h"
#include "tests/naive/mutex_check.h"
#include "tests/support.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>

namespace {

using naive::History;
using naive::HistoryCall;
using naive::Verdict;
using NSTE_util::TEMutexOperMgr;
using NSTE_util::TEOperObject;

struct Totals {
    std::size_t nCalls = 0;
    std::size_t nOverlapping = 0;
    std::size_t nGrants = 0;
    std::size_t nRefusals = 0;
    std::size_t nViolations = 0;
    std::size_t nUndecided = 0;
    std::size_t nRounds = 0;
};

constexpr std::size_t SEARCH_BUDGET = 2000000;

// Plays one round on the manager, which has no table yet, and judges it.
void PlayRound(TEMutexOperMgr& mgr, unsigned nSeed, std::size_t nThreads, std::size_t nCalls,
               Totals& totals) {
    support::RandomCalls calls(nSeed, nThreads, nCalls);
    naive::MutexModel model;
    const naive::MutexFile file;
    ASSERT_TRUE(mgr.LoadMutexCfg(file.Write(calls.Table())));
    ASSERT_TRUE(model.Load(calls.Table()));
    const History history = calls.Run(mgr);
    ++totals.nRounds;
    naive::HistorySearch search(model, history);
    totals.nOverlapping += search.CountOverlapping();
    for (const auto& vecCall : history) {
        totals.nCalls += vecCall.size();
        for (const HistoryCall& call : vecCall)
            if (call.nKind == HistoryCall::ACQUIRE)
                ++(call.nAnswer == 0 ? totals.nGrants : totals.nRefusals);
    }
    const Verdict verdict = search.Run(SEARCH_BUDGET);
    if (verdict == Verdict::UNDECIDED)
        ++totals.nUndecided;
    else if (verdict == Verdict::IMPOSSIBLE || !model.mapRunning.empty() || mgr.HasRunningOper())
        ++totals.nViolations;
}

std::size_t FromEnvironment(const char* szName, std::size_t nElse) {
    const char* const szValue = std::getenv(szName);
    return szValue == nullptr ? nElse : std::strtoul(szValue, nullptr, 10);
}

// Each round with a new manager and another table; memory is that of one round.
void PlayRounds(std::size_t nThreads, std::size_t nCallsPerThread, std::size_t nCalls,
                Totals& totals) {
    // Lines are written under the manager's lock: who waits there lets the others run into it.
    const zemb::ScopedDebugSink slow([](const zemb::DebugLine&) {
        thread_local unsigned nLines = 0;
        if (++nLines % 128 == 0)
            std::this_thread::yield();
    });
    for (unsigned nSeed = 1; totals.nCalls < nCalls; ++nSeed) {
        TEMutexOperMgr::Destroy();
        ASSERT_NO_FATAL_FAILURE(
            PlayRound(*TEMutexOperMgr::Instance(), nSeed, nThreads, nCallsPerThread, totals));
    }
    TEMutexOperMgr::Destroy();
}

TEST(MutexHistoryTest, AnswersOfManyThreadsAreThoseOfSomeOrder) {
    const std::size_t nThreads = FromEnvironment("TOVELKARIN_HISTORY_THREADS", 16);
    ASSERT_TRUE(nThreads >= 1 && nThreads <= 64);
    Totals totals;
    PlayRounds(nThreads, 6400 / nThreads, FromEnvironment("TOVELKARIN_HISTORY", 100000), totals);
    std::printf(
        "history: %zu threads, %zu calls (%zu overlapping), %zu grants, %zu refusals, "
        "%zu violations, %zu of %zu rounds undecided\n",
        nThreads, totals.nCalls, totals.nOverlapping, totals.nGrants, totals.nRefusals,
        totals.nViolations, totals.nUndecided, totals.nRounds);
    EXPECT_GT(totals.nOverlapping, 0U);
    EXPECT_GT(totals.nGrants, totals.nCalls / 20);
    EXPECT_GT(totals.nRefusals, totals.nCalls / 20);
    EXPECT_EQ(0U, totals.nViolations);
    // A few rounds in thousands may be too hard to explain.
    EXPECT_LE(totals.nUndecided, totals.nRounds / 1000);
}

TEST(MutexHistoryTest, AnswersOfFewThreadsInShortBurstsAreThoseOfSomeOrder) {
    Totals totals;
    PlayRounds(4, 12, 6000, totals);
    EXPECT_EQ(0U, totals.nViolations);
    EXPECT_EQ(0U, totals.nUndecided);
}

// A right manager, made of the model and one lock, to be spoilt below.
class PlainMgr : public TEMutexOperMgr {
public:
    unsigned long AcquireMutexOper(int nOper, const std::list<TEOperObject>& listObj) override {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_model.Acquire(nOper, listObj);
    }
    unsigned long AcquireMutexOper(int nOper, const TEOperObject& obj) override {
        return AcquireMutexOper(nOper, std::list<TEOperObject>{obj});
    }
    void ReleaseMutexOper(int nOper, const std::list<TEOperObject>& listObj) override {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_model.Release(nOper, listObj);
    }
    void ReleaseMutexOper(int nOper, const TEOperObject& obj) override {
        ReleaseMutexOper(nOper, std::list<TEOperObject>{obj});
    }
    bool IsOperRunning(int nOper) override {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_model.mapRunning.count(nOper) != 0;
    }
    bool HasRunningOper() override { return !m_model.mapRunning.empty(); }
    bool LoadMutexCfg(const std::string& strFile) override {
        return m_model.Load(support::ReadAll(strFile));
    }

protected:
    std::mutex m_lock;
    naive::MutexModel m_model;
};

class ForgetsAConflict final : public PlainMgr {
public:
    bool LoadMutexCfg(const std::string& strFile) override {
        const bool bLoaded = PlainMgr::LoadMutexCfg(strFile);
        std::set<int>& setBlocker = m_model.mapTable.begin()->second;
        setBlocker.erase(setBlocker.begin());
        return bLoaded;
    }
};

class TellsTheCodeOfTheOperationAskedFor final : public PlainMgr {
public:
    unsigned long AcquireMutexOper(int nOper, const std::list<TEOperObject>& listObj) override {
        const unsigned long nCode = PlainMgr::AcquireMutexOper(nOper, listObj);
        return nCode == 0 ? 0 : 1000UL + static_cast<unsigned long>(nOper);
    }
};

class LooksAndRecordsUnderTwoLocks final : public PlainMgr {
public:
    unsigned long AcquireMutexOper(int nOper, const std::list<TEOperObject>& listObj) override {
        {
            const std::lock_guard<std::mutex> guard(m_lock);
            if (const unsigned long nCode = m_model.Acquire(nOper, listObj))
                return nCode;
            m_model.Release(nOper, listObj);
        }
        std::this_thread::yield();
        const std::lock_guard<std::mutex> guard(m_lock);
        auto& listHeld = m_model.mapRunning[nOper];
        listHeld.insert(listHeld.end(), listObj.begin(), listObj.end());
        return 0;
    }
};

class TakesAListPieceByPiece final : public PlainMgr {
public:
    unsigned long AcquireMutexOper(int nOper, const std::list<TEOperObject>& listObj) override {
        for (auto it = listObj.begin(); it != listObj.end(); ++it) {
            const unsigned long nCode =
                PlainMgr::AcquireMutexOper(nOper, std::list<TEOperObject>{*it});
            std::this_thread::yield();
            if (nCode == 0)
                continue;
            if (it != listObj.begin())
                ReleaseMutexOper(nOper, std::list<TEOperObject>(listObj.begin(), it));
            return nCode;
        }
        return 0;
    }
};

class ReleasesOneCallLater final : public PlainMgr {
public:
    void ReleaseMutexOper(int nOper, const std::list<TEOperObject>& listObj) override {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_model.Release(m_nOper, m_listLate);
        m_nOper = nOper;
        m_listLate = listObj;
    }
    bool HasRunningOper() override { return false; }  // so that only the answers can tell

private:
    int m_nOper = 0;
    std::list<TEOperObject> m_listLate;
};

class KeepsOneObjectOfMany final : public PlainMgr {
public:
    void ReleaseMutexOper(int nOper, const std::list<TEOperObject>& listObj) override {
        if (++m_nReleases % 64 != 0)
            PlainMgr::ReleaseMutexOper(nOper, listObj);
    }

private:
    std::atomic<int> m_nReleases{0};
};

template <class Mgr>
std::unique_ptr<TEMutexOperMgr> Make() {
    return std::make_unique<Mgr>();
}

TEST(MutexHistoryTest, AManagerWithAFaultIsFoundOut) {
    const struct {
        const char* szFault;
        std::unique_ptr<TEMutexOperMgr> (*fnMake)();
        bool bFound;
    } arrCase[] = {
        {"none", Make<PlainMgr>, false},
        {"forgotten conflict", Make<ForgetsAConflict>, true},
        {"wrong code", Make<TellsTheCodeOfTheOperationAskedFor>, true},
        {"look, then record", Make<LooksAndRecordsUnderTwoLocks>, true},
        {"piece by piece", Make<TakesAListPieceByPiece>, true},
        {"late release", Make<ReleasesOneCallLater>, true},
        {"lost release", Make<KeepsOneObjectOfMany>, true},
    };
    for (const auto& test : arrCase) {
        Totals totals;
        const unsigned nRounds = test.bFound ? 500 : 50;
        for (unsigned nSeed = 1; nSeed <= nRounds && totals.nViolations == 0; ++nSeed)
            ASSERT_NO_FATAL_FAILURE(PlayRound(*test.fnMake(), nSeed, 4, 40, totals));
        EXPECT_EQ(test.bFound, totals.nViolations != 0) << test.szFault;
        EXPECT_EQ(0U, totals.nUndecided) << test.szFault;
    }
}

// Operation 1 blocks 2, not the other way round; 3 blocks itself; the codes are 101 and 103.
const std::list<TEOperObject> WHOLE = {{1, 1, 0}};
const std::list<TEOperObject> PART = {{1, 1, 5}};
const std::list<TEOperObject> ELSEWHERE = {{2, 0, 0}};

HistoryCall Ask(int nOper, const std::list<TEOperObject>& listObj, unsigned long nCode,
                std::uint64_t nBegin, std::uint64_t nEnd) {
    return {HistoryCall::ACQUIRE, nOper, &listObj, nCode, nBegin, nEnd};
}
HistoryCall Give(int nOper, const std::list<TEOperObject>& listObj, std::uint64_t nBegin,
                 std::uint64_t nEnd) {
    return {HistoryCall::RELEASE, nOper, &listObj, 0, nBegin, nEnd};
}
HistoryCall Runs(int nOper, bool bRuns, std::uint64_t nBegin, std::uint64_t nEnd) {
    return {HistoryCall::IS_RUNNING, nOper, nullptr, bRuns, nBegin, nEnd};
}

// A history of three threads as a right manager would give it; the model is asked at some moment
// between begin and end.
History SmallHistory(naive::MutexModel model, std::mt19937& random) {
    static const std::list<TEOperObject> LISTS[] = {WHOLE, PART, ELSEWHERE, {{1, 1, 6}, {2, 3, 0}}};
    History history(3);
    std::vector<int> vecPhase(history.size());
    for (std::uint64_t nStamp = 1; nStamp < 30; ++nStamp) {
        const std::size_t nThread = random() % history.size();
        std::vector<HistoryCall>& vecCall = history[nThread];
        const int nPhase = vecPhase[nThread]++ % 3;
        if (nPhase == 0) {
            const bool bHolds = !vecCall.empty() && vecCall.back().nKind == HistoryCall::ACQUIRE &&
                                vecCall.back().nAnswer == 0;
            const int nOper = 1 + static_cast<int>(random() % 3);
            if (bHolds && random() % 2 == 0)
                vecCall.push_back(Give(vecCall.back().nOper, *vecCall.back().pListObj, nStamp, 0));
            else if (random() % 4 == 0)
                vecCall.push_back(Runs(nOper, false, nStamp, 0));
            else
                vecCall.push_back(Ask(nOper, LISTS[random() % 4], 0, nStamp, 0));
        } else if (nPhase == 2) {
            vecCall.back().nEnd = nStamp;
        } else if (HistoryCall& call = vecCall.back(); call.nKind == HistoryCall::IS_RUNNING) {
            call.nAnswer = model.mapRunning.count(call.nOper);
        } else if (call.nKind == HistoryCall::ACQUIRE) {
            call.nAnswer = model.Acquire(call.nOper, *call.pListObj);
        } else {
            model.Release(call.nOper, *call.pListObj);
        }
    }
    for (std::size_t n = 0; n < history.size(); ++n)
        if (vecPhase[n] % 3 != 0)
            history[n].pop_back();  // has no end, and may have had an effect
    return history;
}

// Tries every order. vecNext: how many calls of each thread are placed.
bool IsPossible(const naive::MutexModel& model, const History& history,
                std::vector<std::size_t>& vecNext) {
    std::uint64_t nFirstEnd = UINT64_MAX;
    for (std::size_t n = 0; n < history.size(); ++n)
        if (vecNext[n] < history[n].size())
            nFirstEnd = std::min(nFirstEnd, history[n][vecNext[n]].nEnd);
    for (std::size_t n = 0; n < history.size(); ++n) {
        if (vecNext[n] == history[n].size() || history[n][vecNext[n]].nBegin > nFirstEnd)
            continue;
        const HistoryCall& call = history[n][vecNext[n]];
        naive::MutexModel after = model;
        unsigned long nAnswer = 0;
        if (call.nKind == HistoryCall::IS_RUNNING)
            nAnswer = after.mapRunning.count(call.nOper);
        else if (call.nKind == HistoryCall::ACQUIRE)
            nAnswer = after.Acquire(call.nOper, *call.pListObj);
        else
            after.Release(call.nOper, *call.pListObj);
        ++vecNext[n];
        if (nAnswer == call.nAnswer && IsPossible(after, history, vecNext))
            return true;
        --vecNext[n];
    }
    return nFirstEnd == UINT64_MAX;
}

// Histories that ended in the middle of calls, or have answers changed, are often impossible.
TEST(MutexHistoryTest, TheSearchAgreesWithTryingEveryOrder) {
    naive::MutexModel model;
    model.Load("[MUTEX_TABLE]\n1:2:0\n2:3:1\n3:3:0\n[MUTEX_ERRORCODE]\n1:101\n2:102\n3:103\n");
    std::mt19937 random(5);
    int nPossible = 0;
    constexpr int HISTORIES = 2000;
    for (int i = 0; i < HISTORIES; ++i) {
        History history = SmallHistory(model, random);
        for (auto& vecCall : history)
            if (!vecCall.empty() && vecCall.back().nKind == HistoryCall::ACQUIRE &&
                random() % 2 == 0)
                vecCall.back().nAnswer = random() % 2 == 0 ? 0 : 101 + random() % 3;
        std::vector<std::size_t> vecNext(history.size());
        const bool bPossible = IsPossible(model, history, vecNext);
        nPossible += bPossible;
        naive::MutexModel searched = model;
        naive::HistorySearch search(searched, history, i % 2 == 0 ? 1 : 1000);
        ASSERT_EQ(bPossible ? Verdict::EXPLAINED : Verdict::IMPOSSIBLE, search.Run(SEARCH_BUDGET))
            << i;
    }
    EXPECT_GT(nPossible, HISTORIES / 4);
    EXPECT_LT(nPossible, HISTORIES * 3 / 4);
}

}  // namespace
