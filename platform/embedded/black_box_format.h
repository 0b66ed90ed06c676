#pragma once

#include "zemb/live.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

// The layout of a black box: docs/formats/black-box.md states the same, octet by octet. A header is
// followed by parts, each a row of records of one size. A record is written between two steps of
// its sequence number, odd and then even, so that a reader who finds the same even number before
// and after his reading has a whole one.
namespace zemb::box {

constexpr char MAGIC[8] = {'t', 'n', 'b', 'l', 'k', 'b', 'o', 'x'};
constexpr std::uint32_t VERSION = 1;
constexpr std::uint32_t BYTE_ORDER_MARK = 0x01020304;
constexpr std::size_t HEADER_BYTES = 4096;
constexpr std::size_t TALLIES_AT = 3072;
constexpr std::size_t LABEL_BYTES = 64;
constexpr std::size_t HELD_LABEL_BYTES = 32;
constexpr std::size_t TASK_TEXT_BYTES = 120;
constexpr std::size_t ERROR_TEXT_BYTES = 472;
constexpr std::size_t FACT_BYTES = 1024;
constexpr std::size_t FIRST_OBJECTS = 4;
constexpr std::uint32_t RECORDS_MOST = 1U << 20;  // of a part
constexpr std::size_t COUNTERS_MAX = 24;
constexpr std::size_t COUNTER_NAME_BYTES = 24;

using Sequence = std::atomic<std::uint64_t>;

// The last events of operations, and those of trails and tasks, stand in rings of their own: so who
// tells of operations, one thread at a time, waits for nobody.
enum EPart { FACTS, THREADS, HELD, TRAILS, TASKS, ERRORS, EVENTS, OTHER_EVENTS, PARTS };

struct PartPlace {
    std::uint64_t nOffset;
    std::uint32_t nRecordBytes;
    std::uint32_t nRecords;
};

struct Header {
    char szMagic[8];  // written last
    std::uint32_t nVersion;
    std::uint32_t nByteOrder;
    std::uint64_t nFileBytes;
    PartPlace arrPart[PARTS];
    std::uint32_t nProcess;
    std::uint32_t nCounters;
    std::uint64_t nStartTicks;  // of the process, as the system counts them from its own start; 0:
                                // it has ended its box, or begun another program
    std::int64_t nBegun;        // microseconds since 1970
    char szBoot[40];            // which start of the system
    char szProgram[64];
    char szRoot[512];
    char szState[512];
    char szCounter[COUNTERS_MAX][COUNTER_NAME_BYTES];
    std::uint32_t nParent;  // the process above it that had a box; 0: none
    std::uint32_t bEnded;   // in order: only the file could not be deleted
};
static_assert(sizeof(Header) == 1888 && sizeof(Header) <= TALLIES_AT);

// What did not fit, and the numbers of the next events.
struct Tallies {
    std::atomic<std::uint64_t> nNextEvent;
    std::atomic<std::uint64_t> nNextOther;
    std::atomic<std::uint64_t> arrNotShown[PARTS];  // records that are wanted and have no place
};
static_assert(sizeof(Tallies) == 80);

// Kind, name and value, each with a zero octet behind it.
struct Fact {
    Sequence nSequence;
    char szText[FACT_BYTES - 8];
};

struct Object {
    std::int32_t nNe;
    std::int32_t nObj;
    std::int64_t nSub;
};

struct Thread {
    Sequence nSequence;     // of what stands in front of nCall
    std::uint32_t nThread;  // the system's number; 0: nobody's
    std::int32_t nNesting;
    std::int64_t nSince;     // microseconds
    std::uint64_t nPthread;  // the C library's
    char szLabel[LABEL_BYTES];
    Sequence nCall;  // odd: in this call
    std::int64_t nCallSince;
    std::uint8_t nKind;
    std::uint8_t nMaker;
    std::uint8_t arrSpare[2];
    std::int32_t nOper;
    std::uint64_t nObjects;
    Object arrFirst[FIRST_OBJECTS];
    std::atomic<std::uint64_t> arrCounter[COUNTERS_MAX];
    std::uint8_t arrRest[128];
};
static_assert(sizeof(Thread) == 512 && offsetof(Thread, nCall) == 96 &&
              offsetof(Thread, arrCounter) == 192);

struct Held {
    Sequence nSequence;  // 0: nothing was here yet
    std::int64_t nSince;
    Object object;
    std::uint64_t nCall;
    std::uint32_t nThread;
    std::uint32_t nSlot;
    std::uint32_t nTask;
    std::uint32_t nMission;
    std::int32_t nUser;
    std::int32_t nOper;
    std::uint8_t bUsed;
    std::uint8_t bNoObject;
    std::uint8_t nMaker;
    char szLabel[HELD_LABEL_BYTES - 3];
};
static_assert(sizeof(Held) == 96);

struct Task {
    Sequence nSequence;
    std::int64_t nSince;
    std::uint64_t nMissions;
    std::uint32_t nTask;  // 0: nobody's
    std::uint32_t nMission;
    std::int32_t nUser;
    std::int32_t nPercent;
    float fScale;
    std::int32_t nBase;
    std::int32_t nRange;
    std::int32_t nSteps;
    std::int32_t nStep;
    std::uint32_t bAbort;
    std::uint32_t nThread;
    std::uint32_t nSpare;
    char szText[TASK_TEXT_BYTES];
};
static_assert(sizeof(Task) == 192);

struct Error {
    Sequence nSequence;
    std::int64_t nTime;
    std::uint64_t nCode;
    std::uint32_t nTask;
    std::int32_t nUser;
    std::uint64_t nOrder;  // from 1
    char szText[ERROR_TEXT_BYTES];
};
static_assert(sizeof(Error) == 512);

enum EEvent : std::uint8_t { GRANTED = 1, REFUSED, GIVEN_BACK, TASK_BEGAN, TASK_ENDED };

struct Event {
    Sequence nSequence;  // twice its number, plus 2; one less while it is written
    std::int64_t nTime;
    std::uint64_t nCall;
    std::uint64_t nCode;
    Object object;
    std::uint32_t nThread;
    std::int32_t
        nOper;  // of another event: the number of the next one of operations, cut to 32 bits
    std::int32_t nBlocker;
    std::uint32_t nPlace;
    std::uint32_t nOf;
    std::uint32_t nTask;
    std::uint32_t nSlot;
    std::uint8_t nKind;
    std::uint8_t nMaker;
    std::uint8_t arrSpare[2];
};
static_assert(sizeof(Event) == 80);

// Between the steps of a sequence number nothing is moved across its first step.
inline void FenceOfWriter() noexcept {
#if defined(__SANITIZE_THREAD__)
    std::atomic_signal_fence(std::memory_order_seq_cst);  // the checker knows no other fence
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
    std::atomic_signal_fence(std::memory_order_seq_cst);
#else
    std::atomic_thread_fence(std::memory_order_release);
#endif
#else
    std::atomic_thread_fence(std::memory_order_release);
#endif
}

// Writes a record whole for those who read meanwhile. One writer at a time.
template <class Record, class Write>
void Put(Record& record, Write&& fnWrite) noexcept {
    const std::uint64_t nBefore = record.nSequence.load(std::memory_order_relaxed);
    record.nSequence.store(nBefore + 1, std::memory_order_relaxed);
    FenceOfWriter();
    fnWrite(record);
    record.nSequence.store(nBefore + 2, std::memory_order_release);
}

}  // namespace zemb::box
