#pragma once

#include "tests/naive/mutex_model.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <list>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

// Was a manager that many threads used at once still one manager?
//
// A history holds every call with a stamp before and one after it. The search looks for an order of
// the calls in which a call that ended before another began comes first, and in which the naive
// model, asked in that order, gives exactly the recorded answers.
//
// EXPLAINED: such an order was found, each answer of it given by the model. IMPOSSIBLE: there is
// none, all were tried. UNDECIDED: neither within the budget; no proof.
//
// What it proves: this run, on this machine, was as if the calls had been made one after another.
// What it does not: that no other run goes wrong; anything about operations that the history does
// not use (lists without objects and codes of 0, which cannot be told from a grant); the lines.
//
// Why it is quick although the question is exponential in general: the recorded answers say what
// was held after any set of calls, whatever their order, so that a state is known by the calls in
// progress that have been placed; a call that changes nothing is placed as soon as its answer fits;
// and a call can only be in the way of one that it may exclude, on objects that overlap.
namespace naive {

struct HistoryCall {
    enum Kind { ACQUIRE, RELEASE, IS_RUNNING };

    Kind nKind = ACQUIRE;
    int nOper = 0;
    const std::list<TEOperObject>* pListObj = nullptr;  // not looked at for IS_RUNNING
    unsigned long nAnswer = 0;                          // code; 0 of a release; 1: running
    std::uint64_t nBegin = 0;
    std::uint64_t nEnd = 0;

    bool IsChange() const { return nKind == RELEASE || (nKind == ACQUIRE && nAnswer == 0); }
};

// The calls of each thread, in their order; at most 64 threads.
using History = std::vector<std::vector<HistoryCall>>;

enum class Verdict { EXPLAINED, IMPOSSIBLE, UNDECIDED };

class HistorySearch {
public:
    // The model has its table and holds nothing; afterwards it holds what the history left held.
    // nFirstTurn: failures until the search starts again with what it has learnt.
    HistorySearch(MutexModel& model, const History& history, std::size_t nFirstTurn = 1000)
        : m_model(model),
          m_vecCurrent(history.size()),
          m_nFirstTurn(nFirstTurn),
          m_nTurn(nFirstTurn),
          m_nUntilRestart(nFirstTurn) {
        for (std::size_t nThread = 0; nThread < history.size(); ++nThread)
            for (const HistoryCall& call : history[nThread]) {
                m_vecEvent.push_back({call.nBegin, nThread, &call});
                m_vecEvent.push_back({call.nEnd, nThread, nullptr});
            }
        std::sort(m_vecEvent.begin(), m_vecEvent.end(),
                  [](const Event& a, const Event& b) { return a.nStamp < b.nStamp; });
    }

    Verdict Run(std::size_t nBudget) {
        while (m_nAt < m_vecEvent.size()) {
            const Event& event = m_vecEvent[m_nAt];
            if (event.pCall != nullptr) {
                Begin(event);
                continue;
            }
            if (IsPlaced(event.nThread)) {
                End(event);
                continue;
            }
            if (m_setDead.count({m_nAt, m_nPlaced}) == 0)
                m_vecChoice.push_back({m_vecStep.size(), m_nAt, m_nPlaced, {}, 0, false});
            while (m_vecChoice.empty() || !TryNext()) {
                if (m_vecChoice.empty())
                    return Verdict::IMPOSSIBLE;
                if (nBudget-- == 0)
                    return Verdict::UNDECIDED;
                if (--m_nUntilRestart == 0) {
                    Restart();
                    break;
                }
            }
        }
        return Verdict::EXPLAINED;
    }

    // How many calls had another one in progress when they began.
    std::size_t CountOverlapping() const {
        std::size_t nOpen = 0;
        std::size_t nOverlapping = 0;
        for (const Event& event : m_vecEvent) {
            if (event.pCall == nullptr)
                --nOpen;
            else if (nOpen++ != 0)
                ++nOverlapping;
        }
        return nOverlapping;
    }

private:
    struct Event {
        std::uint64_t nStamp;
        std::size_t nThread;
        const HistoryCall* pCall;  // null: the thread's call ends here
    };
    struct Step {
        enum Kind { BEGIN, END, PLACE } nKind;
        std::size_t nThread;
        const HistoryCall* pCall;
    };
    // A call ends here and is not placed: it is placed now, or after others in progress.
    struct Choice {
        std::size_t nSteps;
        std::size_t nAt;
        std::uint64_t nPlaced;
        std::vector<std::size_t> vecThread;
        std::size_t nNext;
        bool bOthers;  // they are in the list
    };
    using Position = std::pair<std::size_t, std::uint64_t>;
    struct PositionHash {
        std::size_t operator()(const Position& position) const {
            return position.first * 0x9E3779B97F4A7C15U ^ position.second * 0xC2B2AE3D27D4EB4FU;
        }
    };

