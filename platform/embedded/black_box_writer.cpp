#include "embedded/black_box_writer.h"

#include "base/immortal.h"
#include "embedded/black_box_file.h"
#include "embedded/black_box_state.h"
#include "embedded/coarse_clock.h"
#include "embedded/live_facts.h"
#include "embedded/random_number.h"
#include "zemb/task.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <vector>

// The writer of the black box. The file is mapped once and written with plain stores: a grant and
// its return cost no call of the system and no lock of their own. What is held, events of
// operations, threads and tasks are each written under the lock that the library, or the progress
// manager, holds anyway, so each part has one writer at a time; but for the events of trails and
// tasks, which have a lock of their own, held for some stores.
//
// A box ends while threads may still write: its memory is then exchanged for memory without a file,
// at the same address, and whatever comes late goes nowhere. A child process does the same with the
// box of its parent before fork() returns there, and begins its own at its first report.
namespace zemb {

BoxWriter::~BoxWriter() = default;

namespace {

using box::EPart;

constexpr int SPINS = 200;

class BlackBoxWriter final : public BoxWriter {
public:
    void CallBegins(LiveRequest request, const LiveObject* pFirst,
                    std::size_t nFirst) noexcept override {
        ThreadState& state = Self();
        if (state.pRecord == nullptr && m_nPlacesFree.load(std::memory_order_relaxed) != 0)
            FindPlace(state);  // another thread has left its place since
        state.request = request;
        state.nCallGeneration = state.nGeneration;
        state.nNow = NowCoarseMicroseconds();
        LookAtTask(state);
        box::Thread* const pRecord = state.pRecord;
        if (pRecord == nullptr)
            return;
        pRecord->nCallSince = state.nNow;
        pRecord->nKind = static_cast<std::uint8_t>(request.eCall);
        pRecord->nMaker = static_cast<std::uint8_t>(request.eMaker);
        pRecord->nOper = request.nOper;
        pRecord->nObjects = request.nObjects;
        for (std::size_t i = 0; i < nFirst; ++i)
            pRecord->arrFirst[i] = Stored(pFirst[i]);
        pRecord->nCall.store(pRecord->nCall.load(std::memory_order_relaxed) + 1,
                             std::memory_order_release);
        box::FenceOfWriter();  // before whatever the call does
    }

    void CallEnds() noexcept override {
        if (box::Thread* const pRecord = Self().pRecord)
            pRecord->nCall.store((pRecord->nCall.load(std::memory_order_relaxed) + 1) & ~1ULL,
                                 std::memory_order_release);
    }

    void Granted(const LiveObject& obj, std::size_t nPlace) noexcept override {
        ThreadState& state = Self();
        if (state.nCallGeneration != state.nGeneration)
            return;  // the call began in another box
        if (nPlace <= 1)
            Count(state, ELiveCounter::GRANTS);
        HeldPool& pool = PoolOf(state.request.eMaker);
        pool.ResetFor(m_nGeneration.load(std::memory_order_relaxed));
        const int nOper = state.request.nOper;
        const std::uint32_t nRecord = pool.index.Add(HashOf(nOper, obj));
        if (nRecord == 0)
            NotShown(pool.ePart).fetch_add(1, std::memory_order_relaxed);
        else
            box::Put(pool.pFirst[nRecord - 1], [&](box::Held& held) {
                held.nSince = state.nNow;
                held.object = Stored(obj);
                held.nCall = CallOf(state);
                held.nThread = state.nThread;
                held.nSlot = state.nSlot;
                held.nTask = state.nTask;
                held.nMission = state.nMission;
                held.nUser = state.nUser;
                held.nOper = nOper;
                held.bUsed = 1;
                held.bNoObject = nPlace == 0 ? 1 : 0;
                held.nMaker = static_cast<std::uint8_t>(state.request.eMaker);
                CopyLabel(state, held.szLabel);
            });
        AddRequestEvent(state, box::GRANTED, obj, nPlace, state.request.nOper);
    }

