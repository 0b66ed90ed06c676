#include "commands/top_rows.h"

#include "check/mutex_file.h"
#include "commands/ledger.h"
#include "commands/processes.h"

#include "zemb/clock.h"

#include <algorithm>
#include <map>

// What black boxes hold, as rows of a full-screen view. All of it is made anew for each frame: a
// box has a few thousand records, which is nothing beside a second.
namespace host {

namespace {

using zemb::BlackBox;

constexpr long long LONG_TIME = 300 * SECOND;
constexpr int BAR = 10;

TopSection NewSection(const std::string& strName, std::vector<Column> vecColumn) {
    vecColumn.insert(vecColumn.begin(), Column{"section", {}});
    return {strName, std::move(vecColumn), {}};
}

void AddRow(TopSection& section, std::vector<Cell> vecCell, std::vector<std::string> vecDetail) {
    vecCell.insert(vecCell.begin(), Cell(section.strName));
    section.vecRow.push_back({std::move(vecCell), std::move(vecDetail), nullptr});
}

Cell Age(long long nSince, long long nNow) {
    return {zemb::FormatTime(nSince), AgeText(nNow - nSince)};
}

Cell Unless0(std::uint64_t nValue) {
    return nValue == 0 ? Cell() : Cell(nValue);
}

std::uint64_t RefusalsOfLate(const BlackBox& box, long long nNow) {
    return static_cast<std::uint64_t>(
        std::count_if(box.vecEvent.begin(), box.vecEvent.end(), [&](const zemb::BoxEvent& event) {
            return event.eKind == zemb::EBoxEvent::REFUSED && event.nPlace <= 1 &&
                   event.nTime > nNow - 10 * SECOND && event.nTime <= nNow;
        }));
}

// A second, with one decimal.
std::string RateOf(std::uint64_t nIn10Seconds) {
    return std::to_string(nIn10Seconds / 10) + "." + std::to_string(nIn10Seconds % 10);
}

TopSection Processes(const std::vector<BlackBox>& vecBox, long long nNow) {
    TopSection section = NewSection("processes", {{"process", "PROCESS"},
                                                  {"program", "PROGRAM"},
                                                  {"since", "AGE"},
                                                  {"stopped", "STATE"},
                                                  {"held", "HELD"},
                                                  {"tasks", "TASKS"},
                                                  {"refused_last_10_s", "REFUSED/S"}});
    for (const BlackBox& box : vecBox) {
        const bool bStopped = box.eState == zemb::EBoxState::STOPPED;
        std::vector<std::string> vecDetail = {ProcessText(box), "root " + box.strRoot,
                                              "state folder " + box.strState};
        for (const auto& [strKind, strName, strValue] : box.vecFact)
            vecDetail.push_back(strKind + " " + strName + " " + strValue);
        for (const auto& [strName, nValue] : box.vecCounter)
            vecDetail.push_back(strName + " " + std::to_string(nValue));
        const std::uint64_t nRefused = RefusalsOfLate(box, nNow);
        AddRow(
            section,
            {box.nProcess, box.strProgram, Age(box.nBegun, nNow),
             Cell(bStopped, bStopped ? "stopped" : "alive"), box.vecHeld.size() + box.nHeldNotShown,
             box.vecTask.size() + box.nTasksNotShown, Cell(nRefused, RateOf(nRefused))},
            std::move(vecDetail));
    }
    return section;
}

// A held object with its process.
using Held = std::pair<const BlackBox*, const zemb::BoxHeld*>;

std::vector<Held> SortedHeld(const std::vector<BlackBox>& vecBox, const TopWish& wish) {
    std::vector<Held> vecHeld;
    for (const BlackBox& box : vecBox)
        for (const zemb::BoxHeld& held : box.vecHeld)
            if (wish.nNe < 0 || (!held.bNoObject && held.obj.nNeId == wish.nNe))
                vecHeld.emplace_back(&box, &held);
    const auto Key = [&](const Held& held) {
        const zemb::BoxHeld& one = *held.second;
        const long long nFirst = wish.eSort == ETopSort::OPERATION ? one.nOper
                                 : wish.eSort == ETopSort::NE      ? one.obj.nNeId
                                                                   : one.nSince;
        return std::make_pair(nFirst, one.nSince);
    };
    std::stable_sort(vecHeld.begin(), vecHeld.end(),
                     [&](const Held& a, const Held& b) { return Key(a) < Key(b); });
    return vecHeld;
}

std::string ObjectOf(const zemb::BoxHeld& held) {
    return held.bNoObject ? "no object"
                          : ObjectText({held.obj.nNeId, held.obj.nObjId, held.obj.lSubObjId});
}

// The first line for each operation that one in the way keeps out, and the line of its code, of the
// tables that a process loaded, as the files say today.
std::vector<std::string> RuleLines(const std::vector<std::string>& vecTable, int nOper) {
    constexpr std::uint64_t PAIRS_AT_MOST = 100000;
    try {
        MutexFile table;
        for (const std::string& strTable : vecTable)
            table.Read(strTable);
        std::map<std::pair<std::string, int>, std::string> mapLine;
        const auto Add = [&](const Place* pPlace) {
            if (pPlace != nullptr)
                mapLine[{pPlace->strFile, pPlace->nLine}] =
                    "rule " + pPlace->Text() + ": " + pPlace->strText;
        };
        Add(table.ExclusiveRule(nOper));
        if (table.CountOperations() <= PAIRS_AT_MOST)
            for (const int nOther : table.Operations())
                Add(table.PairRule(nOper, nOther));
        std::vector<std::string> vecLine;
        vecLine.reserve(mapLine.size() + 1);
        for (const auto& [place, strLine] : mapLine)
            vecLine.push_back(strLine);
        if (const auto it = table.mapCode.find(nOper); it != table.mapCode.end())
            vecLine.push_back("code " + it->second.place.Text() + ": " + it->second.place.strText);
        return vecLine;
    } catch (const CommandError& error) {
        return {error.what()};
    }
}

std::vector<std::string> TablesOf(const BlackBox& box) {
    std::vector<std::string> vecTable;
    for (const auto& [strKind, strName, strValue] : box.vecFact)
        if (strKind == "table")
            vecTable.push_back(strName);
    return vecTable;
}

TopSection Grants(const std::vector<BlackBox>& vecBox, const TopWish& wish, long long nNow) {
    TopSection section = NewSection("grants", {{"since", "HELD FOR"},
                                               {"operation", "OPERATION"},
                                               {"object", "OBJECT"},
                                               {"thread", "THREAD"},
                                               {"label", "LABEL"},
                                               {"task", "TASK"},
                                               {"user", "USER"},
                                               {"process", {}}});
    for (const auto& [pBox, pHeld] : SortedHeld(vecBox, wish)) {
        const std::string strObject = ObjectOf(*pHeld);
        AddRow(
            section,
            {Age(pHeld->nSince, nNow), pHeld->nOper, strObject, pHeld->nThread, pHeld->strLabel,
             Unless0(pHeld->nTask), pHeld->nUser == 0 ? Cell() : Cell(pHeld->nUser),
             pBox->nProcess},
            {ProcessText(*pBox), "operation " + std::to_string(pHeld->nOper) + " on " + strObject,
             "held by " + HolderText(*pHeld) + " since " + zemb::FormatTime(pHeld->nSince),
             pHeld->bUnderWay ? "a call is under way: it may be held or not" : ""});
        section.vecRow.back().fnMore = [vecTable = TablesOf(*pBox), nOper = pHeld->nOper] {
            return RuleLines(vecTable, nOper);
        };
    }
    return section;
}

TopSection BusiestNes(const std::vector<BlackBox>& vecBox) {
    struct Busy {
        std::uint64_t nEvents = 0;
        std::uint64_t nRefused = 0;
    };
    std::map<int, Busy> mapNe;
    for (const BlackBox& box : vecBox)
        for (const zemb::BoxEvent& event : box.vecEvent)
            if (zemb::IsOfOperation(event) && event.nPlace != 0) {
                Busy& busy = mapNe[event.obj.nNeId];
                ++busy.nEvents;
                busy.nRefused += event.eKind == zemb::EBoxEvent::REFUSED ? 1 : 0;
            }
    std::vector<std::pair<int, Busy>> vecNe(mapNe.begin(), mapNe.end());
    std::stable_sort(vecNe.begin(), vecNe.end(), [](const auto& a, const auto& b) {
        return a.second.nEvents > b.second.nEvents;
    });
    TopSection section =
        NewSection("nes", {{"ne", "BUSIEST NE"}, {"events", "EVENTS"}, {"refused", "REFUSED"}});
    for (const auto& [nNe, busy] : vecNe)
        AddRow(section, {nNe, busy.nEvents, busy.nRefused},
               {ObjectText({nNe, 0, 0}), std::to_string(busy.nEvents) + " of the last events",
                std::to_string(busy.nRefused) + " of them refusals"});
    return section;
}

TopSection LongThreads(const std::vector<BlackBox>& vecBox, long long nNow) {
    TopSection section = NewSection("long_threads", {{"since", "THREAD BUSY FOR"},
                                                     {"thread", "THREAD"},
                                                     {"label", "LABEL"},
                                                     {"nesting", "NESTING"},
                                                     {"process", {}}});
    for (const BlackBox& box : vecBox)
        for (const zemb::BoxThread& thread : box.vecThread)
            if (thread.nNesting != 0 && nNow - thread.nSince > LONG_TIME)
                AddRow(section,
                       {Age(thread.nSince, nNow), thread.nThread, thread.strLabel, thread.nNesting,
                        box.nProcess},
                       {ProcessText(box),
                        "thread " + std::to_string(thread.nThread) + " (" + thread.strLabel + ")",
                        "busy since " + zemb::FormatTime(thread.nSince),
                        thread.bInCall ? "in a call since " + zemb::FormatTime(thread.nCallSince)
                                       : "in no call of the library"});
    return section;
}

TopSection Tasks(const std::vector<BlackBox>& vecBox) {
    TopSection section = NewSection("tasks", {{"task", "TASK"},
                                              {"percent", "PROGRESS"},
                                              {"mission", "MISSION"},
                                              {"user", "USER"},
                                              {"text", "TEXT"},
                                              {"process", {}}});
    for (const BlackBox& box : vecBox)
        for (const zemb::BoxTask& task : box.vecTask) {
            const int nFull = std::clamp(task.nPercent, 0, 100) * BAR / 100;
            std::string strBar(static_cast<std::size_t>(nFull), '#');
            strBar.resize(BAR, '.');
            AddRow(section,
                   {task.nTask,
                    Cell(task.nPercent, strBar + " " + std::to_string(task.nPercent) + " %"),
                    task.nMission, task.nUser, task.strText, box.nProcess},
                   {ProcessText(box),
                    "task " + std::to_string(task.nTask) + ", mission " +
                        std::to_string(task.nMission) + ", user " + std::to_string(task.nUser),
                    "since " + zemb::FormatTime(task.nSince),
                    "step " + std::to_string(task.nStep) + " of " + std::to_string(task.nSteps),
                    task.bAbort ? "asked to abort" : "not asked to abort", task.strText});
        }
    return section;
}

}  // namespace

TopPicture PictureOf(const std::vector<BlackBox>& vecBox, const TopWish& wish, long long nNow) {
    TopPicture picture;
    picture.vecSection = {Processes(vecBox, nNow), Grants(vecBox, wish, nNow), BusiestNes(vecBox),
                          LongThreads(vecBox, nNow), Tasks(vecBox)};
    std::uint64_t nRefused = 0;
    for (const BlackBox& box : vecBox)
        nRefused += RefusalsOfLate(box, nNow);
    constexpr const char* SORTS[] = {"age", "operation", "NE"};
    picture.strTotals = zemb::FormatTime(nNow).substr(0, 19) + "  " +
                        Counted(vecBox.size(), "process", "processes") + ", " +
                        Counted(picture.vecSection[1].vecRow.size(), "grant") + " by " +
                        SORTS[static_cast<std::size_t>(wish.eSort)] +
                        (wish.nNe < 0 ? "" : " of NE " + std::to_string(wish.nNe)) + ", " +
                        Counted(picture.vecSection[4].vecRow.size(), "task") + ", " +
                        RateOf(nRefused) + " refusals/s";
    return picture;
}

}  // namespace host
