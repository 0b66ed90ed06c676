#include "command.h"
#include "commands/mission.h"
#include "console/interrupt.h"
#include "view/progress_line.h"

#include "tovelkarin/teoperationlog.h"
#include "tovelkarin/tnnereply.h"
#include "tovelkarin/tnprogress.h"
#include "tovelkarin/tnthreadmgr.h"

#include "zemb/operlog_store.h"
#include "zemb/progress_view.h"
#include "zemb/task_pool.h"

#include <CLI/CLI.hpp>

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <random>

// Runs operations on many NEs by many threads, and keeps a book of its own beside the library: an
// operation enters the book after it was granted and leaves it before it is given back, so two
// conflicting entries prove a fault. In the end everything is asked for once more, and the entries
// of the log are counted.
namespace host {

namespace {

using Clock = std::chrono::steady_clock;
using NSTE_util::TEMutexOperMgr;
using NSTE_util::TEOperObject;
using NSTE_util::TNProgressIF;

constexpr std::size_t LOAD_QUEUE = 256;
constexpr std::uint64_t TASKS_MOST = 1000000000000;
constexpr auto PROGRESS_PAUSE = std::chrono::milliseconds(200);

struct LoadArguments {
    std::uint64_t nTasks = 10000;
    std::size_t nThreads = 2;
    int nNes = 1000;
    double dSeconds = 0;
    unsigned nSeed = 1;
    bool bLog = false;
};

constexpr std::uint64_t OPERATIONS_MOST = 1U << 20;  // each is asked for at the end

std::vector<int> OperationsOf(const MutexFile& table) {
    const std::uint64_t nCount = table.CountOperations();
    if (nCount > OPERATIONS_MOST)
        throw CommandError(WRONG_USAGE,
                           "the table names " + Counted(nCount, "operation") + "; at most " +
                               std::to_string(OPERATIONS_MOST),
                           EName::COMMAND);
    return table.Operations();
}

// Which operations run on which NE, written down beside the library, and what is counted.
class LoadRun {
public:
    LoadRun(const Session& session, const LoadArguments& args)
        : m_args(args), m_table(session.ledger.table), m_vecOper(OperationsOf(m_table)) {
        if (m_vecOper.empty())
            throw CommandError(WRONG_USAGE,
                               "no table of operations; give --root DIR, or mutex load FILE",
                               EName::COMMAND);
        if (!session.ledger.Grants().empty() || TEMutexOperMgr::Instance()->HasRunningOper())
            throw CommandError(ANSWER_NO,
                               "something is held, by grants or tasks: give it back first",
                               EName::COMMAND);
    }

    int Run(const Session& session) {
        const long long nLastRow = LastRow();
        const auto tStart = Clock::now();
        RunTasks();
        m_dSeconds = std::chrono::duration<double>(Clock::now() - tStart).count();
        const std::vector<std::string> vecFault = Check(RowsBehind(nLastRow));
        Put(session, vecFault);
        return vecFault.empty() ? DONE : ANSWER_NO;
    }

private:
    void RunTasks() {
        std::mt19937 random(m_args.nSeed);
        const ProgressLine line;
        const Interruptible interruptible;  // what runs comes to its end, and is summed up
        const auto tEnd = Clock::now() + std::chrono::duration<double>(m_args.dSeconds);
        auto tShown = Clock::now();
        zemb::TaskPool pool(m_args.nThreads, LOAD_QUEUE);
        for (std::uint64_t i = 0; !interruptible.HasCome() &&
                                  (m_args.dSeconds > 0 ? Clock::now() < tEnd : i < m_args.nTasks);
             ++i) {
            const int nOper = m_vecOper[random() % m_vecOper.size()];
            const TEOperObject obj{
                1 + static_cast<int>(random() % static_cast<unsigned>(m_args.nNes)),
                random() % 4 == 0 ? 0 : static_cast<int>(random() % 8), 0};
            pool.Submit(CommandMessage(nOper, static_cast<std::uint32_t>(i)),
                        {static_cast<int>(i % 50)},
                        [this, nOper, obj, tSubmitted = Clock::now()](ZembGnlTask& task) {
                            RunOne(task, nOper, obj, tSubmitted);
                        });
            ++m_nSubmitted;
            if (line.IsShown() && Clock::now() - tShown > PROGRESS_PAUSE) {
                tShown = Clock::now();
                line.Show(std::to_string(m_nGranted) + " granted, " + std::to_string(m_nRefused) +
                          " refused");
            }
        }
        pool.Wait();
    }

