#pragma once

#include "tests/naive/mutex_history.h"
#include "tests/support.h"

#include <atomic>
#include <random>
#include <string>
#include <thread>

namespace support {

// A round of random calls: a table of conflicts, lists of objects that often overlap, and for each
// thread a script that gives back all that it was granted.
class RandomCalls {
public:
    RandomCalls(unsigned nSeed, std::size_t nThreads, std::size_t nCallsPerThread)
        : m_nSeed(nSeed), m_nThreads(nThreads), m_nCallsPerThread(nCallsPerThread) {
        std::mt19937 random(nSeed);
        const auto Below = [&random](unsigned n) { return static_cast<int>(random() % n); };
        m_strTable = "[MUTEX_TABLE]\n";
        for (int n = 2 + Below(7); n > 0; --n)
            AddTableLine(1 + Below(OPERS), 1 + Below(OPERS), Below(2));
        if (Below(3) == 0)
            AddTableLine(0, 1 + Below(OPERS), 0);
        m_strTable += "[MUTEX_ERRORCODE]\n";
        for (int nOper = 1; nOper < static_cast<int>(OPERS); ++nOper)  // the last has none
            m_strTable += std::to_string(nOper) + ":" + std::to_string(1000 + nOper) + "\n";

        static constexpr unsigned NES[] = {1, 1, 2, 8};
        const unsigned nNes = NES[random() % std::size(NES)];
        m_vecAsked.resize(LISTS);
        for (Asked& asked : m_vecAsked) {
            for (int n = 1 + Below(3); n > 0; --n)
                asked.listObj.push_back({1 + Below(nNes), Below(3), Below(3)});
            if (Below(40) == 0)
                asked.listObj.back().nNeId = 0;
            if (Below(40) == 0)
                asked.listObj = {{}};
            for (const TEOperObject& obj : asked.listObj)
                asked.listSingle.push_back({obj});
        }
    }

    const std::string& Table() const { return m_strTable; }

    // Lives no longer than this object, which owns the lists that it points to.
    naive::History Run(NSTE_util::TEMutexOperMgr& mgr) {
        naive::History history(m_nThreads);
        RunTogether(m_nThreads, [&](std::size_t n) {
            history[n].reserve(m_nCallsPerThread + 16);
            Script(mgr, history[n], m_nSeed * 64 + static_cast<unsigned>(n));
        });
        return history;
    }

private:
    using TEOperObject = NSTE_util::TEOperObject;
    using HistoryCall = naive::HistoryCall;

    static constexpr unsigned OPERS = 6;
    static constexpr std::size_t LISTS = 24;

    struct Asked {
        std::list<TEOperObject> listObj;
        std::list<std::list<TEOperObject>> listSingle;
    };
    struct Held {
        int nOper;
        const Asked* pAsked;
    };

    void AddTableLine(int nOper1, int nOper2, int nBoth) {
        m_strTable += std::to_string(nOper1) + ":" + std::to_string(nOper2) + ":" +
                      std::to_string(nBoth) + "\n";
    }

    void Script(NSTE_util::TEMutexOperMgr& mgr, std::vector<HistoryCall>& vecCall, unsigned nSeed) {
        std::mt19937 random(nSeed);
        std::vector<Held> vecHeld;
        while (vecCall.size() < m_nCallsPerThread) {
            const unsigned nChoice = random() % 16;
            if (random() % 256 == 0)
                std::this_thread::yield();
            const int nOper = 1 + static_cast<int>(random() % OPERS);
            const Asked& asked = m_vecAsked[random() % LISTS];
            if (!vecHeld.empty() && nChoice < 4 + 4 * vecHeld.size()) {
                std::swap(vecHeld[random() % vecHeld.size()], vecHeld.back());
                GiveBack(mgr, vecCall, vecHeld.back(), nChoice % 2 == 0);
                vecHeld.pop_back();
            } else if (nChoice == 15) {
                Record(vecCall, HistoryCall::IS_RUNNING, nOper, nullptr,
                       [&] { return static_cast<unsigned long>(mgr.IsOperRunning(nOper)); });
            } else if (Record(vecCall, HistoryCall::ACQUIRE, nOper, &asked.listObj,
                              [&] { return mgr.AcquireMutexOper(nOper, asked.listObj); }) == 0) {
                vecHeld.push_back({nOper, &asked});
            }
        }
        for (const Held& held : vecHeld)
            GiveBack(mgr, vecCall, held, false);
    }

    void GiveBack(NSTE_util::TEMutexOperMgr& mgr, std::vector<HistoryCall>& vecCall,
                  const Held& held, bool bOneByOne) {
        const auto Release = [&](const std::list<TEOperObject>& listObj) {
            Record(vecCall, HistoryCall::RELEASE, held.nOper, &listObj, [&] {
                mgr.ReleaseMutexOper(held.nOper, listObj);
                return 0UL;
            });
        };
        if (!bOneByOne)
            return Release(held.pAsked->listObj);
        for (const std::list<TEOperObject>& listObj : held.pAsked->listSingle)
            Release(listObj);
    }

    template <class Call>
    unsigned long Record(std::vector<HistoryCall>& vecCall, HistoryCall::Kind nKind, int nOper,
                         const std::list<TEOperObject>* pListObj, const Call& fnCall) {
        HistoryCall call{nKind, nOper, pListObj, 0, Stamp(), 0};
        call.nAnswer = fnCall();
        call.nEnd = Stamp();
        vecCall.push_back(call);
        return call.nAnswer;
    }

    // Relaxed: calls that a lock orders get their stamps in that order all the same, and a stronger
    // order would hide data races of the manager from the thread checker.
    std::uint64_t Stamp() { return m_nStamp.fetch_add(1, std::memory_order_relaxed); }

    const unsigned m_nSeed;
    const std::size_t m_nThreads;
    const std::size_t m_nCallsPerThread;
    std::string m_strTable;
    std::vector<Asked> m_vecAsked;
    std::atomic<std::uint64_t> m_nStamp{0};
};

}  // namespace support
