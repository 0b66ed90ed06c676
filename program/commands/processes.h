#pragma once

#include "session.h"

#include "zemb/black_box.h"

#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace host {

constexpr long long SECOND = 1000000;  // in the microseconds of times

// Adds "--process" to a command that shows other processes, as their black boxes tell.
CLI::Option* AddProcessOption(CLI::App& app, std::string& strProcess);

// Whether a command means this process itself: inside 'host' and scripts, unless another is named.
bool MeansThisProcess(const Session& session, const std::string& strProcess);

// The boxes of the processes that are meant: "" stands for the only one that lives, else a number,
// a name, or "all". Throws CommandError when there is none, with a list when there are several, and
// for a box that cannot be read.
std::vector<zemb::BlackBox> ChosenBoxes(const std::string& strProcess);

// Whether no other process of the state folder has a box and lives.
bool NobodyLives();

// Shows each of the processes that are meant: a line that names it, then what fnShow shows.
int ShowProcesses(const Session& session, const std::string& strProcess,
                  const std::function<void(const zemb::BlackBox& box)>& fnShow);

// "process 4711 (nm_server)", and what became of it.
std::string ProcessText(const zemb::BoxSummary& box);

// "3 s", "12 min 5 s", "4 h 2 min", "3 d 5 h".
std::string AgeText(long long nMicroseconds);

// What a process holds: objects and trails, also those for which the box has no room.
std::uint64_t HeldCount(const zemb::BlackBox& box);

// NE, object and sub-object, as records name them.
Json::Value LevelsOf(const zemb::LiveObject& obj);

// "thread 4712 (backup), task 7, mission 7, user 3, by NE guard", as far as it is known.
std::string HolderText(const zemb::BoxHeld& held);

// Tables of what a box holds; with JSON each record names the process.
void ShowHeld(const Output& out, const zemb::BlackBox& box);
void ShowThreads(const Output& out, const zemb::BlackBox& box);
void ShowTasks(const Output& out, const zemb::BlackBox& box);
void ShowErrors(const Output& out, const zemb::BlackBox& box);
void ShowCounters(const Output& out, const zemb::BlackBox& box);
void ShowFacts(const Output& out, const zemb::BlackBox& box);
// The last nLast events for which fnTakes is true.
void ShowEvents(const Output& out, const zemb::BlackBox& box, std::size_t nLast,
                const std::function<bool(const zemb::BoxEvent& event)>& fnTakes);

// "granted", "task began".
const char* EventName(zemb::EBoxEvent eKind);

// An event as a record, and as a line for people.
Json::Value RecordOfEvent(const zemb::BoxEvent& event);
std::string LineOfEvent(const zemb::BoxEvent& event);

}  // namespace host