    void RunOne(ZembGnlTask& task, int nOper, const TEOperObject& obj,
                Clock::time_point tSubmitted) {
        const NSTN_util::TNThreadGuard busy("load");
        TNProgressIF& progress = *TNProgressIF::Instance();
        {
            const Mission mission(task);
            if (progress.GetMissionID() != task.GetTaskId())
                ++m_nWrongMissions;
            RunRegistered(task, nOper, obj, tSubmitted);
        }
        if (progress.GetMissionID() != 0)
            ++m_nWrongMissions;
    }

    void RunRegistered(ZembGnlTask& task, int nOper, const TEOperObject& obj,
                       Clock::time_point tSubmitted) {
        TNProgressIF& progress = *TNProgressIF::Instance();
        TEMutexOperMgr& mgr = *TEMutexOperMgr::Instance();
        const unsigned long nResult = mgr.AcquireMutexOper(nOper, obj);
        NoteWait(tSubmitted);
        if (nResult == 0) {
            Enter(nOper, obj);
            progress.SendProgress(50, "half");
            Leave(nOper, obj);
            mgr.ReleaseMutexOper(nOper, obj);
            ++m_nGranted;
        } else {
            ++m_nRefused;
            const std::lock_guard<std::mutex> guard(m_lock);
            ++m_mapRefused[nResult];
        }
        if (m_args.bLog) {
            NSTN_util::TNCommonLog log;
            log.SetOperInfo("load");
            log.SetOperObject(ObjectText(obj));
            log.AddOperationLog(task.GetCurReqMsg(), NSTN_util::GetUserID(),
                                static_cast<int>(nResult), static_cast<unsigned long>(obj.nNeId),
                                OPERATION_LEVEL, PROGRAM_CATEGORY);
        }
    }

    // From the command to the answer whether the operation may run.
    void NoteWait(Clock::time_point tSubmitted) {
        const auto nMicroseconds =
            std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - tSubmitted)
                .count();
        std::int64_t nLongest = m_nLongest;
        while (nMicroseconds > nLongest &&
               !m_nLongest.compare_exchange_weak(nLongest, nMicroseconds)) {
        }
    }

    static bool Overlap(const TEOperObject& a, const TEOperObject& b) {
        return a.nNeId == b.nNeId && (a.nObjId == 0 || b.nObjId == 0 || a.nObjId == b.nObjId);
    }

    // An operation leaves before the library lets go of it, so what stands here still runs.
    void Enter(int nOper, const TEOperObject& obj) {
        const std::lock_guard<std::mutex> guard(m_lock);
        for (const auto& [nRunning, other] : m_multimapRunning[obj.nNeId])
            // Where only one keeps the other out, the order in which they were let in counts, and
            // is not known here.
            if (m_table.Blocks(nRunning, nOper) && m_table.Blocks(nOper, nRunning) &&
                Overlap(obj, other))
                ++m_nConflicts;
        m_multimapRunning[obj.nNeId].emplace(nOper, obj);
    }

    void Leave(int nOper, const TEOperObject& obj) {
        const std::lock_guard<std::mutex> guard(m_lock);
        auto& running = m_multimapRunning[obj.nNeId];
        for (auto it = running.lower_bound(nOper); it != running.end() && it->first == nOper; ++it)
            if (it->second.nObjId == obj.nObjId) {
                running.erase(it);
                break;
            }
        if (running.empty())
            m_multimapRunning.erase(obj.nNeId);
    }

    static long long LastRow() {
        zemb::OperLogFilter filter;
        filter.nLast = 1;
        long long nId = 0;
        Read(filter, [&](const zemb::OperLogRow& row) { nId = row.nId; });
        return nId;
    }

    // How many entries this process has written since.
    static std::size_t RowsBehind(long long nId) {
        zemb::OperLogFilter filter;
        filter.nAfterId = nId;
        std::size_t nRows = 0;
        Read(filter,
             [&](const zemb::OperLogRow& row) { nRows += row.nProcess == getpid() ? 1 : 0; });
        return nRows;
    }

    template <class Take>
    static void Read(const zemb::OperLogFilter& filter, Take take) {
        std::string strError;
        const auto TakeAll = [&](const zemb::OperLogRow& row) {
            take(row);
            return true;
        };
        if (!zemb::OperLogFile().empty() && !zemb::ReadOperLog(filter, TakeAll, strError))
            throw CommandError(SYSTEM_FAILED, strError);
    }

