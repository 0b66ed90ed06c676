#include "ratio.h"

#include "tovelkarin/temutexoperguard.h"
#include "tovelkarin/temutexopermgr.h"

#include "zemb/control.h"

#include <benchmark/benchmark.h>
#include <db.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace {

using NSTE_util::TEMutexOperMgr;
using NSTE_util::TEOperObject;

constexpr int HOLDER = 1;  // the operation that holds N objects
constexpr int ASKER = 2;   // the one that is measured; the two exclude each other

// Objects spread over 100 NEs with 100 objects each; subs from 1 on are held, from FREE on free.
constexpr long FREE = 1000000000;

TEOperObject ObjectOf(std::int64_t i, long lFirstSub) {
    return {1 + static_cast<int>(i % 100), 1 + static_cast<int>(i / 100 % 100),
            lFirstSub + i / 10000};
}

std::string WriteTable(const std::string& strText) {
    const std::string strFile = bench::ScratchFolder() + "/mutex.cfg";
    std::ofstream(strFile) << strText;
    return strFile;
}

TEMutexOperMgr& Mgr() {
    return *TEMutexOperMgr::Instance();
}

// A manager whose HOLDER holds N objects; kept while the same N is asked for again.
void HoldOurs(std::int64_t nHeld) {
    static std::int64_t s_nHeld = -1;
    if (s_nHeld == nHeld)
        return;
    s_nHeld = nHeld;
    TEMutexOperMgr::Destroy();
    Mgr().LoadMutexCfg(WriteTable("[MUTEX_TABLE]\n1:2:1\n[MUTEX_ERRORCODE]\n1:11\n2:22\n"));
    for (std::int64_t i = 0; i < nHeld; ++i)
        Mgr().AcquireMutexOper(HOLDER, ObjectOf(i, 1));
}

// Berkeley DB's lock subsystem: for each operation a mode of its own to hold an object and one to
// announce it on the levels above; the two operations' modes conflict where the objects overlap.
class BerkeleyLocks {
public:
    static constexpr int HOLDER_BELOW = 1;
    static constexpr int ASKER_BELOW = 4;

    explicit BerkeleyLocks(std::int64_t nHeld) {
        // 0 none, 1 HOLDER below, 2 HOLDER here, 3 has a meaning of its own, 4 ASKER below,
        // 5 ASKER here
        static u_int8_t arrConflict[6 * 6] = {
            0, 0, 0, 0, 0, 0,  //
            0, 0, 0, 0, 0, 1,  //
            0, 0, 0, 0, 1, 1,  //
            0, 0, 0, 0, 0, 0,  //
            0, 0, 1, 0, 0, 0,  //
            0, 1, 1, 0, 0, 0,
        };
        const auto nLocks = static_cast<u_int32_t>(nHeld * 3 + 200000);

        Must(db_env_create(&m_pEnv, 0));
        Must(m_pEnv->set_lk_conflicts(m_pEnv, arrConflict, 6));
        Must(m_pEnv->set_lk_max_locks(m_pEnv, nLocks));
        Must(m_pEnv->set_lk_max_objects(m_pEnv, nLocks));
        Must(m_pEnv->set_lk_max_lockers(m_pEnv, 1000));
        Must(m_pEnv->open(m_pEnv, nullptr, DB_CREATE | DB_INIT_LOCK | DB_PRIVATE | DB_THREAD, 0));
        Must(m_pEnv->lock_id(m_pEnv, &m_nHolder));
        for (std::int64_t i = 0; i < nHeld; ++i)
            if (Acquire(m_nHolder, ObjectOf(i, 1), HOLDER_BELOW) != 0)
                std::abort();
    }
    ~BerkeleyLocks() { m_pEnv->close(m_pEnv, 0); }
    BerkeleyLocks(const BerkeleyLocks&) = delete;
    BerkeleyLocks& operator=(const BerkeleyLocks&) = delete;

    u_int32_t NewLocker() {
        u_int32_t nLocker = 0;
        Must(m_pEnv->lock_id(m_pEnv, &nLocker));
        return nLocker;
    }

