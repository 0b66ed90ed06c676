#include "check/item_check.h"
#include "check/lang_file.h"
#include "check/timeout_file.h"
#include "commands/backup_text.h"
#include "sub_commands.h"

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
    for (const Finding& finding : vecFinding)
        PutFinding(session.out, finding);
    const std::size_t nErrors = CountErrors(vecFinding);
    const std::size_t nWarnings = vecFinding.size() - nErrors;
    session.out.Say(SumText(nErrors, nWarnings) + " in " + strWhere);
    return nErrors > 0 || (args.bStrict && nWarnings > 0) ? ANSWER_NO : DONE;
}

int CheckMutex(const Session& session, const CheckArguments& args) {
    MutexFile table;
    for (const std::string& strFile : args.vecFile)
        table.Read(strFile);
    table.CheckWhole();
    return PutFindings(session, args, table.vecFinding, Counted(args.vecFile.size(), "file"));
}

std::vector<Finding> CheckTimeoutFile(const std::string& strFile) {
    return TimeoutFile(strFile).vecFinding;
}

// Each file for itself.
template <std::vector<Finding> CheckFile(const std::string&)>
int CheckEach(const Session& session, const CheckArguments& args) {
    std::vector<Finding> vecFinding;
    for (const std::string& strFile : args.vecFile) {
        const std::vector<Finding> vecOne = CheckFile(strFile);
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
    SubCommands<CheckArguments> commands(app);
    CheckArguments& args = commands.Args();
    const auto Add = [&](const char* szName, const char* szSummary, const char* szArgument,
                         const char* szWhat, const SubCommands<CheckArguments>::Handler& check) {
        CLI::App* const pCheck = commands.Add(szName, szSummary, check);
        pCheck->add_option(szArgument, args.vecFile, szWhat)->required();
        pCheck->add_flag("--strict", args.bStrict, "warnings count as faults");
    };
    Add("mutex", "table files of conflicting operations; several are one table, as if loaded",
        "FILE", "table files", CheckMutex);
    Add("lang", "folders of language files, one a language", "FOLDER", "language folders",
        CheckLang);
    Add("items", "configuration-item files: key = value", "FILE", "item files",
        CheckEach<CheckItemFile>);
    Add("timeouts", "request time-out files", "FILE", "time-out files",
        CheckEach<CheckTimeoutFile>);
    Add("backup", "backup texts of objects", "FILE", "backup texts; -: standard input",
        CheckEach<CheckBackupFile>);
    return commands.RunGiven();
}

}  // namespace host
