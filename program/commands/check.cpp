#include "check/item_check.h"
#include "check/lang_file.h"
#include "check/mutex_file.h"
#include "check/timeout_file.h"
#include "commands/backup_text.h"
#include "sub_commands.h"
#include "view/record.h"

#include <algorithm>

// Runs the checks of configuration files and sums up what they find. With --strict warnings are
// faults too.
namespace host {

namespace {

struct CheckArguments {
    std::vector<std::string> vecFile;
    std::size_t nMost = 100;
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

// What was found, and what could not be looked at.
struct CheckResult {
    std::vector<Finding> vecFinding;
    std::vector<CommandError> vecFailure;

    // Calls look for each file; what is wrong with one does not keep the others from being seen.
    template <class Look>
    void ForEach(const std::vector<std::string>& vecFile, Look look) {
        for (const std::string& strFile : vecFile)
            try {
                look(strFile);
            } catch (const CommandError& error) {
                vecFailure.push_back(error);
            }
    }
};

// Prints the findings and sums them up; then tells what could not be looked at.
int PutResult(const Session& session, const CheckArguments& args, const CheckResult& result,
              const std::string& strThing) {
    const std::vector<Finding>& vecFinding = result.vecFinding;
    const std::size_t nShown =
        args.nMost == 0 ? vecFinding.size() : std::min(args.nMost, vecFinding.size());
    for (std::size_t i = 0; i < nShown; ++i)
        PutFinding(session.out, vecFinding[i]);
    if (const std::size_t nLeft = vecFinding.size() - nShown; nLeft != 0)
        session.out.Put("and " + Counted(nLeft, "finding") + " more; --max-findings 0 shows all",
                        RecordOf({{"left_out", nLeft}}));
    const std::size_t nErrors = CountErrors(vecFinding);
    const std::size_t nWarnings = vecFinding.size() - nErrors;
    if (const std::size_t nSeen = args.vecFile.size() - result.vecFailure.size(); nSeen != 0)
        session.out.Say(SumText(nErrors, nWarnings) + " in " + Counted(nSeen, strThing));
    int nStatus = nErrors > 0 || (args.bStrict && nWarnings > 0) ? ANSWER_NO : DONE;
    for (const CommandError& error : result.vecFailure) {
        Complain(error.what());
        nStatus = std::max(nStatus, error.nStatus);
    }
    return nStatus;
}

int CheckMutex(const Session& session, const CheckArguments& args) {
    CheckResult result;
    MutexFile table;
    result.ForEach(args.vecFile, [&](const std::string& strFile) { table.Read(strFile); });
    table.CheckWhole();
    result.vecFinding = std::move(table.vecFinding);
    return PutResult(session, args, result, "file");
}

std::vector<Finding> CheckTimeoutFile(const std::string& strFile) {
    return TimeoutFile(strFile).vecFinding;
}

// Each file for itself.
template <std::vector<Finding> CheckFile(const std::string&)>
int CheckEach(const Session& session, const CheckArguments& args) {
    CheckResult result;
    result.ForEach(args.vecFile, [&](const std::string& strFile) {
        const std::vector<Finding> vecOne = CheckFile(strFile);
        result.vecFinding.insert(result.vecFinding.end(), vecOne.begin(), vecOne.end());
    });
    return PutResult(session, args, result, "file");
}

int CheckLang(const Session& session, const CheckArguments& args) {
    CheckResult result;
    std::vector<LangFolder> vecFolder;
    result.ForEach(args.vecFile,
                   [&](const std::string& strFolder) { vecFolder.emplace_back(strFolder); });
    result.vecFinding = CheckLanguages(vecFolder);
    return PutResult(session, args, result, "language");
}

}  // namespace

Runner DefineCheck(CLI::App& app) {
    SubCommands<CheckArguments> commands(app);
    CheckArguments& args = commands.Args();
    const auto Add = [&](const char* szName, const char* szSummary, const char* szArgument,
                         const char* szWhat, const SubCommands<CheckArguments>::Handler& check) {
        CLI::App* const pCheck = commands.Add(szName, szSummary, check);
        pCheck->add_option(szArgument, args.vecFile, szWhat)->required();
        pCheck->add_flag("--strict", args.bStrict, "warnings count as faults");
        pCheck->add_option("--max-findings", args.nMost, "show at most so many; 0: all")
            ->capture_default_str();
    };
    Add("mutex", "table files of conflicting operations; several are one table, as if loaded",
        "FILE", "table files; -: standard input", CheckMutex);
    Add("lang", "folders of language files, one a language", "FOLDER", "language folders",
        CheckLang);
    Add("items", "configuration-item files: key = value", "FILE", "item files; -: standard input",
        CheckEach<CheckItemFile>);
    Add("timeouts", "request time-out files", "FILE", "time-out files; -: standard input",
        CheckEach<CheckTimeoutFile>);
    Add("backup", "backup texts of objects", "FILE", "backup texts; -: standard input",
        CheckEach<CheckBackupFile>);
    return commands.RunGiven();
}

}  // namespace host
