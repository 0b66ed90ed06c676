#pragma once

#include "embedded/black_box.h"
#include "embedded/black_box_format.h"
#include "embedded/record_index.h"
#include "zemb/live.h"
#include "zemb/task.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <new>
#include <string_view>
#include <vector>

// What the writer of the black box keeps beside the file: what the calling thread is in the midst
// of, which records of a part are used, and how texts come into their fields.
namespace zemb {

constexpr std::uint32_t NO_SLOT = 0xFFFFFFFF;

// What the calling thread is in the midst of. No destructor: it may be used until the thread has
// gone.
struct ThreadState {
    std::uint32_t nGeneration;
    std::uint32_t nSlot;
    box::Thread* pRecord;  // null: there is no place for this thread
    std::uint32_t nThread;
    long long nNow;
    std::uint32_t nTask;
    std::uint32_t nMission;
    std::int32_t nUser;
    LiveRequest request;
    std::uint32_t nMissionTask;  // for which nMission was asked, and when
    std::uint32_t nMissionChanges;
    std::uint32_t nMissionFound;
    std::uint32_t nCallGeneration;  // the box in which the call began
};
inline thread_local ThreadState t_state __attribute__((tls_model("initial-exec")));

inline box::Object Stored(const LiveObject& obj) {
    return {obj.nNeId, obj.nObjId, obj.lSubObjId};
}

template <std::size_t SIZE>
void CopyText(char (&szTarget)[SIZE], std::string_view strText) noexcept {
    const std::size_t nLength = std::min(strText.size(), SIZE - 1);
    // Not memcpy: for a length with a known limit the compiler writes a slow instruction in its
    // place.
    if (nLength != 0)  // else there may be no text
        std::memmove(szTarget, strText.data(), nLength);
    szTarget[nLength] = '\0';
}

// Adds where only this thread, or with bShared every thread without a place, adds.
inline void AddTo(std::atomic<std::uint64_t>& nCounter, bool bShared) noexcept {
    if (bShared)
        nCounter.fetch_add(1, std::memory_order_relaxed);
    else
        nCounter.store(nCounter.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
}

// Two texts with a blank between them, as far as there is room.
template <std::size_t SIZE>
void CopyTexts(char (&szTarget)[SIZE], std::string_view strFirst,
               std::string_view strSecond) noexcept {
    char szText[SIZE] = {};
    CopyText(szText, strFirst);
    const std::size_t nLength = std::strlen(szText);
    if (!strSecond.empty() && nLength + 3 < SIZE) {
        szText[nLength] = ' ';
        const std::size_t nMore = std::min(strSecond.size(), SIZE - nLength - 2);
        std::memcpy(szText + nLength + 1, strSecond.data(), nMore);
    }
    std::memcpy(szTarget, szText, SIZE);
}

// The call of the thread in which it is, by its number.
inline std::uint64_t CallOf(const ThreadState& state) noexcept {
    return state.pRecord == nullptr ? 0 : state.pRecord->nCall.load(std::memory_order_relaxed);
}

// The label under which it works; empty without one.
template <std::size_t SIZE>
void CopyLabel(const ThreadState& state, char (&szLabel)[SIZE]) noexcept {
    if (state.pRecord == nullptr || state.pRecord->nNesting == 0) {
        szLabel[0] = '\0';
        return;
    }
    std::memcpy(szLabel, state.pRecord->szLabel, SIZE - 1);
    szLabel[SIZE - 1] = '\0';
}

// Which task it works on, and for whom.
inline void LookAtTask(ThreadState& state) noexcept {
    const ZembGnlTask* const pTask = CurrentTask();
    if (pTask == nullptr) {
        state.nTask = 0;
        state.nMission = 0;
        state.nUser = 0;
        return;
    }
    state.nTask = pTask->GetTaskId();
    state.nUser = pTask->GetContext() == nullptr ? 0 : pTask->GetContext()->nUserId;
    if (state.nMissionTask != state.nTask || state.nMissionChanges != MissionChanges()) {
        state.nMissionTask = state.nTask;
        state.nMissionChanges = MissionChanges();
        state.nMissionFound = FirstMissionOf(pTask);
    }
    state.nMission = state.nMissionFound;
}

// Records of what is held, or of trails.
struct HeldPool {
    explicit HeldPool(box::EPart ePartOf) : ePart(ePartOf) {}
    const box::EPart ePart;
    box::Held* pFirst = nullptr;
    std::uint32_t nRecords = 0;
    RecordIndex index;
    std::uint32_t nGeneration = 0;

    // By the first report about a box, under the lock of those who report.
    void ResetFor(std::uint32_t nGenerationOf) noexcept {
        if (nGeneration == nGenerationOf)
            return;
        nGeneration = nGenerationOf;
        index.Reset(nRecords);
    }
};

// Records of tasks.
struct TaskRecords {
    std::uint32_t nGeneration = 0;
    std::uint32_t nUsed = 0;
    std::vector<std::uint32_t> vecFree;

    void Reset(std::uint32_t nGenerationOf) noexcept {
        nGeneration = nGenerationOf;
        nUsed = 0;
        vecFree.clear();
    }
    std::uint32_t Take(std::uint32_t nRecords) noexcept {
        if (vecFree.empty())
            return nUsed == nRecords ? 0 : ++nUsed;
        const std::uint32_t nRecord = vecFree.back();
        vecFree.pop_back();
        return nRecord;
    }
    void Give(std::uint32_t nRecord) noexcept {
        try {
            vecFree.push_back(nRecord);
        } catch (const std::bad_alloc&) {
            // The place is not used again.
        }
    }
};

}  // namespace zemb