    std::vector<std::string> Check(std::size_t nRows) {
        std::vector<std::string> vecFault;
        const auto Demand = [&](bool bGood, const std::string& strFault) {
            if (!bGood)
                vecFault.push_back(strFault);
        };
        Demand(m_nConflicts == 0,
               std::to_string(m_nConflicts) + " times two conflicting operations ran at once");
        m_nRows = nRows;
        Demand(!m_args.bLog || nRows == m_nGranted + m_nRefused,
               std::to_string(nRows) + " log entries of " +
                   std::to_string(m_nGranted + m_nRefused) + " operations");
        TEMutexOperMgr& mgr = *TEMutexOperMgr::Instance();
        Demand(!mgr.HasRunningOper(), "not every operation was given back");
        for (const int nOper : m_vecOper) {
            const TEOperObject everything{};
            const bool bFree = mgr.AcquireMutexOper(nOper, everything) == 0;
            Demand(bFree, "operation " + std::to_string(nOper) + " is refused though nothing runs");
            if (bFree)
                mgr.ReleaseMutexOper(nOper, everything);
        }
        Demand(!mgr.HasRunningOper(), "operations are still running");
        Demand(m_nSubmitted == m_nGranted + m_nRefused,
               std::to_string(m_nSubmitted - m_nGranted - m_nRefused) + " tasks did not end");
        Demand(m_nWrongMissions == 0,
               std::to_string(m_nWrongMissions) + " times a task had a wrong mission");
        Demand(NSTN_util::TNThreadMgr::Instance()->CheckNotExistThread(),
               "threads are still registered");
        Demand(zemb::AllProgress().empty(), "tasks still have missions");
        return vecFault;
    }

    void Put(const Session& session, const std::vector<std::string>& vecFault) const {
        const std::uint64_t nAll = m_nGranted + m_nRefused;
        Json::Value record;
        record["granted"] = static_cast<Json::UInt64>(m_nGranted);
        record["refused"] = static_cast<Json::UInt64>(m_nRefused);
        record["entries"] = static_cast<Json::UInt64>(m_nRows);
        record["longest_wait_us"] = static_cast<Json::Int64>(m_nLongest);
        record["per_second"] = static_cast<double>(nAll) / std::max(m_dSeconds, 1e-9);
        record["seconds"] = m_dSeconds;
        std::string strText =
            std::to_string(nAll) + " operations by " + Counted(m_args.nThreads, "thread") + " on " +
            Counted(static_cast<std::size_t>(m_args.nNes), "NE") + "\n  granted  " +
            std::to_string(m_nGranted) + "\n  refused  " + std::to_string(m_nRefused);
        for (const auto& [nCode, nTimes] : m_mapRefused) {
            record["refused_by"][Hex(nCode)] = static_cast<Json::UInt64>(nTimes);
            strText += "\n    " + Hex(nCode) + "  " + std::to_string(nTimes);
        }
        strText += "\n  log entries  " + std::to_string(m_nRows) + "\n  longest wait  " +
                   DurationText(m_nLongest) + "\n  " +
                   std::to_string(
                       static_cast<long>(static_cast<double>(nAll) / std::max(m_dSeconds, 1e-9))) +
                   " operations a second";
        for (const std::string& strFault : vecFault) {
            record["faults"].append(strFault);
            strText += "\n  FAULT: " + strFault;
        }
        if (vecFault.empty())
            strText += std::string("\n  checked: no conflict, everything given back") +
                       (m_args.bLog ? ", an entry each" : "");
        session.out.Put(strText, record);
    }

    const LoadArguments& m_args;
    const MutexFile& m_table;
    const std::vector<int> m_vecOper;
    std::mutex m_lock;
    std::map<int, std::multimap<int, TEOperObject>> m_multimapRunning;  // by NE
    std::map<unsigned long, std::uint64_t> m_mapRefused;
    std::atomic<std::uint64_t> m_nGranted{0};
    std::atomic<std::uint64_t> m_nRefused{0};
    std::atomic<std::uint64_t> m_nConflicts{0};
    std::atomic<std::uint64_t> m_nWrongMissions{0};
    std::uint64_t m_nSubmitted = 0;
    std::atomic<std::int64_t> m_nLongest{0};
    std::size_t m_nRows = 0;
    double m_dSeconds = 0;
};

}  // namespace

Runner DefineLoad(CLI::App& app) {
    const auto pArgs = std::make_shared<LoadArguments>();
    app.add_option("--tasks", pArgs->nTasks, "how many operations")
        ->check(CLI::Range(std::uint64_t{1}, TASKS_MOST))
        ->capture_default_str();
    app.add_option("--seconds", pArgs->dSeconds, "or for how long")->check(CLI::PositiveNumber);
    app.add_option("--threads", pArgs->nThreads, "worker threads")
        ->check(CLI::Range(1, 1024))
        ->capture_default_str();
    app.add_option("--nes", pArgs->nNes, "on how many NEs")
        ->check(CLI::Range(1, 1000000000))
        ->capture_default_str();
    app.add_option("--seed", pArgs->nSeed, "of the choice of operations and NEs")
        ->capture_default_str();
    app.add_flag("--log", pArgs->bLog, "with an entry of the operation log for each");
    return [pArgs](Session& session) { return LoadRun(session, *pArgs).Run(session); };
}

}  // namespace host
