#include "sub_commands.h"
#include "view/record.h"

#include "tovelkarin/nml_filemgr.h"

#include <unistd.h>

#include <limits>

// Paths, sizes, listings and pruning by the library's own functions. A dry run of pruning goes by
// the same sorted list that the deletion takes.
namespace host {

namespace {

struct FileArguments {
    std::string strPath;
    std::string strName;
    unsigned nKeep = 0;
    unsigned nLimit = std::numeric_limits<unsigned>::max();
    bool bFiles = false;
    bool bFolders = false;
    bool bDryRun = false;
};

int Put(const Session& session, const std::string& strText) {
    session.out.Put(strText, RecordOf({{"path", strText}}));
    return DONE;
}

std::string Absolute(std::string strPath) {
    NSTN_util::ConvertAbsolutePath(strPath);
    return strPath;
}

void FailOn(int nError, const std::string& strPath) {
    if (nError != 0)
        FailWith(nError, strPath);
}

int ShowSize(const Session& session, const FileArguments& args) {
    Json::Value record;
    record["path"] = args.strPath;
    if (!NSTN_util::IsFolder(args.strPath)) {
        const long nBytes = NSTN_util::GetFileSize(args.strPath);
        RequireAccess(args.strPath, F_OK);
        if (nBytes == -1)
            throw CommandError(ANSWER_NO, args.strPath + ": no file or folder of that name");
        record["bytes"] = static_cast<Json::Int64>(nBytes);
        session.out.Put(std::to_string(nBytes) + " bytes", record);
        return DONE;
    }
    double dBytes = 0;
    unsigned nCount = 0;
    const int nResult = NSTN_util::CheckFolerSize(args.strPath, dBytes, nCount, args.nLimit);
    if (nResult == -1)
        throw CommandError(ANSWER_NO,
                           args.strPath + ": over " + std::to_string(args.nLimit) + " entries");
    FailOn(nResult, args.strPath);
    record["bytes"] = dBytes;
    record["entries"] = nCount;
    session.out.Put(std::to_string(static_cast<long>(dBytes)) + " bytes in " +
                        Counted(nCount, "entry", "entries"),
                    record);
    return DONE;
}

int ListEntries(const Session& session, const FileArguments& args) {
    std::list<std::string> listName;
    const int nFlag = args.bFiles == args.bFolders ? 2 : args.bFiles ? 0 : 1;
    FailOn(NSTN_util::GetAllFileByFlag(args.strPath, nFlag, listName), args.strPath);
    // A name may hold a line feed, and must not look like two.
    for (const std::string& strName : listName)
        session.out.Put(session.out.IsRaw() ? strName : OnOneLine(strName),
                        RecordOf({{"path", strName}}));
    return DONE;
}

int PruneFiles(const Session& session, const FileArguments& args) {
    std::list<std::string> listName;
    FailOn(NSTN_util::GetAllFileByFlag(args.strPath, args.bFolders ? 1 : 0, listName),
           args.strPath);
    std::list<std::string> listLeft = listName;
    int nResult = 0;
    if (args.bDryRun) {
        while (listLeft.size() > args.nKeep)
            listLeft.pop_front();
    } else {
        nResult =
            (args.bFolders ? NSTN_util::DeleteFolderByOrderName : NSTN_util::RemoveFileByOrderName)(
                args.strPath, listLeft, args.nKeep, false);
    }
    auto itLeft = listLeft.begin();
    for (const std::string& strName : listName) {
        if (itLeft != listLeft.end() && *itLeft == strName) {
            ++itLeft;
            continue;
        }
        Json::Value record;
        record[args.bDryRun ? "would_delete" : "deleted"] = strName;
        session.out.Put((args.bDryRun ? "would delete " : "deleted ") + OnOneLine(strName), record);
    }
    session.out.Say(Counted(listName.size() - listLeft.size(), "name") +
                    (args.bDryRun ? " would go, " : " gone, ") + std::to_string(listLeft.size()) +
                    " left");
    FailOn(nResult, args.strPath);
    return DONE;
}

}  // namespace

Runner DefineFile(CLI::App& app) {
    SubCommands<FileArguments> commands(app);
    FileArguments& args = commands.Args();
    using Work = int (*)(const Session&, const FileArguments&);
    const auto Add = [&](const char* szName, const char* szWhat, const char* szPath, Work work) {
        CLI::App* const pCommand = commands.Add(szName, szWhat, work);
        pCommand->add_option(szPath, args.strPath)->required();
        return pCommand;
    };
    Add("join", "put a folder and a name together", "DIR",
        [](const Session& session, const FileArguments& given) {
            return Put(session, NSTN_util::SpliceDir(given.strPath, given.strName));
        })
        ->add_option("NAME", args.strName)
        ->required();
    Add("parent", "the path without its last part", "PATH",
        [](const Session& session, const FileArguments& given) {
            return Put(session, NSTN_util::GetParentPath(given.strPath));
        });
    Add("name", "what stands behind the last /", "PATH",
        [](const Session& session, const FileArguments& given) {
            return Put(session, NSTN_util::GetFileNameFromPath(given.strPath));
        });
    Add("folder", "the last folder that a path names", "PATH",
        [](const Session& session, const FileArguments& given) {
            return Put(session, NSTN_util::GetLastFolderFromPath(given.strPath));
        });
    Add("absolute", "resolve /.. and /./ in a path", "PATH",
        [](const Session& session, const FileArguments& given) {
            return Put(session, Absolute(given.strPath));
        });
    Add("size", "bytes of a file, or of all below a folder", "PATH", ShowSize)
        ->add_option("--limit", args.nLimit, "stop behind so many entries");
    CLI::App* const pList = Add("list", "the names in a folder, sorted", "DIR", ListEntries);
    pList->add_flag("--files", args.bFiles, "files only");
    pList->add_flag("--folders", args.bFolders, "folders only");
    CLI::App* const pPrune =
        Add("prune", "delete files, lowest names first: of time-stamped names the oldest", "DIR",
            PruneFiles);
    pPrune->add_option("--keep", args.nKeep, "so many are left")->required();
    pPrune->add_flag("--folders", args.bFolders, "folders, with what is in them, not files");
    pPrune->add_flag("--dry-run", args.bDryRun, "only show what would go");
    return commands.RunGiven();
}

}  // namespace host
