#pragma once

#include "zemb/export.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

class ZembGnlTask;

// What the library tells of its work while it works, so that a process can be watched from outside.
// A platform that does not care defines g_pLiveWatcher as null and LiveFact() as empty; the library
// then pays one load and one comparison for each report.
namespace zemb {

// What an operation works on; 0 at a level: all there. A trail is {trail, 0, 0}.
struct LiveObject {
    int nNeId;
    int nObjId;
    long lSubObjId;
};

// What made a request.
enum class ELiveMaker : std::uint8_t { CALL, OBJECT_GUARD, NE_GUARD, LOCK, TRAIL_GUARD };

// What a call does.
enum class ELiveCall : std::uint8_t { ACQUIRE = 1, RELEASE = 2 };

// What is counted: the names are those of LiveCounterName().
enum class ELiveCounter : std::uint8_t {
    GRANTS,
    REFUSALS,
    RELEASES,
    THREADS,
    PROGRESS_STEPS,
    TIMEOUT_QUERIES,
    RELOADS,
    LANGUAGE_LOADS,
    LINES_WRITTEN,
    LINES_LOST,
    ENTRIES_WRITTEN,
    ENTRIES_KEPT,
    ENTRIES_LOST,
    OPERATION_ERRORS,
    EVENTS_LOST,
    COUNT
};

// A request, or a return, of several objects under one call.
struct LiveRequest {
    ELiveCall eCall;
    ELiveMaker eMaker;
    int nOper;
    std::size_t nObjects;
};

// Is told at once, on the thread that does it. Nothing here throws or calls back. A call costs some
// nanoseconds and waits for moments at most; the first one of a thread, and of a child process,
// costs more.
class ZEMB_API LiveWatcher {
public:
    // The calling thread begins a request with these first objects (nFirst of them, four at most),
    // and ends it. What is told between belongs to it. Requests of one thread do not nest.
    virtual void CallBegins(LiveRequest request, const LiveObject* pFirst,
                            std::size_t nFirst) noexcept = 0;
    virtual void CallEnds() noexcept = 0;

    // An object was granted, the nPlace-th of the request, counted from 1; or refused since the
    // operation nBlocker, whose code is nCode, is in the way; or given back. A request without
    // objects is told once, with place 0. One thread at a time tells of operations, and one of
    // trails.
    virtual void Granted(const LiveObject& obj, std::size_t nPlace) noexcept = 0;
    virtual void Refused(const LiveObject& obj, std::size_t nPlace, int nBlocker,
                         unsigned long nCode) noexcept = 0;
    virtual void GivenBack(int nOper, const LiveObject& obj, std::size_t nPlace) noexcept = 0;
    // Nothing is held any more: the manager has gone.
    virtual void AllGivenBack() noexcept = 0;

    // The calling thread works under a label since a second, so often nested; 0: it has left.
    virtual void ThreadWorks(std::string_view strLabel, int nNesting,
                             std::int64_t nSinceSeconds) noexcept = 0;
    // No thread is registered any more: the registry has gone.
    virtual void AllThreadsLeft() noexcept = 0;

    // A task is in a section of so many steps, which spans nRange percent from nBase on.
    virtual void TaskSection(const ZembGnlTask* pTask, int nBase, int nRange, int nSteps,
                             int nStep) noexcept = 0;

    // A counter rises by one.
    virtual void Counts(ELiveCounter eCounter) noexcept = 0;

protected:
    virtual ~LiveWatcher();
};

// Who watches, or null. Lives to the end of the process once it is there.
ZEMB_API extern std::atomic<LiveWatcher*> g_pLiveWatcher;

// The same, as it is asked for at each report.
inline LiveWatcher* Live() noexcept {
    return g_pLiveWatcher.load(std::memory_order_acquire);
}

// Counts, if somebody watches.
inline void LiveCount(ELiveCounter eCounter) noexcept {
    if (LiveWatcher* const pWatcher = Live())
        pWatcher->Counts(eCounter);
}

// A fact about the process that changes seldom: its kind ("setting", "table", "timeouts",
// "language"), a name of which each kind has several, and what is so. A name told again takes the
// place of the last. Any thread. Kept from the beginning of the process on.
ZEMB_API void LiveFact(const std::string& strKind, const std::string& strName,
                       const std::string& strValue) noexcept;

}  // namespace zemb