    static std::uint64_t Bit(std::size_t nThread) { return std::uint64_t{1} << nThread; }
    bool IsPlaced(std::size_t nThread) const { return (m_nPlaced & Bit(nThread)) != 0; }

    void Begin(const Event& event) {
        m_vecStep.push_back({Step::BEGIN, event.nThread, event.pCall});
        m_vecCurrent[event.nThread] = event.pCall;
        ++m_nOpen;
        ++m_nAt;
        if (!event.pCall->IsChange())
            Place(event.nThread);
    }

    void End(const Event& event) {
        m_vecStep.push_back({Step::END, event.nThread, m_vecCurrent[event.nThread]});
        m_vecCurrent[event.nThread] = nullptr;
        m_nPlaced &= ~Bit(event.nThread);
        ++m_nAt;
        if (--m_nOpen != 0)
            return;
        // With no call in progress there is one state only, and nothing before it matters.
        m_vecStep.clear();
        m_vecChoice.clear();
        m_setDead.clear();
        m_mapBefore.clear();
        m_nTurn = m_nUntilRestart = m_nFirstTurn;
    }

    // Places the thread's call here, and then what changes nothing and fits now.
    bool Place(std::size_t nThread) {
        const HistoryCall& call = *m_vecCurrent[nThread];
        if (!Answer(call))
            return false;
        m_nPlaced |= Bit(nThread);
        m_vecStep.push_back({Step::PLACE, nThread, &call});
        if (call.IsChange())
            for (std::size_t n = 0; n < m_vecCurrent.size(); ++n)
                if (m_vecCurrent[n] != nullptr && !IsPlaced(n) && !m_vecCurrent[n]->IsChange() &&
                    MayMatter(call, *m_vecCurrent[n]))
                    Place(n);
        return true;
    }

    // True when the model gives the recorded answer; otherwise it is left as it was.
    bool Answer(const HistoryCall& call) {
        if (call.nKind == HistoryCall::IS_RUNNING)
            return m_model.mapRunning.count(call.nOper) == call.nAnswer;
        if (call.nKind == HistoryCall::RELEASE) {
            m_model.Release(call.nOper, *call.pListObj);
            return true;
        }
        const unsigned long nCode = m_model.Acquire(call.nOper, *call.pListObj);
        m_model.vecLine.clear();
        if (nCode == call.nAnswer)
            return true;
        if (nCode == 0)
            m_model.Release(call.nOper, *call.pListObj);
        return false;
    }

    void TakeBack(const HistoryCall& call) {
        if (call.nKind == HistoryCall::RELEASE) {
            std::list<TEOperObject>& listHeld = m_model.mapRunning[call.nOper];
            listHeld.insert(listHeld.end(), call.pListObj->begin(), call.pListObj->end());
        } else if (call.IsChange()) {
            m_model.Release(call.nOper, *call.pListObj);
        }
    }

    void GoBackTo(std::size_t nSteps) {
        for (; m_vecStep.size() > nSteps; m_vecStep.pop_back()) {
            const Step& step = m_vecStep.back();
            if (step.nKind == Step::PLACE) {
                TakeBack(*step.pCall);
                m_nPlaced &= ~Bit(step.nThread);
                continue;
            }
            --m_nAt;
            if (step.nKind == Step::BEGIN) {
                m_vecCurrent[step.nThread] = nullptr;
                --m_nOpen;
            } else {
                m_vecCurrent[step.nThread] = step.pCall;
                m_nPlaced |= Bit(step.nThread);
                ++m_nOpen;
            }
        }
    }

    // The next possibility of the last choice; false when it led nowhere.
    bool TryNext() {
        Choice& choice = m_vecChoice.back();
        GoBackTo(choice.nSteps);
        std::vector<std::size_t>& vecThread = choice.vecThread;
        if (vecThread.empty())
            StartList(vecThread, m_vecEvent[choice.nAt].nThread);
        if (choice.nNext == vecThread.size() && !choice.bOthers) {
            choice.bOthers = true;
            AppendOthers(vecThread, m_vecEvent[choice.nAt].nThread);
        }
        if (choice.nNext < vecThread.size())
            return Place(vecThread[choice.nNext++]);
        if (choice.nAt > m_nFurthest) {
            m_nFurthest = choice.nAt;
            m_nStuck = m_vecEvent[choice.nAt].nThread;
        }
        m_setDead.insert({choice.nAt, choice.nPlaced});
        m_vecChoice.pop_back();
        return false;
    }

    // From the last moment without a call in progress once more. The call at which it ended is
    // tried earlier this time, where it still fitted. What is dead stays dead, and the turns get
    // longer, so that in the end all is tried.
    void Restart() {
        const HistoryCall* const pStuck = m_vecCurrent[m_nStuck];
        bool bSeek = pStuck != nullptr && !IsPlaced(m_nStuck) && pStuck->IsChange();
        while (bSeek && m_vecStep.back().pCall != pStuck) {
            const Step step = m_vecStep.back();
            GoBackTo(m_vecStep.size() - 1);
            if (step.nKind == Step::PLACE && step.pCall->IsChange() &&
                MayMatter(*step.pCall, *pStuck) && Answer(*pStuck)) {
                TakeBack(*pStuck);
                m_mapBefore[step.pCall].insert(pStuck);
                bSeek = false;
            }
        }
        GoBackTo(0);
        m_vecChoice.clear();
        m_nTurn += m_nTurn / 4 + 1;
        m_nUntilRestart = m_nTurn;
        m_nFurthest = 0;
    }