    void Refused(const LiveObject& obj, std::size_t nPlace, int nBlocker,
                 unsigned long nCode) noexcept override {
        ThreadState& state = Self();
        if (state.nCallGeneration != state.nGeneration)
            return;  // the call began in another box
        if (nPlace <= 1)
            Count(state, ELiveCounter::REFUSALS);
        AddRequestEvent(state, box::REFUSED, obj, nPlace, state.request.nOper, nBlocker, nCode);
    }

    void GivenBack(int nOper, const LiveObject& obj, std::size_t nPlace) noexcept override {
        ThreadState& state = Self();
        if (state.nCallGeneration != state.nGeneration)
            return;  // the call began in another box
        if (nPlace <= 1)
            Count(state, ELiveCounter::RELEASES);
        HeldPool& pool = PoolOf(state.request.eMaker);
        pool.ResetFor(m_nGeneration.load(std::memory_order_relaxed));
        const std::uint32_t nRecord =
            pool.index.Remove(HashOf(nOper, obj), [&](std::uint32_t nOne) {
                const box::Held& held = pool.pFirst[nOne - 1];
                return held.nOper == nOper && held.object.nNe == obj.nNeId &&
                       held.object.nObj == obj.nObjId && held.object.nSub == obj.lSubObjId &&
                       (held.bNoObject != 0) == (nPlace == 0);
            });
        if (nRecord != 0)
            box::Put(pool.pFirst[nRecord - 1], [](box::Held& held) { held.bUsed = 0; });
        else if (NotShown(pool.ePart).load(std::memory_order_relaxed) != 0)
            NotShown(pool.ePart).fetch_sub(1, std::memory_order_relaxed);
        AddRequestEvent(state, box::GIVEN_BACK, obj, nPlace, nOper);
    }

    void AllGivenBack() noexcept override {
        m_held.ResetFor(m_nGeneration.load(std::memory_order_relaxed));
        for (std::uint32_t i = 0; i < m_held.nRecords; ++i)
            if (m_held.pFirst[i].bUsed != 0)
                box::Put(m_held.pFirst[i], [](box::Held& held) { held.bUsed = 0; });
        m_held.index.Reset(m_held.nRecords);
        NotShown(box::HELD) = 0;
    }

    void ThreadWorks(std::string_view strLabel, int nNesting,
                     std::int64_t nSinceSeconds) noexcept override {
        ThreadState& state = Self();
        box::Thread* const pRecord = state.pRecord;
        if (nNesting == 1 && (pRecord == nullptr || pRecord->nNesting == 0))
            Count(state, ELiveCounter::THREADS);
        if (pRecord == nullptr)
            return;
        box::Put(*pRecord, [&](box::Thread& thread) {
            thread.nNesting = nNesting;
            thread.nSince = nSinceSeconds * 1000000;
            CopyText(thread.szLabel, strLabel);
        });
    }

    void AllThreadsLeft() noexcept override {
        box::Thread* const pFirst = Records<box::Thread>(box::THREADS);
        for (std::uint32_t i = 1; i < m_layout.Records(box::THREADS); ++i)
            if (pFirst[i].nNesting != 0)
                box::Put(pFirst[i], [](box::Thread& thread) { thread.nNesting = 0; });
    }

    void TaskSection(const ZembGnlTask* pTask, int nBase, int nRange, int nSteps,
                     int nStep) noexcept override {
        NoteTaskSection(pTask, nBase, nRange, nSteps, nStep);
    }

    void Counts(ELiveCounter eCounter) noexcept override { Count(Self(), eCounter); }