    // The three levels of one object, in one call.
    int Acquire(u_int32_t nLocker, const TEOperObject& obj, int nBelow) {
        struct Key {
            int nNe;
            int nObj;
            long lSub;
        };
        Key arrKey[3] = {
            {obj.nNeId, 0, 0}, {obj.nNeId, obj.nObjId, 0}, {obj.nNeId, obj.nObjId, obj.lSubObjId}};
        DBT arrDbt[3] = {};
        DB_LOCKREQ arrRequest[3] = {};
        for (int i = 0; i < 3; ++i) {
            arrDbt[i].data = &arrKey[i];
            arrDbt[i].size = sizeof(Key);
            arrRequest[i].op = DB_LOCK_GET;
            arrRequest[i].mode = static_cast<db_lockmode_t>(i < 2 ? nBelow : nBelow + 1);
            arrRequest[i].obj = &arrDbt[i];
        }
        return m_pEnv->lock_vec(m_pEnv, nLocker, DB_LOCK_NOWAIT, arrRequest, 3, nullptr);
    }

    void ReleaseAll(u_int32_t nLocker) {
        DB_LOCKREQ request = {};
        request.op = DB_LOCK_PUT_ALL;
        m_pEnv->lock_vec(m_pEnv, nLocker, 0, &request, 1, nullptr);
    }

private:
    static void Must(int nResult) {
        if (nResult == 0)
            return;
        std::fprintf(stderr, "Berkeley DB: %s\n", db_strerror(nResult));
        std::abort();
    }

    DB_ENV* m_pEnv = nullptr;
    u_int32_t m_nHolder = 0;
};

BerkeleyLocks& HoldBerkeley(std::int64_t nHeld) {
    static std::map<std::int64_t, std::unique_ptr<BerkeleyLocks>> s_map;
    auto& pLocks = s_map[nHeld];
    if (pLocks == nullptr)
        pLocks = std::make_unique<BerkeleyLocks>(nHeld);
    return *pLocks;
}

// As many objects as are held, in random order, so that large N find the caches cold; each begins
// at lFirstSub, which decides whether they are held or free.
const std::vector<TEOperObject>& Shuffled(std::int64_t nHeld, long lFirstSub) {
    static std::map<std::pair<std::int64_t, long>, std::vector<TEOperObject>> s_map;
    auto& vecObj = s_map[{nHeld, lFirstSub}];
    if (vecObj.empty()) {
        for (std::int64_t i = 0; i < nHeld; ++i)
            vecObj.push_back(ObjectOf(i, lFirstSub));
        std::shuffle(vecObj.begin(), vecObj.end(), std::mt19937(1));
    }
    return vecObj;
}

// Goes round the objects without end.
class Round {
public:
    explicit Round(const std::vector<TEOperObject>& vecObj) : m_vecObj(vecObj) {}
    const TEOperObject& Next() {
        if (++m_nAt == m_vecObj.size())
            m_nAt = 0;
        return m_vecObj[m_nAt];
    }

private:
    const std::vector<TEOperObject>& m_vecObj;
    std::size_t m_nAt = 0;
};

// Each of two threads has free objects of its own.
long FreeSubOf(const benchmark::State& state) {
    return FREE + state.thread_index() * FREE;
}

void Prepare(const benchmark::State& state) {
    for (int i = 0; i < state.threads(); ++i)
        Shuffled(state.range(0), FREE + i * FREE);
}

void GrantedOurs(benchmark::State& state) {
    if (state.thread_index() == 0) {
        HoldOurs(state.range(0));
        Prepare(state);
    }
    std::optional<Round> round;
    for (auto _ : state) {
        if (!round)
            round.emplace(Shuffled(state.range(0), FreeSubOf(state)));
        const TEOperObject& obj = round->Next();
        if (Mgr().AcquireMutexOper(ASKER, obj) != 0)
            state.SkipWithError("refused");
        Mgr().ReleaseMutexOper(ASKER, obj);
    }
}

void GrantedBerkeley(benchmark::State& state) {
    static BerkeleyLocks* s_pLocks;
    if (state.thread_index() == 0) {
        s_pLocks = &HoldBerkeley(state.range(0));
        Prepare(state);
    }
    std::optional<Round> round;
    u_int32_t nLocker = 0;
    for (auto _ : state) {
        if (!round) {
            round.emplace(Shuffled(state.range(0), FreeSubOf(state)));
            nLocker = s_pLocks->NewLocker();
        }
        const TEOperObject& obj = round->Next();
        if (s_pLocks->Acquire(nLocker, obj, BerkeleyLocks::ASKER_BELOW) != 0)
            state.SkipWithError("refused");
        s_pLocks->ReleaseAll(nLocker);
    }
}

