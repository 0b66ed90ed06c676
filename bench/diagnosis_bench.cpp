#include "ratio.h"
#include "row.h"

#include "tests/naive/plain_asn.h"
#include "tovelkarin/teoperationlog.h"
#include "tovelkarin/tnthreadmgr.h"
#include "tovelkarin/tntraceif.h"

#include "zemb/asn.h"
#include "zemb/control.h"
#include "zemb/operlog.h"
#include "zemb/operlog_store.h"

#include <pthread.h>
#include <sqlite3.h>
#include <tbb/concurrent_hash_map.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

namespace {

using namespace NSTN_util;
using bench::Row;

const std::string LABEL = "upload of a whole NE";

// Other threads that are registered as long as it lives.
class Crowd {
public:
    explicit Crowd(std::int64_t nThreads) {
        for (std::int64_t i = 0; i < nThreads; ++i)
            m_vecThread.emplace_back([this] {
                const TNThreadGuard guard("waiting");
                std::unique_lock<std::mutex> lock(m_lock);
                ++m_nReady;
                m_changed.notify_all();
                m_changed.wait(lock, [this] { return m_bEnd; });
            });
        std::unique_lock<std::mutex> lock(m_lock);
        m_changed.wait(lock, [&] { return m_nReady == nThreads; });
    }
    ~Crowd() {
        {
            const std::lock_guard<std::mutex> guard(m_lock);
            m_bEnd = true;
        }
        m_changed.notify_all();
        for (std::thread& thread : m_vecThread)
            thread.join();
    }

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::int64_t m_nReady = 0;
    bool m_bEnd = false;
    std::vector<std::thread> m_vecThread;
};

struct PeerInfo {
    std::string strLabel;
    int nUse;
    std::time_t tStart;
};

std::mutex g_lockPeer;
std::unordered_map<unsigned long, PeerInfo> g_mapPeer;

void EnterMutexMap() {
    const std::lock_guard<std::mutex> guard(g_lockPeer);
    const auto [it, bNew] = g_mapPeer.try_emplace(pthread_self());
    if (bNew)
        it->second = {LABEL, 1, std::time(nullptr)};
    else
        ++it->second.nUse;
}

void LeaveMutexMap() {
    const std::lock_guard<std::mutex> guard(g_lockPeer);
    const auto it = g_mapPeer.find(pthread_self());
    if (--it->second.nUse == 0 && std::time(nullptr) - it->second.tStart <= 300)
        g_mapPeer.erase(it);
}

using TbbMap = tbb::concurrent_hash_map<unsigned long, PeerInfo>;
TbbMap g_mapTbb;

void EnterTbb() {
    TbbMap::accessor accessor;
    if (g_mapTbb.insert(accessor, pthread_self()))
        accessor->second = {LABEL, 1, std::time(nullptr)};
    else
        ++accessor->second.nUse;
}

void LeaveTbb() {
    TbbMap::accessor accessor;
    g_mapTbb.find(accessor, pthread_self());
    if (--accessor->second.nUse == 0 && std::time(nullptr) - accessor->second.tStart <= 300)
        g_mapTbb.erase(accessor);
}

void RegisterOurs(benchmark::State& state) {
    const Crowd crowd(state.thread_index() == 0 ? state.range(0) : 0);
    for (auto _ : state) {
        TNThreadMgr::Instance()->Regist_Thread(LABEL);
        TNThreadMgr::Instance()->UnRegist_Thread();
    }
}

void RegisterMutexMap(benchmark::State& state) {
    for (auto _ : state) {
        EnterMutexMap();
        LeaveMutexMap();
    }
}

void RegisterTbb(benchmark::State& state) {
    for (auto _ : state) {
        EnterTbb();
        LeaveTbb();
    }
}

// clang-format off
BENCHMARK(RegisterOurs)->Name("thread_register/ours")->Arg(1)->Arg(1000);
BENCHMARK(RegisterMutexMap)->Name("thread_register/unordered_map")->Arg(1);
BENCHMARK(RegisterTbb)->Name("thread_register/tbb")->Arg(1);
BENCHMARK(RegisterOurs)->Name("thread_register_two_threads/ours")->Arg(0)->Threads(2)->UseRealTime();
BENCHMARK(RegisterMutexMap)->Name("thread_register_two_threads/unordered_map")->Arg(0)->Threads(2)->UseRealTime();
BENCHMARK(RegisterTbb)->Name("thread_register_two_threads/tbb")->Arg(0)->Threads(2)->UseRealTime();
// clang-format on

// Nested registrations write a line each; here there is no channel that takes it.
void NestedRow() {
    Row("thread_nested", "ours", [](std::size_t) {
        const zemb::ScopedNoDebugChannel silent;
        const TNThreadGuard outer(LABEL);
        const TNThreadGuard inner(LABEL);
        return 0;
    });
}

ZembLogInfo Entry(int nUser) {
    ZembLogInfo info;
    info.nUserId = nUser;
    info.nIpAddr = 0x0A000001;
    info.nCmd = 1201;
    std::strcpy(info.szObject, "NE-5/OCH-3");
    std::strcpy(info.szDesc, "made a trail from the north to the south");
    return info;
}

void Run(sqlite3* pDatabase, const char* szSql) {
    if (sqlite3_exec(pDatabase, szSql, nullptr, nullptr, nullptr) != SQLITE_OK)
        std::abort();
}

constexpr const char* PEER_SCHEMA =
    "CREATE TABLE IF NOT EXISTS operlog (id INTEGER PRIMARY KEY AUTOINCREMENT, time TEXT, user "
    "INTEGER, address INTEGER, command INTEGER, object TEXT, result_kind INTEGER, result INTEGER, "
    "description TEXT, level INTEGER, category INTEGER, process INTEGER);"
    "CREATE INDEX IF NOT EXISTS operlog_user ON operlog (user, id);"
    "CREATE INDEX IF NOT EXISTS operlog_time ON operlog (time)";

// A connection of its own that writes each entry in a transaction of its own.
class PeerWriter {
public:
    PeerWriter(const std::string& strFile, const char* szSync) {
        sqlite3_open(strFile.c_str(), &m_pDatabase);
        sqlite3_busy_timeout(m_pDatabase, 60000);
        Run(m_pDatabase, "PRAGMA journal_mode = WAL");
        Run(m_pDatabase, szSync);
        Run(m_pDatabase, PEER_SCHEMA);
        sqlite3_prepare_v2(m_pDatabase,
                           "INSERT INTO operlog (time, user, address, command, object, "
                           "result_kind, result, description, level, category, process) VALUES "
                           "(?1,?2,?3,?4,?5,?6,?7,?8,?9,?10,?11)",
                           -1, &m_pInsert, nullptr);
    }
    ~PeerWriter() {
        sqlite3_finalize(m_pInsert);
        sqlite3_close(m_pDatabase);
    }
    PeerWriter(const PeerWriter&) = delete;
    PeerWriter& operator=(const PeerWriter&) = delete;