    void PutTask(const LiveTask& task, TaskPlace& place) noexcept override {
        const std::uint32_t nGeneration = m_nGeneration.load(std::memory_order_relaxed);
        if (m_tasks.nGeneration != nGeneration)
            m_tasks.Reset(nGeneration);
        const bool bNew = place.nGeneration != nGeneration;
        if (bNew) {
            place = {nGeneration, m_tasks.Take(m_layout.Records(box::TASKS))};
            if (place.nRecord == 0)
                NotShown(box::TASKS).fetch_add(1, std::memory_order_relaxed);
        }
        if (place.nRecord == 0)
            return;
        ThreadState& state = Self();
        box::Put(Records<box::Task>(box::TASKS)[place.nRecord - 1], [&](box::Task& record) {
            if (bNew)
                record.nSince = NowCoarseMicroseconds();
            record.nMissions = task.nMissions;
            record.nTask = task.nTask;
            record.nMission = task.nMission;
            record.nUser = task.nUser;
            record.nPercent = task.nPercent;
            record.fScale = task.fScale;
            record.nBase = task.nBase;
            record.nRange = task.nRange;
            record.nSteps = task.nSteps;
            record.nStep = task.nStep;
            record.bAbort = task.bAbort ? 1 : 0;
            record.nThread = state.nThread;
            CopyText(record.szText, *task.pText);
        });
        if (bNew)
            AddTaskEvent(state, box::TASK_BEGAN, task.nTask);
    }

    bool PutStep(const LiveStep& step, const TaskPlace& place) noexcept override {
        if (place.nRecord == 0 ||
            place.nGeneration != m_nGeneration.load(std::memory_order_relaxed))
            return false;
        const std::uint32_t nThread = Self().nThread;
        box::Put(Records<box::Task>(box::TASKS)[place.nRecord - 1], [&](box::Task& record) {
            record.nPercent = step.nPercent;
            record.nBase = step.nBase;
            record.nRange = step.nRange;
            record.nSteps = step.nSteps;
            record.nStep = step.nStep;
            record.nThread = nThread;
            CopyText(record.szText, *step.pText);
        });
        return true;
    }

    void DropTask(TaskPlace& place) noexcept override {
        if (place.nGeneration != m_nGeneration.load(std::memory_order_relaxed))
            return;
        if (place.nRecord != 0) {
            box::Task& record = Records<box::Task>(box::TASKS)[place.nRecord - 1];
            AddTaskEvent(Self(), box::TASK_ENDED, record.nTask);
            box::Put(record, [](box::Task& task) { task.nTask = 0; });
            m_tasks.Give(place.nRecord);
        } else {
            NotShown(box::TASKS).fetch_sub(1, std::memory_order_relaxed);
        }
        place = {};
    }

    void PutError(std::uint64_t nCode, std::uint32_t nTask, int nUser, const std::string& strFirst,
                  const std::string& strSecond) noexcept override {
        Count(Self(), ELiveCounter::OPERATION_ERRORS);
        const std::uint64_t nOrder = ++m_nErrors;
        box::Error* const pFirst = Records<box::Error>(box::ERRORS);
        box::Put(pFirst[(nOrder - 1) % m_layout.Records(box::ERRORS)], [&](box::Error& error) {
            error.nTime = NowCoarseMicroseconds();
            error.nCode = nCode;
            error.nTask = nTask;
            error.nUser = nUser;
            error.nOrder = nOrder;
            CopyTexts(error.szText, strFirst, strSecond);
        });
    }

    void Begin(const std::string& strProgram, std::uint32_t nParent) override {
        m_file.Make(m_layout, strProgram, nParent);
        if (m_pMemory == nullptr) {  // for good: a later box gets the same place
            m_pMemory = m_file.Memory();
            m_pEvents = Records<box::Event>(box::EVENTS);
            m_nEvents = m_layout.Records(box::EVENTS);
            m_held.pFirst = Records<box::Held>(box::HELD);
            m_held.nRecords = m_layout.Records(box::HELD);
            m_trails.pFirst = Records<box::Held>(box::TRAILS);
            m_trails.nRecords = m_layout.Records(box::TRAILS);
        }
        {
            const std::lock_guard<std::mutex> guard(m_lockSlots);
            m_vecFreeSlot.clear();
            m_nPlacesFree = 0;
            m_nSlotsUsed = 1;  // the first is shared by those without a place
            m_nGeneration.fetch_add(1, std::memory_order_release);
        }
        PutFacts();
        m_file.Complete();
    }

