#include "check/text_lines.h"
#include "commands/asn_json.h"
#include "commands/processes.h"
#include "sub_commands.h"
#include "view/record.h"
#include "view/rows.h"
#include "view/texts.h"

#include "tovelkarin/nml_commondataapi.h"
#include "tovelkarin/stringutil.h"
#include "tovelkarin/tnthreadmgr.h"
#include "tovelkarin/tntraceif.h"

#include "zemb/asn.h"
#include "zemb/event.h"
#include "zemb/operlog.h"

#include <cstring>
#include <memory>

// Threads, traces of messages, and events, as a server process meets them. While such a command
// runs the lines that the library logs are shown as they come.
namespace host {

namespace {

using NSTN_util::TNThreadMgr;

constexpr std::int64_t LONG_SECONDS = 300;

struct ThreadsArguments {
    std::string strLabel;
    std::string strProcess;
    int nSeconds = 0;
};

int ShowOwnThreads(const Session& session) {
    Rows rows(session.out,
              {{"thread", {}},
               {"label", "LABEL"},
               {"nesting", "NESTING"},
               {"seconds", "SECONDS"},
               {"long", ""}},
              "no thread is registered");
    for (const auto& [nThreadId, info] : TNThreadMgr::Instance()->GetAllInfo()) {
        const std::int64_t nSeconds = zemb::NowSeconds() - info.m_nStartTime;
        const bool bLong = nSeconds > LONG_SECONDS;
        rows.Add(
            {nThreadId, info.m_strLable, info.m_nUseCount, nSeconds, {bLong, bLong ? "long" : ""}});
    }
    rows.Put();
    return DONE;
}

int ShowAnyThreads(Session& session, const ThreadsArguments& args) {
    if (MeansThisProcess(session, args.strProcess))
        return ShowOwnThreads(session);
    return ShowProcesses(session, args.strProcess,
                         [&](const zemb::BlackBox& box) { ShowThreads(session.out, box); });
}

// Runs fn while the log lines it writes are shown.
template <class Fn>
void WithLines(Session& session, Fn fn) {
    session.Start();
    if (session.IsEchoing())
        return fn();
    const zemb::ScopedDebugSink sink(
        [&](const zemb::DebugLine& line) {
            session.out.Put(line.strText, RecordOf({{"module", line.strModule},
                                                    {"kind", line.strKind},
                                                    {"text", line.strText}}));
        },
        true);
    fn();
}

int EnterThread(Session& session, const ThreadsArguments& args) {
    WithLines(session, [&] { TNThreadMgr::Instance()->Regist_Thread(args.strLabel); });
    return DONE;
}

int LeaveThread(Session& session, const ThreadsArguments& /*args*/) {
    WithLines(session, [] { TNThreadMgr::Instance()->UnRegist_Thread(); });
    return DONE;
}

int WaitForThreads(Session& session, const ThreadsArguments& args) {
    bool bEmpty = false;
    WithLines(session, [&] { bEmpty = TNThreadMgr::Instance()->WaitingThreadExit(args.nSeconds); });
    return bEmpty ? DONE : ANSWER_NO;
}

struct AsnArguments {
    std::string strFile;
    int nMode = 0;
    int nOption = 0;
    bool bText = false;
};

int TraceAsn(Session& session, const AsnArguments& args) {
    const std::shared_ptr<const AsnType> pValue = ReadAsn(args.strFile, ReadText(args.strFile));
    if (args.bText) {
        Json::Value record;
        const std::string strText = NSTE_util::toString(*pValue);
        record["text"] = strText;
        session.out.Put(strText.substr(0, strText.size() - 1), record);
        return DONE;
    }
    int nResult = 0;
    WithLines(session,
              [&] { nResult = NSTN_util::AdvAsnTrace(pValue.get(), args.nMode, args.nOption); });
    if (nResult != 0)
        throw CommandError(SYSTEM_FAILED, args.strFile + ": the trace failed");
    return DONE;
}

struct EventArguments {
    int nEvent = 0;
    ZembLogInfo info;
    std::string strText;
    std::string strObject;
    std::string strAddress = "127.0.0.1";
};

template <std::size_t SIZE>
void Copy(char (&szField)[SIZE], const std::string& strText) {
    if (strText.size() >= SIZE)
        throw CommandError(WRONG_USAGE,
                           "a text of " + Counted(strText.size(), "byte") + "; at most " +
                               std::to_string(SIZE - 1),
                           EName::COMMAND);
    std::memcpy(szField, strText.data(), strText.size());
}

int SendEvent(const Session& session, EventArguments& args, bool bData) {
    args.info.nIpAddr = ReadAddress(args.strAddress);
    Copy(args.info.szDesc, args.strText);
    Copy(args.info.szObject, args.strObject);
    const int nHandled =
        TEEventMgr::Instance()->SendEvent(args.nEvent, bData ? &args.info : nullptr);
    session.out.Put("event " + std::to_string(args.nEvent) + ": " +
                        Counted(static_cast<std::size_t>(nHandled), "handler") + " answered 0",
                    RecordOf({{"event", args.nEvent}, {"handled", nHandled}}));
    return nHandled == 0 ? ANSWER_NO : DONE;
}

}  // namespace

Runner DefineThreads(CLI::App& app) {
    SubCommands<ThreadsArguments> commands(app);
    AddProcessOption(app, commands.Args().strProcess);
    commands.Add("enter", "register the thread of the commands", EnterThread)
        ->add_option("LABEL", commands.Args().strLabel, "what it is busy with")
        ->required();
    commands.Add("leave", "take one registration back", LeaveThread);
    commands.Add("wait", "wait until no thread is registered", WaitForThreads)
        ->add_option("SECONDS", commands.Args().nSeconds, "at most; negative: 360")
        ->required();
    return commands.RunGivenOr(ShowAnyThreads);
}

Runner DefineAsn(CLI::App& app) {
    const auto pArgs = std::make_shared<AsnArguments>();
    app.add_option("FILE", pArgs->strFile,
                   "a value as JSON (docs/formats/asn-trace.md); -: standard input")
        ->required();
    app.add_option("--mode", pArgs->nMode,
                   "0 by the switch, 1 full, 2 summary, 3 and 4 in sections, -1 in sections when "
                   "the switch is 3")
        ->capture_default_str();
    app.add_option("--option", pArgs->nOption, "other than 0: without any indentation")
        ->capture_default_str();
    app.add_flag("--text", pArgs->bText, "only show the value's text");
    return [pArgs](Session& session) { return TraceAsn(session, *pArgs); };
}

Runner DefineEvent(CLI::App& app) {
    const auto pArgs = std::make_shared<EventArguments>();
    app.add_option("NUMBER", pArgs->nEvent, "the event; 51 writes an operation-log entry")
        ->required();
    CLI::Option* const pText = app.add_option("TEXT", pArgs->strText, "description of the entry");
    app.add_option("--user", pArgs->info.nUserId, "user of the entry");
    app.add_option("--address", pArgs->strAddress, "client of the entry")->capture_default_str();
    app.add_option("--command", pArgs->info.nCmd, "command of the entry");
    app.add_option("--object", pArgs->strObject, "object of the entry");
    return [pArgs, pText](Session& session) {
        return SendEvent(session, *pArgs, pText->count() != 0);
    };
}

}  // namespace host
