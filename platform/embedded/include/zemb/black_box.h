#pragma once

#include "zemb/export.h"
#include "zemb/live.h"

#include <cstdint>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

// The black box of a process: a file <state>/run/<process>.box that its work keeps up to date, that
// others read without its help, and that stays behind when it is killed. It is made by
// ModuleMgr::StartModules() and taken away by StopModules(). docs/formats/black-box.md states what
// stands in it.
namespace zemb {

// The name under which this process is shown, by default that of its program. For a box that is
// made later.
ZEMB_API void SetProcessName(const std::string& strName);

// Whether StartModules() makes a box; one that is there is taken away by false. So does the
// environment variable ZEMB_BOX=off.
ZEMB_API void SetBlackBox(bool bWanted);

// Names for people: "timeout_queries", "NE guard".
ZEMB_API const char* LiveCounterName(ELiveCounter eCounter);
ZEMB_API const char* LiveMakerName(ELiveMaker eMaker);

// What became of a process.
enum class EBoxState { ALIVE, STOPPED, DIED };

// A box, without its contents.
struct BoxSummary {
    std::string strFile;
    std::string strError;  // why it cannot be read; the rest is empty then
    std::uint32_t nProcess = 0;
    std::uint32_t nParent = 0;  // the process above it, if that had a box
    EBoxState eState = EBoxState::DIED;
    long long nBegun = 0;  // microseconds since 1970
    std::string strProgram;
    std::string strRoot;
    std::string strState;
};

// What is held. When bUnderWay the request or the return was being worked on at the moment of the
// reading: it may be held or not.
struct BoxHeld {
    int nOper = 0;
    LiveObject obj{};
    bool bNoObject = false;
    bool bUnderWay = false;
    ELiveMaker eMaker = ELiveMaker::CALL;
    long long nSince = 0;
    std::uint32_t nThread = 0;
    std::string strLabel;  // of the thread, its first 28 octets
    std::uint32_t nTask = 0;
    std::uint32_t nMission = 0;
    int nUser = 0;
};

// A thread that has reported something.
struct BoxThread {
    std::uint32_t nThread = 0;   // the system's number
    std::uint64_t nPthread = 0;  // the C library's, as the lines of the registry show its end
    int nNesting = 0;            // 0: not registered
    long long nSince = 0;
    std::string strLabel;
    bool bInCall = false;
    ELiveCall eCall = ELiveCall::ACQUIRE;
    ELiveMaker eMaker = ELiveMaker::CALL;
    int nOper = 0;
    std::uint64_t nObjects = 0;
    std::vector<LiveObject> vecFirst;  // of the call, four at most
    long long nCallSince = 0;
};

// A task with a mission.
struct BoxTask {
    std::uint32_t nTask = 0;
    std::uint32_t nMission = 0;
    std::uint64_t nMissions = 0;
    int nUser = 0;
    long long nSince = 0;
    int nPercent = 0;
    float fScale = 1;
    bool bAbort = false;
    int nBase = 0;  // of the section; nSteps 0: none
    int nRange = 0;
    int nSteps = 0;
    int nStep = 0;
    std::uint32_t nThread = 0;  // that wrote last
    std::string strText;
};

// An error that an operation reported.
struct BoxError {
    long long nTime = 0;
    std::uint64_t nCode = 0;
    std::uint32_t nTask = 0;
    int nUser = 0;
    std::string strText;
};

// What happened.
enum class EBoxEvent : std::uint8_t { GRANTED = 1, REFUSED, GIVEN_BACK, TASK_BEGAN, TASK_ENDED };

// Something that happened.
struct BoxEvent {
    std::uint64_t nNumber = 0;  // from 0; those of operations, and all others, have each their own
    EBoxEvent eKind = EBoxEvent::GRANTED;
    ELiveMaker eMaker = ELiveMaker::CALL;
    long long nTime = 0;
    std::uint32_t nThread = 0;
    std::uint64_t nCall = 0;  // of this thread, counted from 1; 0: unknown
    int nOper = 0;
    LiveObject obj{};
    std::uint32_t nPlace = 0;  // among nOf objects of the call; 0: a request without objects
    std::uint32_t nOf = 0;
    int nBlocker = 0;
    std::uint64_t nCode = 0;
    std::uint32_t nTask = 0;
};

// Whether an event is of an operation, and not of a trail or a task.
inline bool IsOfOperation(const BoxEvent& event) {
    return event.eKind < EBoxEvent::TASK_BEGAN && event.eMaker != ELiveMaker::TRAIL_GUARD;
}

// What a box holds. What did not fit is counted.
struct BlackBox : BoxSummary {
    std::vector<std::tuple<std::string, std::string, std::string>> vecFact;  // kind, name, value
    std::vector<std::pair<std::string, std::uint64_t>> vecCounter;
    std::vector<BoxHeld> vecHeld;   // the longest held first
    std::vector<BoxHeld> vecTrail;  // the same for trails
    std::vector<BoxThread> vecThread;
    std::vector<BoxTask> vecTask;    // the oldest first
    std::vector<BoxError> vecError;  // the oldest first
    std::vector<BoxEvent> vecEvent;  // in their order
    std::uint64_t nEventBefore = 0;  // the next one when the reading began, before what is held
    std::uint64_t nOtherBefore = 0;  // the same for those of trails and tasks
    std::uint64_t nNextEvent = 0;    // the next one behind vecEvent
    std::uint64_t nNextOther = 0;
    std::uint64_t nFactsNotShown = 0;
    std::uint64_t nHeldNotShown = 0;
    std::uint64_t nTrailsNotShown = 0;
    std::uint64_t nThreadsNotShown = 0;
    std::uint64_t nTasksNotShown = 0;
    std::uint64_t nTorn = 0;  // records that were being written each time they were read
};

// The boxes of a state folder, by process number; not those of processes that ended in order and
// could not delete theirs. Any thread.
ZEMB_API std::vector<BoxSummary> ListBlackBoxes(const std::string& strState);

// Reads a box whole; false, with the reason in strError, for a file that is none, was cut, or has
// another version or layout. A record that is written at the moment is read again, a few times.
// The process it belongs to is not disturbed, and may be gone. Any thread. Cost: three readings of
// the file, some milliseconds.
ZEMB_API bool ReadBlackBox(const std::string& strFile, BlackBox& box, std::string& strError);

// What was held at one moment: when event nEventBefore was still to come. Objects, not trails; of
// one that was returned during the reading only what its return tells is known. Equal objects of
// one operation count, though which of them stays may be told wrong. Any thread. Cost: n log n.
ZEMB_API std::vector<BoxHeld> HeldBefore(const BlackBox& box);

// A box that is read again and again, also once more after its process has taken it away. Own.
class ZEMB_API BoxWatch {
public:
    explicit BoxWatch(const std::string& strFile);
    ~BoxWatch();
    BoxWatch(const BoxWatch&) = delete;
    BoxWatch& operator=(const BoxWatch&) = delete;

    // As ReadBlackBox().
    bool Read(BlackBox& box, std::string& strError);
    // Whether the file still stands under its name.
    bool IsInPlace() const;

private:
    struct Hidden;
    const std::unique_ptr<Hidden> m_pHidden;
};

}  // namespace zemb