    void End() noexcept override { m_file.TakeAway(); }

    void PutFacts() override {
        std::uint32_t i = 0;
        std::uint64_t nNotShown = 0;
        const std::uint32_t nRecords = m_layout.Records(box::FACTS);
        ForEachLiveFact([&](const std::string& strFact) {
            if (i == nRecords)
                return static_cast<void>(++nNotShown);
            box::Fact& fact = Records<box::Fact>(box::FACTS)[i++];
            const std::size_t nLength = std::min(strFact.size(), sizeof fact.szText - 1);
            if (std::memcmp(fact.szText, strFact.data(), nLength) != 0 ||
                fact.szText[nLength] != '\0')
                box::Put(fact, [&](box::Fact& record) {
                    std::memcpy(record.szText, strFact.data(), nLength);
                    std::memset(record.szText + nLength, 0, sizeof record.szText - nLength);
                });
        });
        NotShown(box::FACTS) = nNotShown;
    }

    bool ChildBegan() noexcept override {
        new (&m_lockSlots) std::mutex;  // another thread of the parent may have held it
        m_nRingLock = 0;
        m_nGeneration.fetch_add(1, std::memory_order_release);
        return m_file.Leave();
    }

    // The calling thread ends. One that is still registered stays to be seen.
    void ThreadEnds() noexcept {
        ThreadState& state = t_state;
        const std::lock_guard<std::mutex> guard(m_lockSlots);  // no box begins meanwhile
        if (state.nGeneration != m_nGeneration.load(std::memory_order_relaxed))
            return;
        box::Thread* const pRecord = state.pRecord;
        const std::uint32_t nSlot = state.nSlot;
        state = {};
        if (pRecord == nullptr)
            return static_cast<void>(NotShown(box::THREADS).fetch_sub(1));
        if (pRecord->nNesting != 0)
            return;
        box::Put(*pRecord, [](box::Thread& thread) { thread.nThread = 0; });
        try {
            m_vecFreeSlot.push_back(nSlot);
            m_nPlacesFree.store(m_vecFreeSlot.size(), std::memory_order_relaxed);
        } catch (const std::bad_alloc&) {
            // The place is not used again.
        }
    }

private:
    // A fast path of a few instructions; the first report of a thread finds it a place.
    ThreadState& Self() noexcept {
        ThreadState& state = t_state;
        if (state.nGeneration != m_nGeneration.load(std::memory_order_acquire))
            FindPlace(state);
        return state;
    }

    void FindPlace(ThreadState& state) noexcept;

    HeldPool& PoolOf(ELiveMaker eMaker) {
        return eMaker == ELiveMaker::TRAIL_GUARD ? m_trails : m_held;
    }

    void Count(const ThreadState& state, ELiveCounter eCounter) noexcept {
        const bool bShared = state.pRecord == nullptr;
        box::Thread& record = bShared ? *Records<box::Thread>(box::THREADS) : *state.pRecord;
        AddTo(record.arrCounter[static_cast<std::size_t>(eCounter)], bShared);
    }

    // Of an operation. One thread at a time.
    void AddEvent(const ThreadState& state, box::EEvent eKind, const LiveObject& obj,
                  std::size_t nPlace, int nOper, int nBlocker, unsigned long nCode) noexcept {
        std::atomic<std::uint64_t>& nNext = TalliesOf().nNextEvent;
        const std::uint64_t nNumber = nNext.load(std::memory_order_relaxed);
        // The next place, without a division.
        m_nEventPlace = nNumber == 0 || m_nEventPlace + 1 == m_nEvents ? 0 : m_nEventPlace + 1;
        PutEvent(m_pEvents[m_nEventPlace], nNumber, state, eKind, obj, nPlace, nOper, nBlocker,
                 nCode);
        nNext.store(nNumber + 1, std::memory_order_release);
    }