    void Write(const ZembLogInfo& info) {
        const std::string strTime = zemb::FormatTime(zemb::NowMicroseconds());
        sqlite3_bind_text(m_pInsert, 1, strTime.c_str(), -1, SQLITE_STATIC);
        sqlite3_bind_int(m_pInsert, 2, info.nUserId);
        sqlite3_bind_int64(m_pInsert, 3, info.nIpAddr);
        sqlite3_bind_int64(m_pInsert, 4, static_cast<sqlite3_int64>(info.nCmd));
        sqlite3_bind_text(m_pInsert, 5, info.szObject, -1, SQLITE_STATIC);
        sqlite3_bind_int(m_pInsert, 6, info.nResultKind);
        sqlite3_bind_int64(m_pInsert, 7, static_cast<sqlite3_int64>(info.nResult));
        sqlite3_bind_text(m_pInsert, 8, info.szDesc, -1, SQLITE_STATIC);
        sqlite3_bind_int(m_pInsert, 9, info.nLevel);
        sqlite3_bind_int64(m_pInsert, 10, info.nCategory);
        sqlite3_bind_int(m_pInsert, 11, getpid());
        if (sqlite3_step(m_pInsert) != SQLITE_DONE)
            std::abort();
        sqlite3_reset(m_pInsert);
    }

private:
    sqlite3* m_pDatabase = nullptr;
    sqlite3_stmt* m_pInsert = nullptr;
};

std::string FreshFolder(const std::string& strName) {
    const std::string strFolder = bench::ScratchFolder() + "/" + strName;
    std::filesystem::create_directories(strFolder);
    return strFolder;
}

void LogOurs(benchmark::State& state) {
    if (state.thread_index() == 0)
        zemb::SetStatePath(FreshFolder("oplog"));
    const ZembLogInfo info = Entry(state.thread_index());
    for (auto _ : state)
        if (FrameUtil::WriteOperationLog(info, 0) != FrameUtil::OPERLOG_WRITTEN)
            state.SkipWithError("not written");
}

void LogPeer(benchmark::State& state, const char* szSync) {
    PeerWriter writer(FreshFolder("peer") + "/peer.db", szSync);
    const ZembLogInfo info = Entry(state.thread_index());
    for (auto _ : state)
        writer.Write(info);
}

void LogFull(benchmark::State& state) {
    LogPeer(state, "PRAGMA synchronous = FULL");
}

// Not durable after a power cut; told beside, not compared.
void LogNormal(benchmark::State& state) {
    LogPeer(state, "PRAGMA synchronous = NORMAL");
}

// clang-format off
BENCHMARK(LogOurs)->Name("oplog_one_writer/ours")->UseRealTime();
BENCHMARK(LogFull)->Name("oplog_one_writer/sqlite")->UseRealTime();
BENCHMARK(LogNormal)->Name("oplog_not_synced/sqlite")->UseRealTime();
BENCHMARK(LogOurs)->Name("oplog_four_writers/ours")->Threads(4)->UseRealTime();
BENCHMARK(LogFull)->Name("oplog_four_writers/sqlite")->Threads(4)->UseRealTime();
BENCHMARK(LogOurs)->Name("oplog_sixteen_writers/ours")->Threads(16)->UseRealTime();
BENCHMARK(LogFull)->Name("oplog_sixteen_writers/sqlite")->Threads(16)->UseRealTime();
// clang-format on

// A log of a million entries of a thousand users, filled at its first use.
const std::string& LargeLog() {
    static const std::string strFolder = [] {
        const std::string strNew = FreshFolder("oplog_large");
        zemb::SetStatePath(strNew);
        FrameUtil::WriteOperationLog(Entry(0), 0);
        sqlite3* pDatabase = nullptr;
        sqlite3_open((strNew + "/operlog.db").c_str(), &pDatabase);
        Run(pDatabase,
            "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 1000000) "
            "INSERT INTO operlog (time, user, address, command, object, result_kind, result, "
            "description, level, category, process) SELECT '2026-03-01 08:00:00.000Z', i * 7919 % "
            "1000, 1, 2, 'NE-' || i, 0, 0, 'entry ' || i, 4, 2, 1 FROM n");
        sqlite3_close(pDatabase);
        return strNew;
    }();
    zemb::SetStatePath(strFolder);
    return strFolder;
}

void ListOurs(benchmark::State& state) {
    LargeLog();
    zemb::OperLogFilter filter;
    filter.nUserId = 77;
    filter.nLast = 100;
    for (auto _ : state) {
        std::size_t nRows = 0;
        std::string strError;
        zemb::ReadOperLog(
            filter, [&](const zemb::OperLogRow&) { return ++nRows > 0; }, strError);
        if (nRows != 100)
            state.SkipWithError("not found");
    }
}

void ListPeer(benchmark::State& state) {
    const std::string strFile = LargeLog() + "/operlog.db";
    for (auto _ : state) {
        sqlite3* pDatabase = nullptr;
        sqlite3_open(strFile.c_str(), &pDatabase);
        sqlite3_stmt* pStatement = nullptr;
        sqlite3_prepare_v2(pDatabase,
                           "SELECT * FROM (SELECT * FROM operlog WHERE user = 77 ORDER BY id DESC "
                           "LIMIT 100) ORDER BY id",
                           -1, &pStatement, nullptr);
        std::size_t nRows = 0;
        std::string strText;
        for (; sqlite3_step(pStatement) == SQLITE_ROW; ++nRows)
            for (int n = 0; n < 12; ++n)
                strText = reinterpret_cast<const char*>(sqlite3_column_text(pStatement, n));
        sqlite3_finalize(pStatement);
        sqlite3_close(pDatabase);
        if (nRows != 100)
            state.SkipWithError("not found");
    }
}
BENCHMARK(ListOurs)->Name("oplog_list/ours");
BENCHMARK(ListPeer)->Name("oplog_list/sqlite");

// Everything that is done for a long description but its way to the disk.
void SplitRows() {
    for (const std::int64_t nSize : {10000, 1000000}) {
        std::string strText;
        while (static_cast<std::int64_t>(strText.size()) < nSize)
            strText += "x\xE4\xB8\xAD";
        Row(
            "oplog_split", "ours",
            [strText](std::size_t) {
                const zemb::ScopedNoDebugChannel silent;
                TNCommonLog log;
                log.SetOperInfo(strText);
                return log.AddOperationLog(1UL, 0U, 0, 0, 0UL, 0, 0);
            },
            nSize);
    }
}

std::string Compacted(const std::string& strText, std::size_t nBudget) {
    if (strText.size() <= nBudget)
        return strText;
    std::string strOut;
    std::size_t nLeft = strText.size();
    std::size_t i = 0;
    while (i < strText.size() && nLeft > nBudget) {
        const std::size_t nPiece = strText.compare(i, 4, "    ") == 0  ? 4
                                   : strText.compare(i, 3, " --") == 0 ? 3
                                                                       : 0;
        if (nPiece == 0)
            strOut += strText[i++];
        i += nPiece;
        nLeft -= nPiece;
    }
    return strOut + strText.substr(i);
}

void AsnRows() {
    zemb::SetRootPath("");
    for (const std::int64_t nSize : {40000, 1000000, 10000000}) {
        std::string strText;
        for (int i = 0; static_cast<std::int64_t>(strText.size()) < nSize - 100; ++i)
            strText += std::string(static_cast<std::size_t>(4 * (i % 5)), ' ') + " --part" +
                       std::to_string(i) + ": " + std::to_string(i * 7919LL) + "\n";
        const auto pValue = std::make_shared<const naive::PlainAsn>(strText);
        Row(
            "asn_fixed", "ours",
            [pValue](std::size_t) {
                const zemb::ScopedNoDebugChannel silent;
                return AdvAsnTrace(pValue.get(), 3, 0);
            },
            nSize);
        Row(
            "asn_fixed", "substr",
            [pValue](std::size_t) {
                const std::string strCompact = Compacted(NSTE_util::toString(*pValue), 40000);
                std::size_t nBytes = 0;
                for (std::size_t i = 0, nStart = 0; i < 10 && nStart < strCompact.size(); ++i) {
                    const std::size_t nEnd = strCompact.find('\n', nStart + 3900);
                    const std::string strPiece = strCompact.substr(nStart, nEnd - nStart + 1);
                    const std::string strLine = " >>> Section(" + std::to_string(nStart) + " ~ " +
                                                std::to_string(nEnd) + ")\n" + strPiece;
                    nBytes += strLine.size();
                    nStart += strPiece.size();
                }
                return nBytes;
            },
            nSize);
    }
}

// With the look at the file of switches that every call makes.
void AsnSummary(benchmark::State& state) {
    const std::string strRoot = FreshFolder("asn");
    std::filesystem::create_directories(strRoot + "/etc/oss_cfg/e2e/nml_common");
    std::FILE* const pFile =
        std::fopen((strRoot + "/etc/oss_cfg/e2e/nml_common/common.cfg").c_str(), "w");
    std::fputs("AdvanceAsnTrace = 2\nbExplicityTrace = 0\n", pFile);
    std::fclose(pFile);
    zemb::SetRootPath(strRoot);
    const zemb::ScopedDebugSink silence([](const zemb::DebugLine&) {});
    const AsnInt value(5, "TAge");
    for (auto _ : state)
        benchmark::DoNotOptimize(AdvAsnTrace(&value, 0, 0));
    zemb::SetRootPath("");
}
BENCHMARK(AsnSummary)->Name("asn_summary/ours");

[[maybe_unused]] const bool g_bRegistered = [] {
    NestedRow();
    SplitRows();
    AsnRows();
    return true;
}();

}  // namespace
