#pragma once

#include "embedded/black_box_format.h"
#include "zemb/live.h"

#include <cstdint>
#include <string>

class ZembGnlTask;

// The writer's side of the black box: what the platform itself tells of, and the box's life.
namespace zemb {

// Makes the box of this process, unless it is there, switched off or there is no state folder, and
// has everything told to it from then on. What goes wrong is one line in the default channel.
void BeginBlackBox() noexcept;

// Takes the box away: the process stops in order.
void EndBlackBox() noexcept;

// A task as the progress manager knows it.
struct LiveTask {
    std::uint32_t nTask;
    std::uint32_t nMission;
    std::uint64_t nMissions;
    std::int32_t nUser;
    int nPercent;
    float fScale;
    bool bAbort;
    int nBase;
    int nRange;
    int nSteps;
    int nStep;
    const std::string* pText;
};

// Where a task stands in the box; in one box only.
struct TaskPlace {
    std::uint32_t nGeneration = 0;
    std::uint32_t nRecord = 0;  // 0: nowhere
};

// Puts a task into the box, or writes its record anew; and takes it out. Nothing without a box.
// Called by one thread at a time.
void PutLiveTask(const LiveTask& task, TaskPlace& place) noexcept;
// The same for a step, which changes only the progress. False when the task is not in the box yet.
struct LiveStep {
    int nPercent;
    int nBase;
    int nRange;
    int nSteps;
    int nStep;
    const std::string* pText;
};
bool PutLiveStep(const LiveStep& step, const TaskPlace& place) noexcept;
void DropLiveTask(TaskPlace& place) noexcept;

// Puts an operation error into the box. Called by one thread at a time.
void PutLiveError(std::uint64_t nCode, std::uint32_t nTask, int nUser, const std::string& strFirst,
                  const std::string& strSecond) noexcept;

// For progress.cpp: notes the section of a task that has a mission, and tells the first mission of
// a task, 0 for none; how often missions have changed.
void NoteTaskSection(const ZembGnlTask* pTask, int nBase, int nRange, int nSteps,
                     int nStep) noexcept;
std::uint32_t FirstMissionOf(const ZembGnlTask* pTask) noexcept;
std::uint32_t MissionChanges() noexcept;

// The calling thread's task, without a fault point.
ZembGnlTask* CurrentTask() noexcept;

}  // namespace zemb