    // Of a trail or a task. Never waits for long: an event for which there is no time is counted as
    // lost, and uses up a number, so that readers see that it is missing.
    void AddOtherEvent(const ThreadState& state, box::EEvent eKind, const LiveObject& obj,
                       std::size_t nPlace, int nBlocker, unsigned long nCode) noexcept {
        int nSpins = 0;
        while (m_nRingLock.exchange(1, std::memory_order_acquire) != 0)
            if (++nSpins == SPINS) {
                m_nSkipped.fetch_add(1, std::memory_order_relaxed);
                return Count(state, ELiveCounter::EVENTS_LOST);
            }
        box::Tallies& tallies = TalliesOf();
        const std::uint64_t nNumber = tallies.nNextOther.load(std::memory_order_relaxed) +
                                      m_nSkipped.exchange(0, std::memory_order_relaxed);
        const auto nAfter = static_cast<std::uint32_t>(tallies.nNextEvent.load());
        PutEvent(
            Records<box::Event>(box::OTHER_EVENTS)[nNumber % m_layout.Records(box::OTHER_EVENTS)],
            nNumber, state, eKind, obj, nPlace, static_cast<std::int32_t>(nAfter), nBlocker, nCode);
        tallies.nNextOther.store(nNumber + 1, std::memory_order_release);
        m_nRingLock.store(0, std::memory_order_release);
    }

    static void PutEvent(box::Event& event, std::uint64_t nNumber, const ThreadState& state,
                         box::EEvent eKind, const LiveObject& obj, std::size_t nPlace, int nOper,
                         int nBlocker, unsigned long nCode) noexcept {
        event.nSequence.store(2 * nNumber + 1, std::memory_order_relaxed);
        box::FenceOfWriter();
        event.nTime = state.nNow;
        event.nCall = CallOf(state);
        event.nCode = nCode;
        event.object = Stored(obj);
        event.nThread = state.nThread;
        event.nOper = nOper;
        event.nBlocker = nBlocker;
        event.nPlace = static_cast<std::uint32_t>(nPlace);
        event.nOf = static_cast<std::uint32_t>(state.request.nObjects);
        event.nTask = state.nTask;
        event.nSlot = state.nSlot;
        event.nKind = eKind;
        event.nMaker = static_cast<std::uint8_t>(state.request.eMaker);
        event.nSequence.store(2 * nNumber + 2, std::memory_order_release);
    }

    // Of what a request asked for.
    void AddRequestEvent(const ThreadState& state, box::EEvent eKind, const LiveObject& obj,
                         std::size_t nPlace, int nOper, int nBlocker = 0,
                         unsigned long nCode = 0) noexcept {
        if (state.request.eMaker == ELiveMaker::TRAIL_GUARD)
            AddOtherEvent(state, eKind, obj, nPlace, nBlocker, nCode);
        else
            AddEvent(state, eKind, obj, nPlace, nOper, nBlocker, nCode);
    }

    void AddTaskEvent(ThreadState& state, box::EEvent eKind, std::uint32_t nTask) noexcept {
        const ThreadState before = state;
        state.nNow = NowCoarseMicroseconds();
        state.nTask = nTask;
        state.request = {ELiveCall::ACQUIRE, ELiveMaker::CALL, 0, 0};
        AddOtherEvent(state, eKind, {0, 0, 0}, 0, 0, 0);
        state = before;
    }

    // The identifiers come from outside, so the hash has secret factors.
    std::uint64_t HashOf(int nOper, const LiveObject& obj) const noexcept {
        const std::uint64_t n = static_cast<std::uint32_t>(nOper) * m_nOperFactor +
                                static_cast<std::uint32_t>(obj.nNeId) * m_nNeFactor +
                                static_cast<std::uint32_t>(obj.nObjId) * m_nObjFactor +
                                static_cast<std::uint64_t>(obj.lSubObjId) * m_nSubFactor;
        return n >> 32 ^ n;
    }