    // The thread, after those whose calls are to be tried before its own.
    void StartList(std::vector<std::size_t>& vecThread, std::size_t nThread) const {
        const auto it = m_mapBefore.find(m_vecCurrent[nThread]);
        if (it != m_mapBefore.end())
            for (std::size_t n = 0; n < m_vecCurrent.size(); ++n)
                if (!IsPlaced(n) && it->second.count(m_vecCurrent[n]) != 0)
                    vecThread.push_back(n);
        vecThread.push_back(nThread);
    }

    // The changes in progress that may matter to the thread's call, directly or through others in
    // progress. Those that may help come first, and of them those that end first: they have most
    // likely taken effect.
    void AppendOthers(std::vector<std::size_t>& vecThread, std::size_t nThread) const {
        std::vector<std::size_t> vecReached = {nThread};
        std::uint64_t nSeen = Bit(nThread);
        for (std::size_t n = 0; n < vecReached.size(); ++n)
            for (std::size_t nOther = 0; nOther < m_vecCurrent.size(); ++nOther)
                if (m_vecCurrent[nOther] != nullptr && !IsPlaced(nOther) &&
                    (nSeen & Bit(nOther)) == 0 &&
                    MayMatter(*m_vecCurrent[nOther], *m_vecCurrent[vecReached[n]])) {
                    nSeen |= Bit(nOther);
                    vecReached.push_back(nOther);
                }
        const HistoryCall& call = *m_vecCurrent[nThread];
        const auto Rank = [&](std::size_t n) {
            return std::make_pair(!MayHelp(*m_vecCurrent[n], call), m_vecCurrent[n]->nEnd);
        };
        std::sort(vecReached.begin(), vecReached.end(),
                  [&](std::size_t a, std::size_t b) { return Rank(a) < Rank(b); });
        for (const std::size_t n : vecReached)
            if (n != nThread && m_vecCurrent[n]->IsChange())
                vecThread.push_back(n);
    }

    // Whether the change can by itself make the other call's answer right.
    bool MayHelp(const HistoryCall& change, const HistoryCall& call) const {
        if (!MayMatter(change, call))
            return false;
        if (call.nAnswer == 0)  // granted, or not running
            return change.nKind == HistoryCall::RELEASE;
        if (call.nKind == HistoryCall::IS_RUNNING)
            return change.nKind == HistoryCall::ACQUIRE;
        const auto it = m_model.mapCode.find(change.nOper);
        return change.nKind == HistoryCall::RELEASE || it == m_model.mapCode.end() ||
               it->second == call.nAnswer;
    }

    // False when the two can change places in any order without another answer.
    bool MayMatter(const HistoryCall& a, const HistoryCall& b) const {
        if (!a.IsChange() && !b.IsChange())
            return false;
        if (a.nKind == HistoryCall::RELEASE && b.nKind == HistoryCall::RELEASE)
            return false;
        if (a.nKind == HistoryCall::IS_RUNNING || b.nKind == HistoryCall::IS_RUNNING)
            return a.nOper == b.nOper;
        const auto Names = [this](int nAsked, int nRunning) {
            const auto it = m_model.mapTable.find(nAsked);
            return m_model.setExclusive.count(nAsked) != 0 ||
                   (it != m_model.mapTable.end() && it->second.count(nRunning) != 0);
        };
        return (Names(a.nOper, b.nOper) || Names(b.nOper, a.nOper)) &&
               MutexModel::Overlap(*a.pListObj, *b.pListObj);
    }

    MutexModel& m_model;
    std::vector<Event> m_vecEvent;
    std::vector<const HistoryCall*> m_vecCurrent;  // in progress, by thread
    std::uint64_t m_nPlaced = 0;                   // of those: whose place is found, a bit a thread
    std::size_t m_nOpen = 0;
    std::size_t m_nAt = 0;
    std::vector<Step> m_vecStep;
    std::vector<Choice> m_vecChoice;
    std::unordered_set<Position, PositionHash> m_setDead;
    // Learnt from what failed: calls to try before a call. It changes the order of the search only.
    std::unordered_map<const HistoryCall*, std::unordered_set<const HistoryCall*>> m_mapBefore;
    const std::size_t m_nFirstTurn;
    std::size_t m_nTurn;  // failures until it starts again
    std::size_t m_nUntilRestart;
    std::size_t m_nFurthest = 0;
    std::size_t m_nStuck = 0;  // whose call did not fit there
};

}  // namespace naive
