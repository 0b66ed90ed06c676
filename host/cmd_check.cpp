#include "command.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>

namespace host {

namespace {

struct CheckArguments {
    std::vector<std::string> vecFile;
    bool bStrict = false;
};

void PutFinding(const Output& out, const Finding& finding) {
    const char* const szSeverity = finding.eSeverity == ESeverity::ERROR ? "error" : "warning";
    Json::Value record;
    record["file"] = finding.place.strFile;
    record["line"] = finding.place.nLine;
    record["column"] = finding.place.nColumn;
    record["severity"] = szSeverity;
    record["what"] = finding.strWhat;
    if (!finding.strExpected.empty())
        record["expected"] = finding.strExpected;
    out.Put(finding.place.Text() + ":" + std::to_string(finding.place.nColumn) + ": " + szSeverity +
                ": " + finding.strWhat +
                (finding.strExpected.empty() ? "" : "; expected " + finding.strExpected),
            record);
}

int CheckMutex(const Session& session, const CheckArguments& args) {
    MutexFile table;
    for (const std::string& strFile : args.vecFile)
        if (!table.Read(strFile))
            throw CommandError(SYSTEM_FAILED, strFile + ": the table file cannot be read");
    table.CheckWhole();
    std::size_t nErrors = 0;
    for (const Finding& finding : table.vecFinding) {
        PutFinding(session.out, finding);
        if (finding.eSeverity == ESeverity::ERROR)
            ++nErrors;
    }
    const std::size_t nWarnings = table.vecFinding.size() - nErrors;
    session.out.Say(Counted(nErrors, "error") + ", " + Counted(nWarnings, "warning") + " in " +
                    Counted(args.vecFile.size(), "file"));
    return nErrors > 0 || (args.bStrict && nWarnings > 0) ? ANSWER_NO : DONE;
}

}  // namespace

Runner DefineCheck(CLI::App& app) {
    const auto pArgs = std::make_shared<CheckArguments>();
    CLI::App* const pMutex = app.add_subcommand(
        "mutex", "table files of conflicting operations; several are one table, as if loaded");
    pMutex->add_option("FILE", pArgs->vecFile, "table files")->required();
    pMutex->add_flag("--strict", pArgs->bStrict, "warnings count as faults");
    app.require_subcommand(1);
    return [pArgs](Session& session) { return CheckMutex(session, *pArgs); };
}

}  // namespace host
