#include "commands/ledger.h"
#include "commands/processes.h"
#include "view/rows.h"

#include <algorithm>

// Tables of what black boxes hold.
namespace host {

namespace {

constexpr long long LONG_MICROSECONDS = 300 * 1000000LL;
constexpr const char* EVENT_NAMES[] = {"",         "granted",    "refused",
                                       "released", "task began", "task ended"};

std::string LiveObjectText(const zemb::LiveObject& obj, bool bNoObject, zemb::ELiveMaker eMaker) {
    if (bNoObject)
        return "no object";
    if (eMaker == zemb::ELiveMaker::TRAIL_GUARD)
        return "trail " + std::to_string(obj.nNeId);
    return ObjectText({obj.nNeId, obj.nObjId, obj.lSubObjId});
}

Cell Number(std::uint64_t nValue) {
    return nValue == 0 ? Cell() : Cell(nValue);
}

// The columns behind that of the process, which people see in the line above the table.
std::vector<Column> Columns(std::vector<Column> vecColumn) {
    vecColumn.insert(vecColumn.begin(), Column{"process", {}});
    return vecColumn;
}

void SayNotShown(const Output& out, std::uint64_t nCount, const char* szWhat) {
    if (nCount != 0)
        out.Say("and " + Counted(nCount, szWhat) + " for which the box has no room");
}

std::string CallText(const zemb::BoxThread& thread) {
    if (!thread.bInCall)
        return "";
    std::string strText = thread.eCall == zemb::ELiveCall::ACQUIRE ? "asks for " : "gives back ";
    strText += thread.eMaker == zemb::ELiveMaker::TRAIL_GUARD
                   ? "trails:"
                   : "operation " + std::to_string(thread.nOper) + " on";
    for (const zemb::LiveObject& obj : thread.vecFirst)
        strText += " " + LiveObjectText(obj, false, thread.eMaker);
    if (thread.nObjects > thread.vecFirst.size())
        strText += " and " + std::to_string(thread.nObjects - thread.vecFirst.size()) + " more";
    return thread.nObjects == 0 ? strText + " no object" : strText;
}

}  // namespace

std::uint64_t HeldCount(const zemb::BlackBox& box) {
    return box.vecHeld.size() + box.nHeldNotShown + box.vecTrail.size() + box.nTrailsNotShown;
}

Json::Value LevelsOf(const zemb::LiveObject& obj) {
    Json::Value levels(Json::arrayValue);
    levels.append(obj.nNeId);
    levels.append(obj.nObjId);
    levels.append(static_cast<Json::Int64>(obj.lSubObjId));
    return levels;
}

std::string HolderText(const zemb::BoxHeld& held) {
    std::string strText = "thread " + std::to_string(held.nThread);
    if (!held.strLabel.empty())
        strText += " (" + held.strLabel + ")";
    if (held.nTask != 0)
        strText += ", task " + std::to_string(held.nTask);
    if (held.nMission != 0)
        strText += ", mission " + std::to_string(held.nMission);
    if (held.nUser != 0)
        strText += ", user " + std::to_string(held.nUser);
    return strText + ", by " + zemb::LiveMakerName(held.eMaker);
}

void ShowHeld(const Output& out, const zemb::BlackBox& box) {
    Rows rows(out,
              Columns({{"operation", "OPERATION"},
                       {"object", "OBJECT"},
                       {"levels", {}},
                       {"since", "SINCE"},
                       {"thread", "THREAD"},
                       {"label", "LABEL"},
                       {"task", "TASK"},
                       {"mission", "MISSION"},
                       {"user", "USER"},
                       {"by", "BY"},
                       {"under_way", ""}}),
              "nothing is held");
    const auto Add = [&](const zemb::BoxHeld& held) {
        const Json::Value levels =
            held.bNoObject ? Json::Value(Json::arrayValue) : LevelsOf(held.obj);
        const bool bTrail = held.eMaker == zemb::ELiveMaker::TRAIL_GUARD;
        rows.Add({box.nProcess, bTrail ? Cell() : Cell(held.nOper),
                  LiveObjectText(held.obj, held.bNoObject, held.eMaker), Cell(levels, ""),
                  zemb::FormatTime(held.nSince), held.nThread, held.strLabel, Number(held.nTask),
                  Number(held.nMission), held.nUser == 0 ? Cell() : Cell(held.nUser),
                  zemb::LiveMakerName(held.eMaker),
                  Cell(held.bUnderWay, held.bUnderWay ? "call under way" : "")});
    };
    std::for_each(box.vecHeld.begin(), box.vecHeld.end(), Add);
    std::for_each(box.vecTrail.begin(), box.vecTrail.end(), Add);
    rows.Put();
    SayNotShown(out, box.nHeldNotShown, "object");
    SayNotShown(out, box.nTrailsNotShown, "trail");
    if (box.nTorn != 0)
        out.Say("and " + Counted(box.nTorn, "record") + " that was being written");
}

void ShowThreads(const Output& out, const zemb::BlackBox& box) {
    Rows rows(out,
              Columns({{"thread", "THREAD"},
                       {"label", "LABEL"},
                       {"nesting", "NESTING"},
                       {"seconds", "SECONDS"},
                       {"call", "CALL"},
                       {"long", ""}}),
              "no thread is registered or in a call");
    for (const zemb::BoxThread& thread : box.vecThread) {
        if (thread.nNesting == 0 && !thread.bInCall)
            continue;
        const long long nAge = zemb::NowMicroseconds() - thread.nSince;
        const bool bLong = thread.nNesting != 0 && nAge > LONG_MICROSECONDS;
        rows.Add({box.nProcess, thread.nThread, thread.strLabel, thread.nNesting,
                  thread.nNesting == 0 ? Cell() : Cell(nAge / 1000000), CallText(thread),
                  Cell(bLong, bLong ? "long" : "")});
    }
    rows.Put();
    SayNotShown(out, box.nThreadsNotShown, "thread");
}

void ShowTasks(const Output& out, const zemb::BlackBox& box) {
    Rows rows(out,
              Columns({{"task", "TASK"},
                       {"mission", "MISSION"},
                       {"user", "USER"},
                       {"since", "SINCE"},
                       {"percent", "PERCENT"},
                       {"scale", "SCALE"},
                       {"step", "STEP"},
                       {"steps", {}},
                       {"abort", ""},
                       {"text", "TEXT"}}),
              "no missions");
    for (const zemb::BoxTask& task : box.vecTask)
        rows.Add({box.nProcess, task.nTask,
                  Cell(task.nMission,
                       std::to_string(task.nMission) + (task.nMissions > 1 ? " and more" : "")),
                  task.nUser, zemb::FormatTime(task.nSince), task.nPercent,
                  Cell(task.fScale, std::to_string(static_cast<long>(task.fScale))),
                  task.nSteps == 0 ? Cell()
                                   : Cell(task.nStep, std::to_string(task.nStep) + " of " +
                                                          std::to_string(task.nSteps)),
                  task.nSteps == 0 ? Cell() : Cell(task.nSteps),
                  Cell(task.bAbort, task.bAbort ? "to abort" : ""), task.strText});
    rows.Put();
    SayNotShown(out, box.nTasksNotShown, "task");
}

void ShowErrors(const Output& out, const zemb::BlackBox& box) {
    Rows rows(
        out,
        Columns(
            {{"time", "TIME"}, {"user", "USER"}, {"task", {}}, {"code", "CODE"}, {"text", "TEXT"}}),
        "no errors");
    for (const zemb::BoxError& error : box.vecError)
        rows.Add({box.nProcess, zemb::FormatTime(error.nTime), error.nUser, error.nTask,
                  error.nCode == 0 ? Cell() : Cell(error.nCode, Hex(error.nCode)), error.strText});
    rows.Put();
}

void ShowCounters(const Output& out, const zemb::BlackBox& box) {
    Rows rows(out, Columns({{"counter", "COUNTER"}, {"value", "VALUE"}}));
    for (const auto& [strName, nValue] : box.vecCounter)
        rows.Add({box.nProcess, strName, nValue});
    rows.Put();
}

void ShowFacts(const Output& out, const zemb::BlackBox& box) {
    Rows rows(out, Columns({{"kind", "KIND"}, {"name", "NAME"}, {"value", "VALUE"}}));
    rows.Add({box.nProcess, "root", "", AsIs(box.strRoot)});
    rows.Add({box.nProcess, "state", "", AsIs(box.strState)});
    for (const auto& [strKind, strName, strValue] : box.vecFact)
        rows.Add({box.nProcess, strKind, AsIs(strName), strValue});
    rows.Put();
    SayNotShown(out, box.nFactsNotShown, "fact");
}

const char* EventName(zemb::EBoxEvent eKind) {
    return EVENT_NAMES[static_cast<std::size_t>(eKind)];
}

Json::Value RecordOfEvent(const zemb::BoxEvent& event) {
    const bool bTask = event.eKind >= zemb::EBoxEvent::TASK_BEGAN;
    const bool bTrail = event.eMaker == zemb::ELiveMaker::TRAIL_GUARD;
    Json::Value record;
    record["number"] = static_cast<Json::UInt64>(event.nNumber);
    record["time"] = zemb::FormatTime(event.nTime);
    record["event"] = EventName(event.eKind);
    record["thread"] = event.nThread;
    if (event.nTask != 0)
        record["task"] = event.nTask;
    if (bTask)
        return record;
    record["call"] = static_cast<Json::UInt64>(event.nCall);
    record["by"] = zemb::LiveMakerName(event.eMaker);
    record["place"] = event.nPlace;
    record["of"] = event.nOf;
    if (bTrail) {
        record["trail"] = event.obj.nNeId;
    } else {
        record["operation"] = event.nOper;
        if (event.nPlace != 0)
            record["object"] = LevelsOf(event.obj);
    }
    if (event.eKind == zemb::EBoxEvent::REFUSED) {
        record["code"] = static_cast<Json::UInt64>(event.nCode);
        if (!bTrail)
            record["blocker"] = event.nBlocker;
    }
    return record;
}

std::string LineOfEvent(const zemb::BoxEvent& event) {
    std::string strLine = zemb::FormatTime(event.nTime) + "  thread " +
                          std::to_string(event.nThread) + "  " + EventName(event.eKind);
    if (event.eKind >= zemb::EBoxEvent::TASK_BEGAN)
        return strLine + ": task " + std::to_string(event.nTask);
    if (event.eMaker != zemb::ELiveMaker::TRAIL_GUARD)
        strLine += "  operation " + std::to_string(event.nOper) + " on";
    strLine += " " + LiveObjectText(event.obj, event.nPlace == 0, event.eMaker);
    if (event.nOf > 1)
        strLine += " (" + std::to_string(event.nPlace) + " of " + std::to_string(event.nOf) + ")";
    if (event.eKind == zemb::EBoxEvent::REFUSED)
        strLine += "  code " + Hex(event.nCode) +
                   (event.eMaker == zemb::ELiveMaker::TRAIL_GUARD
                        ? ""
                        : ", operation " + std::to_string(event.nBlocker) + " in the way");
    return strLine;
}

void ShowEvents(const Output& out, const zemb::BlackBox& box, std::size_t nLast,
                const std::function<bool(const zemb::BoxEvent& event)>& fnTakes) {
    std::vector<const zemb::BoxEvent*> vecEvent;
    for (const zemb::BoxEvent& event : box.vecEvent)
        if (fnTakes(event))
            vecEvent.push_back(&event);
    const std::size_t nFirst = vecEvent.size() > nLast ? vecEvent.size() - nLast : 0;
    for (std::size_t i = nFirst; i < vecEvent.size(); ++i) {
        Json::Value record = RecordOfEvent(*vecEvent[i]);
        record["process"] = box.nProcess;
        out.Put(LineOfEvent(*vecEvent[i]), record);
    }
    if (vecEvent.empty())
        out.Say("no events");
}

}  // namespace host
