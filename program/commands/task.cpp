#include "commands/processes.h"
#include "commands/task_runner.h"
#include "mistake.h"
#include "sub_commands.h"
#include "view/progress_line.h"
#include "view/record.h"
#include "view/rows.h"
#include "view/texts.h"

#include "tovelkarin/tedebugcommandmgr.h"

#include "zemb/error_log.h"
#include "zemb/progress_view.h"

#include <memory>

// Tasks as a server process runs them, in the foreground or stopped behind their first step, with
// their progress and the errors that were reported.
namespace host {

namespace {

TaskRunner& RunnerOf(Session& session) {
    session.Start();
    if (session.pTaskRunner == nullptr)
        session.pTaskRunner = std::make_shared<TaskRunner>();
    return *session.pTaskRunner;
}

struct TaskArguments {
    TaskOrder order;
    int nId = 0;
    std::string strProcess;
};

std::string TitleOf(const TaskOrder& order) {
    return "operation " + std::to_string(order.nOper) + " on NE " + std::to_string(order.nNe);
}

int RunTask(Session& session, const TaskArguments& args) {
    const TaskOrder& order = args.order;
    if (order.nNe == 0)
        WarnOfEveryNe();
    unsigned long nResult = 0;
    {
        const ProgressLine line;
        const zemb::ScopedProgressListener listener(
            [&](const ZembGnlTask*, int nPercent, const std::string& strDesc) {
                if (line.IsShown() && !session.out.IsJson())
                    return line.Show(TitleOf(order) + ": " + std::to_string(nPercent) + " %  " +
                                     OnOneLine(strDesc));
                session.out.Put("  " + std::to_string(nPercent) + " %  " + strDesc,
                                RecordOf({{"percent", nPercent}, {"text", strDesc}}));
            });
        nResult = RunnerOf(session).Run(order);
    }
    session.out.Put(TitleOf(order) + (nResult == 0 ? ": done" : ": ended with " + Hex(nResult)),
                    RecordOf({{"result", nResult}}));
    return nResult == 0 ? DONE : ANSWER_NO;
}

// nOnly: that one, or 0 for all.
int ListTasks(Session& session, int nOnly) {
    Rows rows(session.out,
              {{"task", "TASK"},
               {"operation", "OPERATION"},
               {"ne", "NE"},
               {"user", "USER"},
               {"state", "STATE"}},
              "no tasks");
    for (const TaskRunner::Row& row : RunnerOf(session).All())
        if (nOnly == 0 || row.nId == nOnly)
            rows.Add({row.nId, row.order.nOper, row.order.nNe, row.order.nUser, row.strState});
    rows.Put();
    return DONE;
}

int ShowAllTasks(Session& session, const TaskArguments& args) {
    if (MeansThisProcess(session, args.strProcess))
        return ListTasks(session, 0);
    return ShowProcesses(session, args.strProcess,
                         [&](const zemb::BlackBox& box) { ShowTasks(session.out, box); });
}

int StartTask(Session& session, const TaskArguments& args) {
    const TaskOrder& order = args.order;
    if (order.nNe == 0)
        WarnOfEveryNe();
    TaskRunner& runner = RunnerOf(session);
    const int nId = runner.Start(order);
    for (const TaskRunner::Row& row : runner.All())
        if (row.nId == nId && row.strState == "running")
            session.ledger.AddTask(
                nId, order.nOper, {order.nNe, 0, 0},
                "task " + std::to_string(nId) + " of user " + std::to_string(order.nUser));
    return ListTasks(session, nId);
}

// END brings a task to its end, if it runs.
template <bool (TaskRunner::*END)(int)>
int EndTask(Session& session, const TaskArguments& args) {
    if (!(RunnerOf(session).*END)(args.nId))
        throw CommandError(ANSWER_NO, "task " + std::to_string(args.nId) + " does not run");
    session.ledger.RemoveTask(args.nId);
    return ListTasks(session, args.nId);
}

int ShowProgress(const Session& session) {
    Rows rows(session.out,
              {{"mission", "MISSION"},
               {"percent", "PERCENT"},
               {"scale", "SCALE"},
               {"abort", ""},
               {"text", "TEXT"}},
              "no missions");
    for (const zemb::TaskProgress& progress : zemb::AllProgress())
        for (const NSTE_util::ClientMissionID& mission : progress.vecMission)
            rows.Add({mission.nMission,
                      progress.nPercent,
                      {progress.fScale, std::to_string(static_cast<long>(progress.fScale))},
                      {progress.bAbort, progress.bAbort ? "to abort" : ""},
                      progress.strDesc});
    rows.Put();
    return DONE;
}

int ShowErrors(const Session& session) {
    Rows rows(session.out,
              {{"time", "TIME"},
               {"user", "USER"},
               {"task", {}},
               {"code", "CODE"},
               {"numbers", "NUMBERS"},
               {"text", "TEXT"},
               {"second_text", {}}},
              "no errors");
    for (const zemb::OperError& error : zemb::OperErrors()) {
        Json::Value numbers;
        std::string strNumbers;
        for (const int nValue : error.listValue) {
            numbers.append(nValue);
            AppendItem(strNumbers, std::to_string(nValue), ",");
        }
        const std::string strText =
            error.strFirst + (error.strSecond.empty() ? "" : "; ") + error.strSecond;
        rows.Add({error.strTime,
                  error.nUserId,
                  error.nTaskId,
                  error.nCode ? Cell(*error.nCode, Hex(*error.nCode)) : Cell(),
                  {numbers, strNumbers},
                  {error.strFirst, OnOneLine(strText)},
                  error.strSecond});
    }
    rows.Put();
    return DONE;
}

}  // namespace

Runner DefineTask(CLI::App& app) {
    SubCommands<TaskArguments> commands(app);
    TaskOrder& order = commands.Args().order;
    CLI::App* const pRun =
        commands.Add("run", "one operation on an NE, from the command to the log entry", RunTask);
    CLI::App* const pStart = commands.Add(
        "start", "the same in the background, stopped behind its first step", StartTask);
    for (CLI::App* const pOne : {pRun, pStart}) {
        pOne->add_option("OPERATION", order.nOper, "operation number, the command")->required();
        pOne->add_option("NE", order.nNe, "the NE")->required();
        pOne->add_option("--user", order.nUser, "whose work it is")->capture_default_str();
        pOne->add_option("--steps", order.nSteps, "steps of its progress")
            ->check(CLI::Range(1, 1000))
            ->capture_default_str();
        pOne->add_flag("--fail", order.bFail, "the NE does not answer in time");
    }
    AddProcessOption(*commands.Add("list",
                                   "what was started in the background, or the tasks of "
                                   "another process",
                                   ShowAllTasks),
                     commands.Args().strProcess);
    CLI::App* const pAbort =
        commands.Add("abort", "ask a task to stop, and wait for it", EndTask<&TaskRunner::Abort>);
    CLI::App* const pFinish =
        commands.Add("finish", "let a task go on to its end", EndTask<&TaskRunner::GoOn>);
    for (CLI::App* const pOne : {pAbort, pFinish})
        pOne->add_option("TASK", commands.Args().nId, "its number")->required();
    return commands.RunGiven();
}

Runner DefineProgress(CLI::App& app) {
    const auto pProcess = std::make_shared<std::string>();
    AddProcessOption(app, *pProcess);
    return [pProcess](Session& session) {
        if (MeansThisProcess(session, *pProcess))
            return ShowProgress(session);
        return ShowProcesses(session, *pProcess,
                             [&](const zemb::BlackBox& box) { ShowTasks(session.out, box); });
    };
}

Runner DefineDebugCmd(CLI::App& app) {
    const auto pText = std::make_shared<std::string>();
    app.add_option("COMMAND", *pText, "the command")->required();
    return [pText](Session& session) {
        const std::string strAnswer = NSTN_util::TEDebugCommandMgr::Instance()->Excute(*pText);
        session.out.Put(
            strAnswer.empty() ? "(no answer: no debug command is ever registered)" : strAnswer,
            RecordOf({{"answer", strAnswer}}));
        return DONE;
    };
}

Runner DefineErrors(CLI::App& app) {
    const auto pClear = std::make_shared<bool>(false);
    const auto pProcess = std::make_shared<std::string>();
    CLI::Option* const pForget = app.add_flag("--clear", *pClear, "forget them");
    AddProcessOption(app, *pProcess)->excludes(pForget);
    return [pClear, pProcess](Session& session) {
        if (!*pClear && MeansThisProcess(session, *pProcess))
            return ShowErrors(session);
        if (!*pClear)
            return ShowProcesses(session, *pProcess,
                                 [&](const zemb::BlackBox& box) { ShowErrors(session.out, box); });
        RequireHost(session, "errors --clear");
        zemb::ClearOperErrors();
        return DONE;
    };
}

}  // namespace host