void RefusedOurs(benchmark::State& state) {
    HoldOurs(state.range(0));
    Round round(Shuffled(state.range(0), 1));
    for (auto _ : state)
        if (Mgr().AcquireMutexOper(ASKER, round.Next()) != 11)
            state.SkipWithError("not refused");
}

void RefusedBerkeley(benchmark::State& state) {
    BerkeleyLocks& locks = HoldBerkeley(state.range(0));
    const u_int32_t nLocker = locks.NewLocker();
    Round round(Shuffled(state.range(0), 1));
    for (auto _ : state) {
        if (locks.Acquire(nLocker, round.Next(), BerkeleyLocks::ASKER_BELOW) == 0)
            state.SkipWithError("not refused");
        locks.ReleaseAll(nLocker);
    }
}

// clang-format off
BENCHMARK(GrantedOurs)->Name("granted/ours")->Arg(10)->Arg(1000)->Arg(100000);
BENCHMARK(GrantedBerkeley)->Name("granted/berkeley_db")->Arg(10)->Arg(1000)->Arg(100000);
BENCHMARK(GrantedOurs)->Name("granted_two_threads/ours")->Arg(1000)->Threads(2)->UseRealTime();
BENCHMARK(GrantedBerkeley)->Name("granted_two_threads/berkeley_db")->Arg(1000)->Threads(2)->UseRealTime();
BENCHMARK(RefusedOurs)->Name("refused/ours")->Arg(10)->Arg(1000)->Arg(100000);
BENCHMARK(RefusedBerkeley)->Name("refused/berkeley_db")->Arg(10)->Arg(1000)->Arg(100000);
// clang-format on

std::list<TEOperObject> ListOf(std::int64_t nObjects) {
    std::list<TEOperObject> listObj;
    for (std::int64_t i = 0; i < nObjects; ++i)
        listObj.push_back(ObjectOf(i, FREE));
    return listObj;
}

// One request for many objects against 100,000 held ones; timed apart from its release.
void ListRequest(benchmark::State& state) {
    HoldOurs(100000);
    const std::list<TEOperObject> listObj = ListOf(state.range(0));
    for (auto _ : state) {
        Mgr().AcquireMutexOper(ASKER, listObj);
        state.PauseTiming();
        Mgr().ReleaseMutexOper(ASKER, listObj);
        state.ResumeTiming();
    }
}
BENCHMARK(ListRequest)->Name("list_request/ours")->Arg(1000)->Arg(10000);

// Given back in the reverse order, where a walk over a list is slowest.
void ListRelease(benchmark::State& state) {
    HoldOurs(100000);
    const std::list<TEOperObject> listObj = ListOf(state.range(0));
    const std::list<TEOperObject> listReverse(listObj.rbegin(), listObj.rend());
    for (auto _ : state) {
        state.PauseTiming();
        Mgr().AcquireMutexOper(ASKER, listObj);
        state.ResumeTiming();
        Mgr().ReleaseMutexOper(ASKER, listReverse);
    }
}
BENCHMARK(ListRelease)->Name("list_release/ours")->Arg(1000)->Arg(10000);

class TrailProbe : public NSTE_util::TEMutexOperTrailGuard {
public:
    using TEMutexOperTrailGuard::m_listStaticTrail;
    using TEMutexOperTrailGuard::TEMutexOperTrailGuard;
};

void TrailOurs(benchmark::State& state) {
    TrailProbe::m_listStaticTrail.clear();
    for (int i = 0; i < state.range(0); ++i)
        TrailProbe::m_listStaticTrail.push_back(10 * i);
    const int nTop = static_cast<int>(10 * state.range(0));
    const std::vector<int> vecTrail = {nTop - 1, 3, nTop / 2 + 1, nTop / 4 + 1};
    for (auto _ : state) {
        NSTE_util::TEMutexOperTrailGuard guard(vecTrail);
        if (guard.IsConflict())
            state.SkipWithError("conflict");
    }
    TrailProbe::m_listStaticTrail.clear();
}
BENCHMARK(TrailOurs)->Name("trail_guard/ours")->Arg(10)->Arg(1000)->Arg(100000);

