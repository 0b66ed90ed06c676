#include "check/item_check.h"
#include "check/lang_file.h"
#include "check/timeout_file.h"
#include "command.h"
#include "commands/backup_text.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>

// Runs the checks of configuration files and sums up what they find. With --strict warnings are
// faults too.
namespace host {

namespace {

struct CheckArguments {
    std::vector<std::string> vecFile;
    bool bStrict = false;
};

void PutFinding(const Output& out, const Finding& finding) {
    Json::Value record;
    record["file"] = finding.place.strFile;
    record["line"] = finding.place.nLine;
    record["column"] = finding.place.nColumn;
    record["severity"] = SeverityText(finding.eSeverity);
    record["what"] = finding.strWhat;
    if (!finding.strExpected.empty())
        record["expected"] = finding.strExpected;
    out.Put(TextOf(finding), record);
}

// Prints the findings and sums them up.
int PutFindings(const Session& session, const CheckArguments& args,
                const std::vector<Finding>& vecFinding, const std::string& strWhere) {
    std::size_t nErrors = 0;
    for (const Finding& finding : vecFinding) {
        PutFinding(session.out, finding);
        if (finding.eSeverity == ESeverity::ERROR)
            ++nErrors;
    }
    const std::size_t nWarnings = vecFinding.size() - nErrors;
    session.out.Say(Counted(nErrors, "error") + ", " + Counted(nWarnings, "warning") + " in " +
                    strWhere);
    return nErrors > 0 || (args.bStrict && nWarnings > 0) ? ANSWER_NO : DONE;
}

int CheckMutex(const Session& session, const CheckArguments& args) {
    MutexFile table;
    for (const std::string& strFile : args.vecFile)
        table.Read(strFile);
    table.CheckWhole();
    return PutFindings(session, args, table.vecFinding, Counted(args.vecFile.size(), "file"));
}

// Each file for itself.
int CheckEach(const Session& session, const CheckArguments& args,
              std::vector<Finding> (*check)(const std::string&)) {
    std::vector<Finding> vecFinding;
    for (const std::string& strFile : args.vecFile) {
        const std::vector<Finding> vecOne = check(strFile);
        vecFinding.insert(vecFinding.end(), vecOne.begin(), vecOne.end());
    }
    return PutFindings(session, args, vecFinding, Counted(args.vecFile.size(), "file"));
}

int CheckLang(const Session& session, const CheckArguments& args) {
    return PutFindings(session, args, CheckLanguages(args.vecFile),
                       Counted(args.vecFile.size(), "language"));
}

}  // namespace

Runner DefineCheck(CLI::App& app) {
    const auto pArgs = std::make_shared<CheckArguments>();
    CLI::App* const pMutex = app.add_subcommand(
        "mutex", "table files of conflicting operations; several are one table, as if loaded");
    pMutex->add_option("FILE", pArgs->vecFile, "table files")->required();
    pMutex->add_flag("--strict", pArgs->bStrict, "warnings count as faults");
    CLI::App* const pLang = app.add_subcommand("lang", "folders of language files, one a language");
    pLang->add_option("FOLDER", pArgs->vecFile, "language folders")->required();
    pLang->add_flag("--strict", pArgs->bStrict, "warnings count as faults");
    CLI::App* const pItems = app.add_subcommand("items", "configuration-item files: key = value");
    pItems->add_option("FILE", pArgs->vecFile, "item files")->required();
    pItems->add_flag("--strict", pArgs->bStrict, "warnings count as faults");
    CLI::App* const pTimeouts = app.add_subcommand("timeouts", "request time-out files");
    pTimeouts->add_option("FILE", pArgs->vecFile, "time-out files")->required();
    pTimeouts->add_flag("--strict", pArgs->bStrict, "warnings count as faults");
    CLI::App* const pBackup = app.add_subcommand("backup", "backup texts of objects");
    pBackup->add_option("FILE", pArgs->vecFile, "backup texts; -: standard input")->required();
    pBackup->add_flag("--strict", pArgs->bStrict, "warnings count as faults");
    app.require_subcommand(1);
    return [=](Session& session) {
        if (pMutex->parsed())
            return CheckMutex(session, *pArgs);
        if (pLang->parsed())
            return CheckLang(session, *pArgs);
        if (pItems->parsed())
            return CheckEach(session, *pArgs, CheckItemFile);
        if (pBackup->parsed())
            return CheckEach(session, *pArgs, CheckBackupFile);
        return CheckEach(session, *pArgs, [](const std::string& strFile) {
            return TimeoutFile(strFile).vecFinding;
        });
    };
}

}  // namespace host
