#include "commands/mutex_graph.h"
#include "commands/replay.h"
#include "sub_commands.h"
#include "view/record.h"
#include "view/rows.h"

#include <algorithm>
#include <set>

// Loads table files, and shows them as a matrix or a graph. Both have an entry for each pair of
// operations, so a table that names too many is refused.
namespace host {

namespace {

struct MutexArguments {
    std::vector<std::string> vecFile;
    std::vector<std::string> vecTable;
    bool bDot = false;
};

int LoadTables(Session& session, const MutexArguments& args) {
    session.Start();
    int nStatus = DONE;
    for (const std::string& strFile : args.vecFile) {
        const bool bGood = session.LoadTable(strFile);
        session.out.Put((bGood ? "loaded " : "loaded what is good of ") + strFile,
                        RecordOf({{"file", strFile}, {"good", bGood}}));
        if (!bGood)
            nStatus = ANSWER_NO;
    }
    return nStatus;
}

// A matrix and a graph show pairs: beyond this many operations nobody could read them.
constexpr std::uint64_t SHOWN_AT_MOST = 1000;

std::vector<int> ShownOperations(const MutexFile& table) {
    const std::uint64_t nCount = table.CountOperations();
    if (nCount > SHOWN_AT_MOST)
        throw CommandError(ANSWER_NO, "the table names " + Counted(nCount, "operation") +
                                          "; a matrix or graph shows at most " +
                                          std::to_string(SHOWN_AT_MOST));
    return table.Operations();
}

void PutMatrix(const Output& out, const MutexFile& table) {
    const std::vector<int> vecOper = ShownOperations(table);
    // A record lists what blocks an operation, the table has a column for each.
    std::vector<Column> vecColumn = {
        {"asked", "ASKED \\ RUNNING"}, {"exclusive", {}}, {"blocked_by", {}}};
    for (const int nRunning : vecOper)
        vecColumn.push_back({"", std::to_string(nRunning)});
    Rows rows(out, vecColumn, "the table is empty");
    for (const int nAsked : vecOper) {
        const bool bExclusive = table.ExclusiveRule(nAsked) != nullptr;
        std::vector<Cell> vecCell = {
            {nAsked, std::to_string(nAsked) + (bExclusive ? " excludes all" : "")},
            bExclusive,
            Json::Value(Json::arrayValue)};
        for (const int nRunning : vecOper) {
            const bool bBlocks = table.Blocks(nRunning, nAsked);
            vecCell.emplace_back(bBlocks ? "X" : ".");
            if (bBlocks)
                vecCell[2].value.append(nRunning);
        }
        rows.Add(vecCell);
    }
    rows.Put();
}

void PutGraph(const Output& out, const MutexFile& table) {
    const std::string strDot = MutexGraph(table, ShownOperations(table));
    out.Put(strDot, RecordOf({{"dot", strDot + "\n"}}));
}

// Tells of the files whose bad lines were left out.
int TellBadFiles(const MutexFile& table) {
    std::set<std::string> setFile;
    for (const Finding& finding : table.vecFinding)
        if (finding.eSeverity == ESeverity::ERROR)
            setFile.insert(finding.place.strFile);
    std::for_each(setFile.begin(), setFile.end(), Session::TellBadLines);
    return setFile.empty() ? DONE : ANSWER_NO;
}

int Matrix(Session& session, const MutexArguments& args) {
    MutexFile fromFiles;
    for (const std::string& strFile : args.vecFile)
        fromFiles.Read(strFile);
    const int nStatus = TellBadFiles(fromFiles);
    if (args.vecFile.empty())
        session.Start();
    const MutexFile& table = args.vecFile.empty() ? session.ledger.table : fromFiles;
    if (args.bDot)
        PutGraph(session.out, table);
    else
        PutMatrix(session.out, table);
    return nStatus;
}

int ReplayOn(const Session& session, const MutexArguments& args) {
    return ReplayRecords(session, args.vecFile, args.vecTable);
}

constexpr const char* REPLAY_FOOTER =
    "Tells which requests would be refused that were granted, and the reverse, each with what is\n"
    "in the way. Everything else goes on as it was recorded: what was granted is held until it "
    "was\n"
    "given back, also where the other table would refuse it, and what was refused holds nothing.\n"
    "Behind a gap only what was granted since counts as held.\n\n"
    "Exit status: 0 nothing changes, 1 something does, 2 a file is no record or no table.\n\n"
    "Example:\n  mutex replay day.events --table new.cfg";

}  // namespace

Runner DefineMutex(CLI::App& app) {
    SubCommands<MutexArguments> commands(app);
    MutexArguments& args = commands.Args();
    CLI::App* const pLoad = commands.Add("load", "add table files to what is loaded", LoadTables);
    pLoad->add_option("FILE", args.vecFile, "table files")->required();
    CLI::App* const pMatrix =
        commands.Add("matrix", "show which running operation (column) blocks which (row)", Matrix);
    pMatrix->add_option("FILE", args.vecFile,
                        "table files; none: what is loaded; -: standard input");
    pMatrix->add_flag("--dot", args.bDot, "as a graph for graphviz");
    CLI::App* const pReplay =
        commands.Add("replay", "play what 'events --record' wrote against another table", ReplayOn);
    pReplay->footer(REPLAY_FOOTER);
    pReplay->add_option("FILE", args.vecFile, "records; -: standard input")->required();
    pReplay->add_option("--table", args.vecTable, "the other table; may be given several times")
        ->required()
        ->allow_extra_args(false);
    return commands.RunGiven();
}

}  // namespace host