void TrailMultiset(benchmark::State& state) {
    std::unordered_multiset<int> setBusy;
    for (int i = 0; i < state.range(0); ++i)
        setBusy.insert(10 * i);
    const int nTop = static_cast<int>(10 * state.range(0));
    const std::vector<int> vecTrail = {nTop - 1, 3, nTop / 2 + 1, nTop / 4 + 1};
    for (auto _ : state) {
        for (const int nTrail : vecTrail)
            if (setBusy.count(nTrail) != 0)
                state.SkipWithError("conflict");
        for (const int nTrail : vecTrail)
            setBusy.insert(nTrail);
        for (const int nTrail : vecTrail)
            setBusy.erase(setBusy.find(nTrail));
    }
}
BENCHMARK(TrailMultiset)->Name("trail_guard/unordered_multiset")->Arg(10)->Arg(1000)->Arg(100000);

// The lists that a guard shows to those who derive from it, made and gone again: what it wants,
// what it registered, and what is busy. Nothing is searched.
void TrailLimit(benchmark::State& state) {
    std::list<int> listBusy;
    const std::vector<int> vecTrail = {1, 2, 3, 4};
    for (auto _ : state) {
        const std::list<int> listWanted(vecTrail.begin(), vecTrail.end());
        std::list<int> listTaken = listWanted;
        const std::list<int> listRegistered = listWanted;
        listBusy.splice(listBusy.end(), listTaken);
        benchmark::DoNotOptimize(&listRegistered);
        listBusy.clear();
    }
}
BENCHMARK(TrailLimit)->Name("trail_guard/limit")->Arg(10)->Arg(1000)->Arg(100000);

// Guards of a trail each, in no order: all come, and then all go.
void TrailsHeldOurs(benchmark::State& state) {
    const std::int64_t nGuards = state.range(0);
    std::vector<std::optional<NSTE_util::TEMutexOperTrailGuard>> vecGuard(
        static_cast<std::size_t>(nGuards));
    for (auto _ : state) {
        for (std::int64_t i = 0; i < nGuards; ++i) {
            auto& guard = vecGuard[static_cast<std::size_t>(i)];
            guard.emplace(static_cast<int>(1 + i * 7919 % nGuards));
            if (guard->IsConflict())
                state.SkipWithError("conflict");
        }
        for (auto& guard : vecGuard)
            guard.reset();
    }
}
BENCHMARK(TrailsHeldOurs)->Name("trails_held/ours")->Arg(1000)->Arg(100000);

void TrailsHeldMultiset(benchmark::State& state) {
    const std::int64_t nGuards = state.range(0);
    std::unordered_multiset<int> setBusy;
    for (auto _ : state) {
        for (std::int64_t i = 0; i < nGuards; ++i) {
            const int nTrail = static_cast<int>(1 + i * 7919 % nGuards);
            if (setBusy.count(nTrail) != 0)
                state.SkipWithError("conflict");
            setBusy.insert(nTrail);
        }
        for (std::int64_t i = 0; i < nGuards; ++i)
            setBusy.erase(setBusy.find(static_cast<int>(1 + i * 7919 % nGuards)));
    }
}
BENCHMARK(TrailsHeldMultiset)->Name("trails_held/unordered_multiset")->Arg(1000)->Arg(100000);

void TableLoad(benchmark::State& state) {
    std::string strText = "[MUTEX_TABLE]\n";
    for (std::int64_t i = 0; i < state.range(0); ++i)
        strText +=
            std::to_string(1 + i * 7919 % 5000) + ":" + std::to_string(1 + i % 9973) + ":0\n";
    const std::string strFile = WriteTable(strText);
    for (auto _ : state) {
        state.PauseTiming();
        TEMutexOperMgr::Destroy();
        TEMutexOperMgr* const pMgr = TEMutexOperMgr::Instance();
        state.ResumeTiming();
        if (!pMgr->LoadMutexCfg(strFile))
            state.SkipWithError("bad line");
    }
    HoldOurs(0);
}
BENCHMARK(TableLoad)->Name("table_load/ours")->Arg(1000)->Arg(100000);

