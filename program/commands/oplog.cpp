#include "check/text_lines.h"
#include "commands/mission.h"
#include "commands/new_file.h"
#include "console/interrupt.h"
#include "sub_commands.h"
#include "view/progress_line.h"
#include "view/record.h"
#include "view/rows.h"
#include "view/texts.h"

#include "tovelkarin/nml_commondataapi.h"
#include "tovelkarin/stringutil.h"
#include "tovelkarin/teoperationlog.h"

#include "zemb/operlog_store.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <memory>

// Shows, follows, exports, verifies and prunes the operation log. Entries go one by one from the
// database to the output, so an export of any size takes little memory; a file that is exported is
// put in its place when it is whole. Texts of entries are escaped, for terminals and for
// spreadsheets.
namespace host {

namespace {

constexpr long long PROGRESS_ROWS = 100000;
constexpr std::size_t LAST_MOST = 1000000000;

const std::vector<std::pair<std::string, int>> KINDS = {{"ok", 0}, {"partly", 1}, {"failed", 2}};

struct OpLogArguments {
    zemb::OperLogFilter filter;
    int nUser = 0;
    std::uint64_t nCmd = 0;
    std::string strResult;
    std::string strObject;
    std::string strText;
    std::size_t nLast = 50;
    std::size_t nCount = 0;
    long long nId = 0;
    std::string strFile;
    std::string strBefore;
    std::string strAddress = "127.0.0.1";
    int nResult = 0;
    bool bCsv = false;
    bool bDryRun = false;
};

std::string KindText(int nKind) {
    for (const auto& [strName, nOf] : KINDS)
        if (nOf == nKind)
            return strName;
    return std::to_string(nKind);
}

std::string ResultText(const zemb::OperLogRow& row) {
    return KindText(row.nResultKind) + (row.nResult == 0 ? "" : " " + Hex(row.nResult));
}

// An entry, in the order of its line of CSV.
const std::vector<Column> ENTRY = {
    {"id", "ID"},           {"time", "TIME"},     {"user", "USER"},     {"address", "ADDRESS"},
    {"command", "COMMAND"}, {"object", "OBJECT"}, {"result", "RESULT"}, {"code", {}},
    {"text", "TEXT"},       {"level", {}},        {"category", {}},     {"process", {}}};

std::vector<Cell> CellsOf(const zemb::OperLogRow& row) {
    return {row.nId,
            row.strTime,
            row.nUserId,
            AddressText(row.nIpAddr),
            row.nCmd,
            row.strObject,
            {KindText(row.nResultKind), ResultText(row)},
            row.nResult,
            row.strDesc,
            row.nLevel,
            row.nCategory,
            row.nProcess};
}

Json::Value RecordOfRow(const zemb::OperLogRow& row) {
    return RecordOf(ENTRY, CellsOf(row));
}

std::string LineText(const zemb::OperLogRow& row) {
    return row.strTime + "  " + std::to_string(row.nId) + "  user " + std::to_string(row.nUserId) +
           " from " + AddressText(row.nIpAddr) + "  command " + std::to_string(row.nCmd) + "  " +
           OnOneLine(row.strObject) + "  " + ResultText(row) + "  " + OnOneLine(row.strDesc);
}

// On one line, as in lists, so that a text can neither look like another entry nor steer a
// terminal.
std::string CsvField(const std::string& strText) {
    std::string strField = OnOneLine(strText);
    // A spreadsheet takes what begins so for a formula.
    if (strField.find_first_of("=+-@") == 0)
        strField.insert(0, 1, '\'');
    if (strField.find_first_of(",\"") == std::string::npos)
        return strField;
    NSTN_util::TransWildcardForSql("\"", "\"\"", strField);
    return "\"" + strField + "\"";
}

std::string CsvHeading() {
    std::string strLine;
    for (const Column& column : ENTRY)
        AppendItem(strLine, column.strKey, ",");
    return strLine;
}

std::string CsvLine(const zemb::OperLogRow& row) {
    std::string strLine;
    for (const Cell& cell : CellsOf(row)) {
        const std::string strValue = cell.value.asString();
        AppendItem(strLine, cell.value.isString() ? CsvField(strValue) : strValue, ",");
    }
    return strLine;
}

void Read(const zemb::OperLogFilter& filter,
          const std::function<bool(const zemb::OperLogRow&)>& take) {
    RequireAccess(Session::RequireState(zemb::OperLogFile()), R_OK);
    std::string strError;
    if (!zemb::ReadOperLog(filter, take, strError))
        throw CommandError(SYSTEM_FAILED, strError);
}

std::string LikeOf(std::string strWildcard) {
    NSTN_util::TransWildcardForSqlLikeNotRepeatEx(strWildcard, false, true);
    return strWildcard;
}

zemb::OperLogFilter FilterOf(const OpLogArguments& args) {
    zemb::OperLogFilter filter = args.filter;
    filter.strObjectLike = LikeOf(args.strObject);
    filter.strDescLike = LikeOf(args.strText);
    for (const auto& [strName, nKind] : KINDS)
        if (strName == args.strResult)
            filter.nResultKind = nKind;
    return filter;
}

int ListLog(const Session& session, const OpLogArguments& args) {
    zemb::OperLogFilter filter = FilterOf(args);
    filter.nLast = args.nLast;
    if (args.bCsv && session.out.IsJson())
        throw CommandError(WRONG_USAGE, "--csv or --json, not both", EName::SUB_COMMAND);
    if (args.bCsv)
        session.out.Say(CsvHeading());
    Rows rows(session.out, ENTRY, "no entries");
    Read(filter, [&](const zemb::OperLogRow& row) {
        if (args.bCsv)
            session.out.Say(CsvLine(row));
        else
            rows.Add(CellsOf(row));
        return true;
    });
    if (!args.bCsv)
        rows.Put();
    return DONE;
}

int ShowEntry(const Session& session, const OpLogArguments& args) {
    zemb::OperLogFilter filter;
    filter.nAfterId = args.nId - 1;
    bool bFound = false;
    Read(filter, [&](const zemb::OperLogRow& row) {
        bFound = row.nId == args.nId;
        if (bFound)
            session.out.Put(
                Table({{"entry", std::to_string(row.nId)},
                       {"time", row.strTime},
                       {"user", std::to_string(row.nUserId)},
                       {"address", AddressText(row.nIpAddr)},
                       {"command", std::to_string(row.nCmd)},
                       {"object", OnOneLine(row.strObject)},
                       {"result", ResultText(row)},
                       {"text", OnOneLine(row.strDesc)},
                       {"level", std::to_string(row.nLevel)},
                       {"category",
                        std::to_string(row.nCategory) +
                            (row.nCategory == PROGRAM_CATEGORY ? " (the program itself)" : "")},
                       {"process", std::to_string(row.nProcess)}}),
                RecordOfRow(row));
        return false;
    });
    if (!bFound)
        throw CommandError(ANSWER_NO, "no entry " + std::to_string(args.nId));
    return DONE;
}

// Shows the last entries and each new one, until it is interrupted or has shown enough.
int FollowLog(const Session& session, const OpLogArguments& args) {
    zemb::OperLogFilter filter = FilterOf(args);
    filter.nLast = args.nLast;
    std::size_t nShown = 0;
    const auto Put = [&](const zemb::OperLogRow& row) {
        session.out.Put(LineText(row), RecordOfRow(row));
        filter.nAfterId = row.nId;
        return ++nShown != args.nCount;
    };
    const Interruptible interruptible;
    ino_t nFile = 0;
    do {
        struct stat status {};
        if (stat(zemb::OperLogFile().c_str(), &status) == 0 && status.st_ino != nFile) {
            if (nFile != 0)
                filter.nAfterId = 0;  // another database took its place
            nFile = status.st_ino;
        }
        Read(filter, Put);
        filter.nLast = 0;
    } while ((args.nCount == 0 || nShown < args.nCount) && !interruptible.Pause());
    return DONE;
}

// Calls put with each line of the export; returns how many entries there were.
long long ExportTo(const OpLogArguments& args, const std::function<void(const std::string&)>& put) {
    const ProgressLine line;
    if (args.bCsv)
        put(CsvHeading() + "\n");
    long long nRows = 0;
    Read(FilterOf(args), [&](const zemb::OperLogRow& row) {
        put((args.bCsv ? CsvLine(row) : JsonLine(RecordOfRow(row))) + "\n");
        if (++nRows % PROGRESS_ROWS == 0)
            line.Show(std::to_string(nRows) + " entries");
        return true;
    });
    return nRows;
}

// To a pipe, a terminal or a device, which stays what it is.
long long ExportInto(const OpLogArguments& args) {
    const int nLinks = IsOpenFile(args.strFile) ? 0 : O_NOFOLLOW;
    const int nFile = open(args.strFile.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY | nLinks);
    if (nFile == -1)
        FailWithErrno(args.strFile);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pFile(fdopen(nFile, "w"), std::fclose);
    if (pFile == nullptr)
        throw CommandError(SYSTEM_FAILED, args.strFile + ": no memory");
    const long long nRows = ExportTo(args, [&](const std::string& strLine) {
        if (std::fputs(strLine.c_str(), pFile.get()) < 0)
            FailWithErrno(args.strFile);
    });
    if (std::fflush(pFile.get()) != 0)
        FailWithErrno(args.strFile);
    return nRows;
}

// To a file that nobody may read who may not read the log.
long long ExportToNew(const OpLogArguments& args) {
    struct stat log {};
    const bool bLog = stat(zemb::OperLogFile().c_str(), &log) == 0;
    NewFile file(args.strFile, bLog ? log.st_mode & 0666 : S_IRUSR | S_IWUSR);
    const long long nRows =
        ExportTo(args, [&](const std::string& strLine) { file.Write(strLine); });
    file.PutInPlace();
    return nRows;
}

int Export(const Session& session, const OpLogArguments& args) {
    namespace fs = std::filesystem;
    if (args.strFile == "-")
        throw CommandError(
            WRONG_USAGE,
            "to standard output: oplog list --last 0 --csv, or --json oplog list --last 0",
            EName::SUB_COMMAND);
    std::error_code error;
    const fs::file_status status = fs::symlink_status(args.strFile, error);
    if (fs::is_symlink(status) && !IsOpenFile(args.strFile))
        throw CommandError(SYSTEM_FAILED,
                           args.strFile + ": a link; name the file that it leads to");
    const bool bNew = !fs::exists(status) || fs::is_regular_file(status);
    const long long nRows = bNew ? ExportToNew(args) : ExportInto(args);
    session.out.Put(
        Counted(static_cast<std::size_t>(nRows), "entry", "entries") + " to " + args.strFile,
        RecordOf({{"file", args.strFile}, {"entries", nRows}}));
    return DONE;
}

int Verify(const Session& session, const OpLogArguments& /*args*/) {
    const std::string strFile = Session::RequireState(zemb::OperLogFile());
    RequireAccess(strFile, R_OK);
    std::error_code error;
    if (!std::filesystem::exists(strFile, error))
        throw CommandError(
            ANSWER_NO, strFile + ": " + (error ? error.message() : "there is no operation log"));
    const std::vector<std::string> vecProblem = zemb::VerifyOperLog();
    for (const std::string& strProblem : vecProblem) {
        session.out.Put(strProblem, RecordOf({{"problem", strProblem}}));
    }
    if (vecProblem.empty()) {
        session.out.Put(strFile + ": whole", RecordOf({{"whole", true}}));
    }
    return vecProblem.empty() ? DONE : ANSWER_NO;
}

int PruneEntries(const Session& session, const OpLogArguments& args) {
    long long nDeleted = 0;
    if (args.bDryRun) {
        zemb::OperLogFilter filter;
        filter.strTo = args.strBefore;
        Read(filter, [&](const zemb::OperLogRow&) { return ++nDeleted > 0; });
    } else {
        RequireAccess(Session::RequireState(zemb::OperLogFile()), R_OK | W_OK);
        std::string strError;
        if (!zemb::PruneOperLog(args.strBefore, nDeleted, strError))
            throw CommandError(SYSTEM_FAILED, strError);
    }
    session.out.Put(Counted(static_cast<std::size_t>(nDeleted), "entry", "entries") +
                        " from before " + args.strBefore +
                        (args.bDryRun ? " would be deleted" : " deleted"),
                    RecordOf({{"entries", nDeleted}, {"deleted", !args.bDryRun}}));
    return DONE;
}

int Write(const Session& session, const OpLogArguments& args) {
    const std::uint32_t nAddress = ReadAddress(args.strAddress);
    NSTN_util::TNCommonLog log;  // a long text becomes several entries
    log.SetOperInfo(args.strText);
    log.SetOperObject(args.strObject);
    if (log.AddOperationLog(args.nCmd, nAddress, args.nUser, args.nResult, 0UL, 0, 0) != 0)
        throw CommandError(WRONG_USAGE, "command 0 is illegal", EName::SUB_COMMAND);
    if (args.nUser == 0 && nAddress == 0)
        throw CommandError(ANSWER_NO, "not written: neither user nor address");
    if (zemb::FlushOperLog() != 0)
        throw CommandError(SYSTEM_FAILED,
                           "not written: " + zemb::OperLogFile() +
                               " cannot be; standard error, or the log of zembedded, tells why");
    session.out.Put("written", RecordOf({{"written", true}}));
    return DONE;
}

std::string CheckTime(const std::string& strTime) {
    return zemb::IsOperLogTime(strTime)
               ? ""
               : "'" + strTime + "' is no time; expected such as 2026-03-01 or 2026-03-01 08:30";
}

void AddFilter(CLI::App& app, OpLogArguments& args) {
    // By functions: an empty number counts as 0 here, and would leave an optional without a value.
    app.add_option_function<std::int32_t>(
        "--user", [&args](const std::int32_t& nUser) { args.filter.nUserId = nUser; },
        "of this user");
    app.add_option_function<std::uint64_t>(
        "--command", [&args](const std::uint64_t& nCmd) { args.filter.nCmd = nCmd; },
        "of this command");
    app.add_option("--from", args.filter.strFrom, "not before this UTC time, or a beginning of it")
        ->check(CheckTime);
    app.add_option("--to", args.filter.strTo, "before this UTC time")->check(CheckTime);
    app.add_option("--object", args.strObject, "object, such as 'NE 5*'; * and ? are wildcards");
    app.add_option("--text", args.strText, "description; * and ? are wildcards");
    app.add_option("--result", args.strResult, "ok, partly or failed")
        ->check(CLI::IsMember({"ok", "partly", "failed"}));
}

}  // namespace

Runner DefineOpLog(CLI::App& app) {
    SubCommands<OpLogArguments> commands(app);
    OpLogArguments& args = commands.Args();
    CLI::App* const pList = commands.Add("list", "the last entries that fit", ListLog);
    AddFilter(*pList, args);
    pList->add_option("--last", args.nLast, "how many at most; 0: all")
        ->check(CLI::Range(std::size_t{0}, LAST_MOST))
        ->capture_default_str();
    pList->add_flag("--csv", args.bCsv, "comma-separated, with a heading");
    CLI::App* const pShow = commands.Add("show", "one entry with all its fields", ShowEntry);
    pShow->add_option("ID", args.nId, "its number")->required()->check(CLI::PositiveNumber);
    CLI::App* const pFollow =
        commands.Add("follow", "the last entries, and new ones as they come", FollowLog);
    AddFilter(*pFollow, args);
    pFollow->add_option("--count", args.nCount, "end after so many");
    CLI::App* const pExport =
        commands.Add("export", "write entries to a file: a JSON object a line", Export);
    pExport->add_option("FILE", args.strFile, "the file; replaced when it is there")->required();
    AddFilter(*pExport, args);
    pExport->add_flag("--csv", args.bCsv, "comma-separated, with a heading");
    commands.Add("verify", "check that the database is whole", Verify);
    CLI::App* const pPrune = commands.Add("prune", "delete old entries", PruneEntries);
    pPrune->add_option("--before", args.strBefore, "UTC time, or a beginning of it: 2026-01")
        ->required()
        ->check(CheckTime);
    pPrune->add_flag("--dry-run", args.bDryRun, "only tell how many");
    CLI::App* const pWrite = commands.Add("write", "write an entry", Write);
    pWrite->add_option("TEXT", args.strText, "description")->required();
    pWrite->add_option("--user", args.nUser, "user");
    pWrite->add_option("--address", args.strAddress, "client")->capture_default_str();
    pWrite->add_option("--command", args.nCmd, "command number")->required();
    pWrite->add_option("--object", args.strObject, "object");
    pWrite->add_option("--result", args.nResult, "result code; 0: success")
        ->check(CLI::NonNegativeNumber);
    return commands.RunGiven();
}

}  // namespace host
