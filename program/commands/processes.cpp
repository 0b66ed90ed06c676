#include "commands/processes.h"

#include "base/item_line.h"
#include "base/root_files.h"
#include "check/lang_file.h"
#include "check/text_lines.h"
#include "commands/event_record.h"
#include "commands/ledger.h"
#include "commands/refusal_text.h"
#include "console/interrupt.h"
#include "files/loaded_file.h"
#include "sub_commands.h"
#include "view/rows.h"

#include "zemb/settings.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <memory>
#include <optional>

// Looks into other processes through their black boxes: who is there, what each holds and does,
// what happened last, why a request would be refused, what a dead one left.
namespace host {

namespace {

using zemb::BlackBox;
using zemb::BoxSummary;
using zemb::EBoxState;

constexpr const char* STATE_NAMES[] = {"alive", "stopped", "died"};
constexpr const char* ALL = "all";
constexpr long long MINUTE = 60 * SECOND;
constexpr std::size_t POST_MORTEM_EVENTS = 50;

// Who may not look must not read that nobody is there.
std::vector<BoxSummary> Boxes() {
    const std::string strState = zemb::GetStatePath();
    RequireAccess(strState + "/run", R_OK | X_OK);
    return zemb::ListBlackBoxes(strState);
}

bool IsNumber(const std::string& strText) {
    return !strText.empty() &&
           std::all_of(strText.begin(), strText.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Those that a name or number means; the living ones, or else all of that name.
std::vector<BoxSummary> Meant(const std::string& strProcess) {
    std::vector<BoxSummary> vecMeant;
    for (const BoxSummary& box : Boxes()) {
        if (!box.strError.empty())
            continue;
        const bool bNamed = IsNumber(strProcess) ? std::to_string(box.nProcess) == strProcess
                                                 : box.strProgram == strProcess;
        if (strProcess.empty() || strProcess == ALL ? box.eState != EBoxState::DIED : bNamed)
            vecMeant.push_back(box);
    }
    const auto IsLiving = [](const BoxSummary& box) { return box.eState != EBoxState::DIED; };
    if (std::any_of(vecMeant.begin(), vecMeant.end(), IsLiving))
        vecMeant.erase(std::remove_if(vecMeant.begin(), vecMeant.end(),
                                      [&](const BoxSummary& box) { return !IsLiving(box); }),
                       vecMeant.end());
    return vecMeant;
}

BlackBox Read(const BoxSummary& summary) {
    BlackBox box;
    std::string strError;
    if (!zemb::ReadBlackBox(summary.strFile, box, strError))
        throw CommandError(SYSTEM_FAILED, strError);
    return box;
}

std::string NoneText(const std::string& strProcess) {
    const std::string strState = zemb::GetStatePath();
    const std::string strWhere =
        strState.empty() ? "there is no state folder" : "in the state folder " + strState;
    if (!strProcess.empty() && strProcess != ALL)
        return "no process " + strProcess + " " + strWhere + "; 'ps' lists them";
    std::string strText =
        "no server process runs " + strWhere + ", and this program itself holds nothing";
    for (const BoxSummary& box : Boxes())
        if (!box.strError.empty())
            strText += "\n  " + box.strFile + ": " + box.strError;
    return strText;
}

std::uint64_t RefusalsOfLastMinute(const BlackBox& box) {
    const long long nFrom = zemb::NowMicroseconds() - MINUTE;
    return static_cast<std::uint64_t>(
        std::count_if(box.vecEvent.begin(), box.vecEvent.end(), [&](const zemb::BoxEvent& event) {
            return event.eKind == zemb::EBoxEvent::REFUSED && event.nPlace <= 1 &&
                   event.nTime >= nFrom;
        }));
}

// One row of the list of processes.
void AddProcess(Rows& rows, const BoxSummary& summary) {
    BlackBox box;
    std::string strError = summary.strError;
    if (strError.empty() && !zemb::ReadBlackBox(summary.strFile, box, strError))
        strError.erase(0, summary.strFile.size() + 2);
    if (!strError.empty())
        return rows.Add({summary.nProcess == 0 ? Cell() : Cell(summary.nProcess), Cell(), Cell(),
                         Cell(), Cell(), Cell(), Cell(), Cell(), Cell(),
                         Cell(summary.strFile + ": " + strError)});
    std::optional<long long> nOldest;
    for (const std::vector<zemb::BoxHeld>* const pHeld : {&box.vecHeld, &box.vecTrail})
        if (!pHeld->empty())  // the longest held first
            nOldest = std::min(nOldest.value_or(pHeld->front().nSince), pHeld->front().nSince);
    const auto nThreads = static_cast<std::uint64_t>(
        std::count_if(box.vecThread.begin(), box.vecThread.end(),
                      [](const zemb::BoxThread& thread) { return thread.nNesting != 0; }));
    rows.Add({box.nProcess, box.strProgram, zemb::FormatTime(box.nBegun),
              STATE_NAMES[static_cast<std::size_t>(box.eState)], HeldCount(box), nThreads,
              box.vecTask.size() + box.nTasksNotShown, RefusalsOfLastMinute(box),
              nOldest
                  ? Cell(zemb::FormatTime(*nOldest), AgeText(zemb::NowMicroseconds() - *nOldest))
                  : Cell(),
              Cell()});
}

int ListProcesses(const Session& session) {
    Rows rows(session.out,
              {{"process", "PROCESS"},
               {"program", "PROGRAM"},
               {"since", "SINCE"},
               {"state", "STATE"},
               {"held", "HELD"},
               {"threads", "THREADS"},
               {"tasks", "TASKS"},
               {"refused_last_minute", "REFUSED/MIN"},
               {"oldest_grant", "OLDEST GRANT"},
               {"error", ""}},
              "no processes");
    const std::vector<BoxSummary> vecBox = Boxes();
    for (const BoxSummary& box : vecBox)
        AddProcess(rows, box);
    rows.Put();
    return vecBox.empty() ? ANSWER_NO : DONE;
}

// "90", "90s", "5m", "2h", "1d" as microseconds.
long long ReadSpan(const std::string& strText) {
    long long nNumber = 0;
    const char* const pEnd = strText.data() + strText.size();
    const auto [pUnit, error] = std::from_chars(strText.data(), pEnd, nNumber);
    const std::string strUnit(pUnit, static_cast<std::size_t>(pEnd - pUnit));
    constexpr std::pair<const char*, long long> UNITS[] = {
        {"", 1}, {"s", 1}, {"m", 60}, {"h", 3600}, {"d", 86400}};
    for (const auto& [szUnit, nSeconds] : UNITS)
        if (error == std::errc() && strUnit == szUnit && nNumber >= 0 &&
            nNumber < 1000000000 / nSeconds)
            return nNumber * nSeconds * SECOND;
    throw CommandError(WRONG_USAGE,
                       "'" + strText + "' is no time; expected a number with s, m, h or d",
                       EName::COMMAND);
}

struct EventsArguments {
    std::string strProcess;
    std::string strSince;
    std::string strFile;
    int nNe = -1;
    std::size_t nLast = 100;
    bool bRefused = false;
    bool bFollow = false;
};

class EventFilter {
public:
    explicit EventFilter(const EventsArguments& args)
        : m_nNe(args.nNe),
          m_bRefused(args.bRefused),
          m_nFrom(args.strSince.empty() ? 0 : zemb::NowMicroseconds() - ReadSpan(args.strSince)) {}

    bool Takes(const zemb::BoxEvent& event) const {
        return event.nTime >= m_nFrom &&
               (m_nNe < 0 ||
                (zemb::IsOfOperation(event) && event.nPlace != 0 && event.obj.nNeId == m_nNe)) &&
               (!m_bRefused || event.eKind == zemb::EBoxEvent::REFUSED);
    }

private:
    const int m_nNe;
    const bool m_bRefused;
    const long long m_nFrom;
};

BlackBox TheOnlyBox(const std::string& strProcess, const char* szWhat) {
    std::vector<BlackBox> vecBox = ChosenBoxes(strProcess);
    if (vecBox.size() > 1)
        throw CommandError(WRONG_USAGE, std::string(szWhat) + " takes one process", EName::COMMAND);
    return std::move(vecBox.front());
}

// Shows events from these numbers on, of operations and of others, as they come, until Ctrl-C or
// until the process has gone.
template <class Put, class PutGap>
void FollowEvents(BlackBox box, std::uint64_t nNextEvent, std::uint64_t nNextOther,
                  const EventFilter& filter, Put fnPut, PutGap fnPutGap) {
    const Interruptible interruptible;
    zemb::BoxWatch watch(box.strFile);
    for (bool bLast = false; !bLast;) {
        bLast = interruptible.Pause() || box.eState == EBoxState::DIED || !watch.IsInPlace();
        std::string strError;
        if (!watch.Read(box, strError))
            throw CommandError(SYSTEM_FAILED, strError);
        for (const zemb::BoxEvent& event : box.vecEvent) {
            std::uint64_t& nNext = zemb::IsOfOperation(event) ? nNextEvent : nNextOther;
            if (event.nNumber < nNext)
                continue;
            if (event.nNumber > nNext)
                fnPutGap(event, event.nNumber - nNext);
            nNext = event.nNumber + 1;
            if (filter.Takes(event))
                fnPut(event);
        }
    }
}

int RecordEvents(const EventsArguments& args) {
    const BlackBox box = TheOnlyBox(args.strProcess, "--record");
    EventRecordWriter record(args.strFile, box);
    const EventFilter all({});
    FollowEvents(
        box, box.nEventBefore, box.nOtherBefore, all,
        [&](const zemb::BoxEvent& event) { record.Put(RecordOfEvent(event)); },
        [&](const zemb::BoxEvent& next, std::uint64_t nGap) {
            if (zemb::IsOfOperation(next))  // who replays them counts no others
                record.PutGap(nGap);
        });
    return DONE;
}

int Events(const Session& session, const EventsArguments& args) {
    if (!args.strFile.empty())
        return RecordEvents(args);
    const EventFilter filter(args);
    const auto Takes = [&](const zemb::BoxEvent& event) { return filter.Takes(event); };
    if (!args.bFollow)
        return ShowProcesses(session, args.strProcess, [&](const BlackBox& box) {
            ShowEvents(session.out, box, args.nLast, Takes);
        });
    const BlackBox box = TheOnlyBox(args.strProcess, "--follow");
    session.out.Say(ProcessText(box));
    ShowEvents(session.out, box, args.nLast, Takes);
    FollowEvents(
        box, box.nNextEvent, box.nNextOther, filter,
        [&](const zemb::BoxEvent& event) {
            Json::Value record = RecordOfEvent(event);
            record["process"] = box.nProcess;
            session.out.Put(LineOfEvent(event), record);
        },
        [&](const zemb::BoxEvent&, std::uint64_t nGap) {
            session.out.Say("... " + Counted(nGap, "event") + " ran over before they were read");
        });
    return DONE;
}

struct WhyArguments {
    std::string strProcess;
    int nOper = 0;
    std::vector<std::string> vecObject;
};

// The book of another process: its tables, if the files are still what it loaded, and what it
// holds.
void FillLedger(const BlackBox& box, Ledger& ledger) {
    for (const auto& [strKind, strName, strValue] : box.vecFact)
        if (strKind == "table") {
            ledger.table.Read(strName);
            NSTN_util::ContentMark mark;
            mark.Add(ReadText(strName));
            if (mark.Text() != strValue)
                throw CommandError(ANSWER_NO, strName +
                                                  ": was changed since the process loaded it, so "
                                                  "nobody can say what its rules are");
        }
    for (const zemb::BoxHeld& held : box.vecHeld) {
        std::list<NSTE_util::TEOperObject> listObj;
        if (!held.bNoObject)
            listObj.push_back({held.obj.nNeId, held.obj.nObjId, held.obj.lSubObjId});
        ledger.AddSince(held.nOper, std::move(listObj), HolderText(held), held.nSince);
    }
}

// What users are shown for the code, in the language of this process; "" for nothing.
std::string TextOfCode(const BlackBox& box, const Ledger& ledger, const Refusal& refusal) {
    if (!refusal.code)
        return "";
    const std::string strFolder =
        box.strRoot + base::LANG_UNDER_ROOT + Zembcommon::ZembMsg::instance()->getLanguage() + "/";
    std::error_code ignored;
    if (!std::filesystem::is_directory(strFolder, ignored))
        return "";
    const LangFolder folder(strFolder);
    const auto nCode =
        static_cast<unsigned long>(ledger.table.mapCode.at(refusal.pGrant->nOper).nCode);
    const auto it = folder.mapKey.find("refusal." + Hex(nCode).substr(2));
    return it == folder.mapKey.end() ? ""
                                     : std::string(base::ReadItemLine(it->second.strText).strValue);
}

int Why(const Session& session, const WhyArguments& args) {
    const BlackBox box = TheOnlyBox(args.strProcess, "it");
    std::list<NSTE_util::TEOperObject> listObj;
    for (const std::string& strObject : args.vecObject)
        listObj.push_back(ParseObject(strObject));
    if (listObj.empty())
        listObj.push_back({});
    Ledger ledger;
    FillLedger(box, ledger);
    session.out.Say(ProcessText(box));
    const std::optional<Refusal> refusal = ledger.Explain(args.nOper, listObj);
    Json::Value record;
    record["process"] = box.nProcess;
    record["operation"] = args.nOper;
    record["granted"] = !refusal.has_value();
    const std::string strWhat = RequestText(args.nOper, ObjectsText(listObj));
    if (!refusal) {
        session.out.Put(strWhat + " would be granted now", record);
        return DONE;
    }
    std::string strText = strWhat + " would be refused now" + RefusalText(*refusal, record);
    const std::string strForUsers = TextOfCode(box, ledger, *refusal);
    if (!strForUsers.empty()) {
        record["text"] = strForUsers;
        strText += "\n  users read: " + strForUsers;
    }
    session.out.Put(strText, record);
    return ANSWER_NO;
}

struct PostMortemArguments {
    std::string strProcess;
};

// The one that is meant, or the one that died last.
BlackBox DeadBox(const std::string& strProcess) {
    std::optional<BoxSummary> found;
    for (const BoxSummary& box : Boxes())
        if (box.strError.empty() && box.eState == EBoxState::DIED &&
            (strProcess.empty() || std::to_string(box.nProcess) == strProcess) &&
            (!found || box.nBegun >= found->nBegun))
            found = box;
    if (!found)
        throw CommandError(ANSWER_NO, strProcess.empty()
                                          ? "no process of this state folder has left a box behind"
                                          : "process " + strProcess + " has left no box behind");
    return Read(*found);
}

int PostMortem(const Session& session, const PostMortemArguments& args) {
    const BlackBox box = DeadBox(args.strProcess);
    const Output& out = session.out;
    out.Say(ProcessText(box) + "\n\nIt held:");
    ShowHeld(out, box);
    out.Say("\nIts threads:");
    ShowThreads(out, box);
    out.Say("\nIts tasks:");
    ShowTasks(out, box);
    out.Say("\nErrors:");
    ShowErrors(out, box);
    out.Say("\nIts last events:");
    ShowEvents(out, box, POST_MORTEM_EVENTS, [](const zemb::BoxEvent&) { return true; });
    return DONE;
}

}  // namespace

CLI::Option* AddProcessOption(CLI::App& app, std::string& strProcess) {
    return app.add_option("--process", strProcess,
                          "another process: its number or its name, or 'all'; 'ps' lists them");
}

bool MeansThisProcess(const Session& session, const std::string& strProcess) {
    return session.bHosting && strProcess.empty();
}

std::string AgeText(long long nMicroseconds) {
    const long long nSeconds = std::max(nMicroseconds, 0LL) / SECOND;
    const auto Two = [](long long nMost, const char* szMost, long long nRest, const char* szRest) {
        return std::to_string(nMost) + szMost + std::to_string(nRest) + szRest;
    };
    if (nSeconds < 60)
        return std::to_string(nSeconds) + " s";
    if (nSeconds < 3600)
        return Two(nSeconds / 60, " min ", nSeconds % 60, " s");
    if (nSeconds < 86400)
        return Two(nSeconds / 3600, " h ", nSeconds % 3600 / 60, " min");
    return Two(nSeconds / 86400, " d ", nSeconds % 86400 / 3600, " h");
}

std::string ProcessText(const BoxSummary& box) {
    constexpr const char* TEXTS[] = {", alive", ", stopped by a signal", ", which died"};
    return "process " + std::to_string(box.nProcess) + " (" + OnOneLine(box.strProgram) +
           "), begun " + zemb::FormatTime(box.nBegun) + TEXTS[static_cast<std::size_t>(box.eState)];
}

std::vector<BlackBox> ChosenBoxes(const std::string& strProcess) {
    const std::vector<BoxSummary> vecMeant = Meant(strProcess);
    if (vecMeant.empty())
        throw CommandError(ANSWER_NO, NoneText(strProcess));
    if (vecMeant.size() > 1 && strProcess != ALL) {
        std::string strText = "several processes are meant; say --process and a number, or all:";
        for (const BoxSummary& box : vecMeant)
            strText += "\n  " + ProcessText(box);
        throw CommandError(WRONG_USAGE, strText);
    }
    std::vector<BlackBox> vecBox;
    vecBox.reserve(vecMeant.size());
    for (const BoxSummary& box : vecMeant)
        if (strProcess != ALL || std::filesystem::exists(box.strFile))  // not gone meanwhile
            vecBox.push_back(Read(box));
    return vecBox;
}

bool NobodyLives() {
    return Meant("").empty();
}

int ShowProcesses(const Session& session, const std::string& strProcess,
                  const std::function<void(const BlackBox& box)>& fnShow) {
    for (const BlackBox& box : ChosenBoxes(strProcess)) {
        session.out.Say(ProcessText(box));
        fnShow(box);
    }
    return DONE;
}

Runner DefinePs(CLI::App& /*app*/) {
    return [](Session& session) { return ListProcesses(session); };
}

Runner DefineEvents(CLI::App& app) {
    const auto pArgs = std::make_shared<EventsArguments>();
    AddProcessOption(app, pArgs->strProcess);
    app.add_option("--since", pArgs->strSince, "of the last 90s, 5m, 2h or 1d");
    app.add_option("--ne", pArgs->nNe, "of an NE")->check(CLI::NonNegativeNumber);
    app.add_option("--last", pArgs->nLast, "at most so many")->capture_default_str();
    app.add_flag("--refused", pArgs->bRefused, "refusals only");
    CLI::Option* const pFollow =
        app.add_flag("--follow", pArgs->bFollow, "then show events as they come");
    app.add_option("--record", pArgs->strFile,
                   "append to a file what is held and then what happens, until Ctrl-C or the end "
                   "of the process; 'mutex replay' reads it")
        ->excludes(pFollow);
    return [pArgs](Session& session) { return Events(session, *pArgs); };
}

Runner DefineCounters(CLI::App& app) {
    const auto pProcess = std::make_shared<std::string>();
    AddProcessOption(app, *pProcess);
    return [pProcess](Session& session) {
        return ShowProcesses(session, *pProcess,
                             [&](const BlackBox& box) { ShowCounters(session.out, box); });
    };
}

Runner DefineWhy(CLI::App& app) {
    const auto pArgs = std::make_shared<WhyArguments>();
    AddProcessOption(app, pArgs->strProcess);
    app.add_option("OPERATION", pArgs->nOper, "operation number")->required();
    app.add_option("OBJECT", pArgs->vecObject,
                   "NE, NE/object or NE/object/sub-object; 0: all; none: everything");
    return [pArgs](Session& session) { return Why(session, *pArgs); };
}

Runner DefinePostMortem(CLI::App& app) {
    const auto pArgs = std::make_shared<PostMortemArguments>();
    app.add_option("PROCESS", pArgs->strProcess, "its number; none: the one that began last");
    return [pArgs](Session& session) { return PostMortem(session, *pArgs); };
}

}  // namespace host