// N operations run below NE 5. Every second number blocks the asker and every other one; those that
// run stand between them, so that neither set is short.
void HoldBetween(std::int64_t nRunning) {
    static std::int64_t s_nRunning = -1;
    HoldOurs(-3);  // whatever the others kept is gone
    if (std::exchange(s_nRunning, nRunning) == nRunning && Mgr().HasRunningOper())
        return;
    std::string strText = "[MUTEX_TABLE]\n";
    for (int i = 0; i < 100000; ++i)
        strText += std::to_string(11 + 2 * i) + ":" + std::to_string(ASKER) +
                   ":1\n0:" + std::to_string(1000001 + 2 * i) + ":0\n";
    TEMutexOperMgr::Destroy();
    Mgr().LoadMutexCfg(WriteTable(strText));
    for (int i = 0; i < nRunning; ++i)
        Mgr().AcquireMutexOper(10 + 2 * i, ObjectOf(100 * i + 4, 1));
}

void AmongRunning(benchmark::State& state, const TEOperObject& obj) {
    HoldBetween(state.range(0));
    for (auto _ : state) {
        if (Mgr().AcquireMutexOper(ASKER, obj) != 0)
            state.SkipWithError("refused");
        Mgr().ReleaseMutexOper(ASKER, obj);
    }
}

void ExclusiveAmongRunning(benchmark::State& state) {
    HoldBetween(state.range(0));
    for (auto _ : state)
        if (Mgr().AcquireMutexOper(1000001, TEOperObject{5, 0, 0}) == 0)
            state.SkipWithError("not refused");
}

// clang-format off
BENCHMARK_CAPTURE(AmongRunning, ne, TEOperObject{5, 0, 0})->Name("among_running/ours")->Arg(10)->Arg(1000)->Arg(100000);
BENCHMARK_CAPTURE(AmongRunning, all, TEOperObject{})->Name("among_running_everywhere/ours")->Arg(10)->Arg(1000)->Arg(100000);
BENCHMARK(ExclusiveAmongRunning)->Name("among_running_exclusive/ours")->Arg(10)->Arg(1000)->Arg(100000);
// clang-format on

void PrintHeld(const char* szWhat, std::int64_t nObjects, TEOperObject (*pfnObject)(std::int64_t)) {
    HoldOurs(0);
    const std::int64_t nBefore = bench::HeapBytes();
    for (std::int64_t i = 0; i < nObjects; ++i)
        Mgr().AcquireMutexOper(HOLDER, pfnObject(i));
    const double fEach =
        static_cast<double>(bench::HeapBytes() - nBefore) / static_cast<double>(nObjects);
    std::printf("%-48s %10lld objects %8.1f bytes each, goal 120%s\n", szWhat,
                static_cast<long long>(nObjects), fEach, fEach <= 120 ? "" : "  MISSED");
    HoldOurs(-2);
}

// A few characters that name a million operations.
void PrintTable(const std::string& strText) {
    HoldOurs(-2);
    TEMutexOperMgr::Destroy();
    const std::string strFile = WriteTable(strText);
    const std::int64_t nBefore = bench::HeapBytes();
    Mgr().LoadMutexCfg(strFile);
    const std::int64_t nBytes = bench::HeapBytes() - nBefore;
    std::printf("%-48s %10zu bytes   %8lld in memory, goal 100000%s\n", "a table file of",
                strText.size(), static_cast<long long>(nBytes), nBytes <= 100000 ? "" : "  MISSED");
}

}  // namespace

// Memory of tables, and of held objects, where the tables have just grown and where they are full.
void PrintMemory() {
    std::printf("\n");
    for (const std::int64_t nObjects : {10000L, 100000L, 130000L, 150000L, 170000L}) {
        PrintHeld("100 NEs, 100 objects each, many sub-objects", nObjects,
                  [](std::int64_t i) { return ObjectOf(i, 1); });
        PrintHeld("every object in an NE of its own", nObjects, [](std::int64_t i) {
            return TEOperObject{1 + static_cast<int>(i), 1 + static_cast<int>(i), 1 + i};
        });
    }
    PrintTable("[MUTEX_TABLE]\n1:0-1048575:1\n");
    PrintTable(
        "[MUTEX_TABLE]\n1:0-1048575:1\n2:0-1048575:1\n3:0-1048575:1\n4:0-1048575:1\n"
        "5:1-1048575:1\n6:1-1048575:1\n7:1-1048575:1\n8:1-1048575:1\n");
}