    template <class Record>
    Record* Records(EPart ePart) noexcept {
        return reinterpret_cast<Record*>(m_pMemory + m_layout.Offset(ePart));
    }
    box::Tallies& TalliesOf() noexcept {
        return *reinterpret_cast<box::Tallies*>(m_pMemory + box::TALLIES_AT);
    }
    std::atomic<std::uint64_t>& NotShown(EPart ePart) noexcept {
        return TalliesOf().arrNotShown[ePart];
    }

    BoxLayout m_layout{BoxLayout::OfSettings()};
    BoxFile m_file;
    char* m_pMemory = nullptr;
    std::atomic<std::uint32_t> m_nGeneration{0};
    std::atomic<std::uint64_t> m_nSkipped{0};  // other events that were lost since the last one
    std::atomic<int> m_nRingLock{0};           // of the other events
    box::Event* m_pEvents = nullptr;
    std::uint32_t m_nEvents = 0;
    std::uint32_t m_nEventPlace = 0;  // of the last one
    HeldPool m_held{box::HELD};
    HeldPool m_trails{box::TRAILS};
    TaskRecords m_tasks;
    std::uint64_t m_nErrors = 0;

    const std::uint64_t m_nOperFactor = RandomNumber() | 1U;
    const std::uint64_t m_nNeFactor = RandomNumber() | 1U;
    const std::uint64_t m_nObjFactor = RandomNumber() | 1U;
    const std::uint64_t m_nSubFactor = RandomNumber() | 1U;

    std::mutex m_lockSlots;
    std::vector<std::uint32_t> m_vecFreeSlot;
    std::atomic<std::size_t> m_nPlacesFree{0};  // as many as m_vecFreeSlot has
    std::uint32_t m_nSlotsUsed = 1;
};

BlackBoxWriter& TheWriter() {
    static base::Immortal<BlackBoxWriter> writer;
    return *writer;
}

void AtThreadEnd(void* /*unused*/) {
    TheWriter().ThreadEnds();
}

// Has AtThreadEnd called when the calling thread ends; not for the thread that ends the process.
void WatchThreadEnd() noexcept {
    static pthread_key_t s_key;
    static const bool s_bMade = pthread_key_create(&s_key, AtThreadEnd) == 0;
    if (s_bMade)  // else its place is not used again
        pthread_setspecific(s_key, &t_state);
}

void BlackBoxWriter::FindPlace(ThreadState& state) noexcept {
    {
        const std::lock_guard<std::mutex> guard(m_lockSlots);
        const std::uint32_t nGeneration = m_nGeneration.load(std::memory_order_relaxed);
        const bool bCounted = state.nGeneration == nGeneration;  // among those without a place
        state = {};
        state.nThread = static_cast<std::uint32_t>(syscall(SYS_gettid));
        state.nSlot = NO_SLOT;
        state.nGeneration = nGeneration;
        if (!m_vecFreeSlot.empty()) {
            state.nSlot = m_vecFreeSlot.back();
            m_vecFreeSlot.pop_back();
            m_nPlacesFree.store(m_vecFreeSlot.size(), std::memory_order_relaxed);
        } else if (m_nSlotsUsed < m_layout.Records(box::THREADS)) {
            state.nSlot = m_nSlotsUsed++;
        }
        if (state.nSlot != NO_SLOT && bCounted)
            NotShown(box::THREADS).fetch_sub(1, std::memory_order_relaxed);
        else if (state.nSlot == NO_SLOT && !bCounted)
            NotShown(box::THREADS).fetch_add(1, std::memory_order_relaxed);
    }
    WatchThreadEnd();
    if (state.nSlot == NO_SLOT)
        return;
    state.pRecord = Records<box::Thread>(box::THREADS) + state.nSlot;
    box::Put(*state.pRecord, [&](box::Thread& thread) {
        thread.nThread = state.nThread;
        thread.nNesting = 0;
        thread.szLabel[0] = '\0';
        thread.nPthread = pthread_self();
    });
}

}  // namespace

BoxWriter& TheBoxWriter() {
    return TheWriter();
}

}  // namespace zemb
