#include "base/root_files.h"
#include "check/item_check.h"
#include "check/lang_file.h"
#include "check/mutex_file.h"
#include "check/timeout_file.h"
#include "command.h"
#include "commands/processes.h"

#include "tovelkarin/temutexopermgr.h"
#include "tovelkarin/utilif.h"

#include "zemb/control.h"
#include "zemb/operlog_store.h"
#include "zemb/settings.h"
#include "zemb/user_config.h"

#include <CLI/CLI.hpp>

#include <ace/ACE.h>
#include <sqlite3.h>

#include <dlfcn.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <regex>

// Looks over what the program stands on, one thing after the other, and names for each fault the
// command to run next. It uses the checks of the other commands, and a probe file, deleted at once,
// that tells the clock of the file system.
namespace host {

namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t MEGABYTE = 1 << 20;
constexpr std::uint64_t LITTLE_ROOM = 100 * MEGABYTE;
constexpr std::uint64_t NO_ROOM = 10 * MEGABYTE;
constexpr long CLOCKS_APART = 5;                // seconds
constexpr std::time_t FIRST_TIME = 1577836800;  // 2020: a clock before it was never set

// A word as a shell takes it.
std::string Quoted(const std::string& strWord) {
    if (strWord.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
                                  "/._-+=:,") == std::string::npos)
        return strWord;
    std::string strQuoted = "'";
    for (const char c : strWord)
        strQuoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return strQuoted + "'";
}

// The program over the same folders.
std::string Program() {
    std::string strProgram = "tovelkarin ";
    if (const std::string strRoot = NSTE_util::GetZEMBRootPath(); !strRoot.empty())
        strProgram += "--root " + Quoted(strRoot) + " ";
    if (const std::string strState = zemb::GetStatePath(); !strState.empty())
        strProgram += "--state " + Quoted(strState) + " ";
    return strProgram;
}

// Looks at what the program stands on, one thing after the other.
class Doctor {
public:
    explicit Doctor(const Output& out) : m_out(out) {}

    int Run() {
        CheckVersions();
        CheckRoot();
        CheckState();
        CheckClock();
        CheckOperLog();
        CheckUserConfig();
        CheckBoxes();
        m_out.Say(SumText(m_nErrors, m_nWarnings));
        return m_nErrors == 0 ? DONE : ANSWER_NO;
    }

private:
    void Put(const char* szState, const std::string& strWhat, const std::string& strText,
             const std::string& strNext) {
        Json::Value record;
        record["state"] = szState;
        record["what"] = strWhat;
        record["text"] = strText;
        if (!strNext.empty())
            record["next"] = strNext;
        m_out.Put(Columns(szState, strWhat) + OnOneLine(strText) +
                      (strNext.empty() ? "" : "\n" + Columns("", "") + "next: " + strNext),
                  record);
    }
    static std::string Columns(std::string strState, std::string strWhat) {
        strState.resize(std::max<std::size_t>(strState.size(), 7), ' ');
        strWhat.resize(std::max<std::size_t>(strWhat.size(), 13), ' ');
        return strState + "  " + strWhat + "  ";
    }
    void Good(const std::string& strWhat, const std::string& strText) {
        Put("ok", strWhat, strText, "");
    }
    void Warn(const std::string& strWhat, const std::string& strText, const std::string& strNext) {
        ++m_nWarnings;
        Put("warning", strWhat, strText, strNext);
    }
    void Fail(const std::string& strWhat, const std::string& strText, const std::string& strNext) {
        ++m_nErrors;
        Put("error", strWhat, strText, strNext);
    }

    // The file from which a function was loaded, links followed.
    template <class Function>
    static std::string FileWith(Function* pFunction) {
        Dl_info info{};
        std::error_code error;
        if (dladdr(reinterpret_cast<void*>(pFunction), &info) == 0 || info.dli_fname == nullptr)
            return "unknown";
        const fs::path file = fs::canonical(info.dli_fname, error);
        return error ? info.dli_fname : file.string();
    }

    void CheckVersions() {
        Good("program", TOVELKARIN_VERSION);
        Good("libraries",
             FileWith(&NSTE_util::TEMutexOperMgr::Instance) + ", " + FileWith(&zemb::SetRootPath));
        const std::string strAce = std::to_string(ACE::major_version()) + "." +
                                   std::to_string(ACE::minor_version()) + "." +
                                   std::to_string(ACE::micro_version());
        Good("beside them", "ACE " + strAce + ", SQLite " + sqlite3_libversion());
    }

    void CheckRoot() {
        const std::string strRoot = NSTE_util::GetZEMBRootPath();
        if (strRoot.empty())
            return Fail("root", "no installation root", "export ZEMB_ROOT=DIR");
        std::error_code error;
        if (!fs::is_directory(strRoot, error))
            return Fail("root", strRoot + " is no folder", "ls -ld " + Quoted(strRoot));
        if (access(strRoot.c_str(), R_OK | X_OK) != 0)
            return Fail("root", strRoot + ": " + std::strerror(errno), "ls -ld " + Quoted(strRoot));
        if (strRoot.size() > base::ROOT_LENGTH_MAX)
            Warn("root",
                 strRoot + ": longer than " + std::to_string(base::ROOT_LENGTH_MAX) +
                     " characters; the module reads no settings and no language texts below it",
                 "ln -s " + Quoted(strRoot) + " /opt/tovelkarin");
        else
            Good("root", strRoot);
        CheckFile(strRoot + base::MUTEX_TABLE_UNDER_ROOT, "mutex", [](const std::string& strFile) {
            MutexFile table;
            table.Read(strFile);
            table.CheckWhole();
            return table.vecFinding;
        });
        CheckFile(strRoot + base::TIMEOUTS_UNDER_ROOT, "timeouts",
                  [](const std::string& strFile) { return TimeoutFile(strFile).vecFinding; });
        for (const char* const szFile :
             {base::EMS_UNDER_ROOT, base::TRANS_EMS_UNDER_ROOT, base::COMMON_UNDER_ROOT})
            CheckFile(strRoot + szFile, "items", CheckItemFile);
        CheckLanguageFolders(strRoot + base::LANG_UNDER_ROOT);
    }

    // What the check of a kind of files finds; the file may be missing.
    template <class Check>
    void CheckFile(const std::string& strFile, const std::string& strKind, Check check) {
        struct stat status {};
        if (stat(strFile.c_str(), &status) != 0) {
            if (errno == ENOENT)
                return Warn("configuration", strFile + " is missing; the built-in values hold",
                            "ls -l " + Quoted(fs::path(strFile).parent_path().string()));
            return Fail("configuration", strFile + ": " + std::strerror(errno),
                        "namei -l " + Quoted(strFile));
        }
        if (PutFindings(strFile, "tovelkarin check " + strKind + " " + Quoted(strFile),
                        [&] { return check(strFile); }))
            Good("configuration", strFile);
        if ((status.st_mode & S_IWOTH) != 0)
            Warn("configuration", strFile + " may be changed by everybody",
                 "chmod o-w " + Quoted(strFile));
        if (status.st_mtime > std::time(nullptr) + CLOCKS_APART)
            Warn("configuration", strFile + " was changed in the future; readers compare times",
                 "touch " + Quoted(strFile));
    }

    void CheckLanguageFolders(const std::string& strFolder) {
        std::vector<std::string> vecFolder;
        std::error_code error;
        for (const fs::directory_entry& entry : fs::directory_iterator(strFolder, error))
            if (entry.is_directory(error))
                vecFolder.push_back(entry.path().string());
        std::sort(vecFolder.begin(), vecFolder.end());
        if (vecFolder.empty())
            return Warn("languages", strFolder + ": no language folder; texts stay empty",
                        "ls -l " + Quoted(strFolder));
        std::string strNext = "tovelkarin check lang";
        for (const std::string& strOne : vecFolder)
            strNext += " " + Quoted(strOne);
        if (PutFindings(strFolder, strNext, [&] {
                return CheckLanguages({vecFolder.begin(), vecFolder.end()});
            }))
            Good("languages",
                 strFolder + ": " + Counted(vecFolder.size(), "language") + " with the same keys");
    }

    // Sums up what a check finds; true when it finds nothing.
    template <class Find>
    bool PutFindings(const std::string& strPlace, const std::string& strNext, Find find) {
        try {
            const std::vector<Finding> vecFinding = find();
            const std::size_t nErrors = CountErrors(vecFinding);
            const std::string strText =
                strPlace + ": " + SumText(nErrors, vecFinding.size() - nErrors);
            if (nErrors != 0)
                Fail("configuration", strText, strNext);
            else if (!vecFinding.empty())
                Warn("configuration", strText, strNext);
            return vecFinding.empty();
        } catch (const std::exception& error) {
            Fail("configuration", error.what(), strNext);
            return false;
        }
    }

    void CheckState() {
        const std::string strState = zemb::GetStatePath();
        if (strState.empty())
            return Fail("state",
                        "no state folder: logs go to standard error, the operation log "
                        "is kept in memory only",
                        "export ZEMB_STATE=DIR");
        std::error_code error;
        if (!fs::exists(strState, error) && !error)
            return Good("state", strState + " is made when it is needed");
        if (!fs::is_directory(strState, error))
            return Fail("state", strState + (error ? ": " + error.message() : " is no folder"),
                        "namei -l " + Quoted(strState));
        CheckWritable(strState);
        struct stat status {};
        // A file that nobody needs tells the clock of the file system.
        std::string strProbe = strState + "/probe.XXXXXX";
        if (const int nFile = mkstemp(strProbe.data()); nFile != -1) {
            fstat(nFile, &status);
            close(nFile);
            unlink(strProbe.c_str());
            const long nApart = static_cast<long>(status.st_mtime - std::time(nullptr));
            if (std::labs(nApart) > CLOCKS_APART)
                Warn("state",
                     "its file system's clock is " + std::to_string(nApart) +
                         " s away from the machine's",
                     "stat " + Quoted(strState));
        }
        CheckRoom(strState);
    }

    static std::vector<std::string> LogFiles(const std::string& strFolder) {
        std::vector<std::string> vecFile;
        std::error_code ignored;  // a folder that cannot be read is told of as such
        for (fs::directory_iterator it(strFolder, ignored), end; !ignored && it != end;
             it.increment(ignored))
            if (it->path().extension() == ".log")
                vecFile.push_back(it->path().string());
        std::sort(vecFile.begin(), vecFile.end());
        return vecFile;
    }

    // The folder and what the platform writes in it, as far as it is there.
    void CheckWritable(const std::string& strState) {
        bool bGood = true;
        std::vector<std::string> vecPath = {strState, strState + "/log", zemb::OperLogFile(),
                                            UserConfigFile()};
        for (const std::string& strLog : LogFiles(strState + "/log"))
            vecPath.push_back(strLog);
        for (const std::string& strPath : vecPath) {
            if (euidaccess(strPath.c_str(), W_OK) != 0 && errno != ENOENT) {
                Fail("state", strPath + ": " + std::strerror(errno), "namei -l " + Quoted(strPath));
                bGood = false;
            }
            struct stat status {};
            if (stat(strPath.c_str(), &status) == 0 && (status.st_mode & S_IWOTH) != 0)
                Warn("state", strPath + " may be written by everybody",
                     "chmod o-w " + Quoted(strPath));
        }
        if (bGood)
            Good("state", strState + " can be written");
    }

    void CheckRoom(const std::string& strState) {
        struct statvfs room {};
        if (statvfs(strState.c_str(), &room) != 0)
            return Warn("room", strState + ": " + std::strerror(errno), "df " + Quoted(strState));
        const std::uint64_t nFree = std::uint64_t{room.f_bavail} * room.f_frsize;
        const std::string strText = std::to_string(nFree / MEGABYTE) + " MB free in " + strState;
        if (nFree < NO_ROOM || (room.f_files != 0 && room.f_favail == 0))
            return Fail("room", strText, "df -h -i " + Quoted(strState));
        if (nFree < LITTLE_ROOM)
            return Warn("room", strText, "df -h " + Quoted(strState));
        Good("room", strText);
    }

    void CheckClock() {
        const std::time_t tNow = std::time(nullptr);
        const std::string strNow = zemb::FormatTime(tNow * 1000000LL);
        if (tNow < FIRST_TIME)
            Fail("clock", strNow + " was long ago", "timedatectl");
        else
            Good("clock", strNow);
        const char* const szZone = getenv("TZ");
        if (szZone != nullptr && !IsZone(szZone))
            Warn("clock", std::string("TZ=") + szZone + " is no time zone: local times are UTC",
                 "ls /usr/share/zoneinfo");
    }

    // A file of the system's, by name or path, or a rule such as CET-1CEST,M3.5.0,M10.5.0/3.
    static bool IsZone(std::string strZone) {
        if (!strZone.empty() && strZone.front() == ':')
            strZone.erase(0, 1);
        static const std::regex RULE("(<[^>]+>|[A-Za-z]{3,})[-+]?[0-9].*");
        std::error_code ignored;
        return strZone.empty() || std::regex_match(strZone, RULE) ||
               fs::is_regular_file(fs::path("/usr/share/zoneinfo") / strZone, ignored);
    }

    void CheckOperLog() {
        const std::string strFile = zemb::OperLogFile();
        std::error_code error;
        if (!strFile.empty() && !fs::exists(strFile, error) && error)
            return Fail("operation log", strFile + ": " + error.message(),
                        "namei -l " + Quoted(strFile));
        if (strFile.empty() || !fs::exists(strFile, error))
            return Good("operation log", "none yet");
        const std::vector<std::string> vecProblem = zemb::VerifyOperLog();
        if (vecProblem.empty())
            Good("operation log", strFile + " is whole");
        else
            Fail("operation log", vecProblem.front(), Program() + "oplog verify");
        const fs::path folder = fs::path(strFile).parent_path();
        for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
            const std::string strName = entry.path().filename().string();
            if (strName.find(".damaged-") != std::string::npos &&
                strName.find("-wal") == std::string::npos &&
                strName.find("-shm") == std::string::npos)
                Warn("operation log", entry.path().string() + " was damaged and put aside",
                     "sqlite3 " + Quoted(entry.path().string()) + " .dump");
        }
    }

    static std::string UserConfigFile() { return zemb::GetStatePath() + "/usercfg.db"; }

    void CheckUserConfig() {
        std::error_code error;
        if (zemb::GetStatePath().empty() || !fs::exists(UserConfigFile(), error))
            return Good("user values", "none yet");
        std::vector<zemb::UserCfgItem> vecItem;
        std::string strError;
        if (zemb::ReadUserCfg(vecItem, strError))
            Good("user values", UserConfigFile() + " can be read");
        else
            Fail("user values", strError, "sqlite3 " + Quoted(UserConfigFile()) + " .dump");
        // Behind the reading, which may be the first to find damage.
        for (const fs::directory_entry& entry : fs::directory_iterator(zemb::GetStatePath(), error))
            if (entry.path().filename().string().find("usercfg.db.damaged-wal-") == 0)
                Warn("user values",
                     entry.path().string() +
                         " is a write-ahead log that was found damaged: accepted "
                         "values may be in it, and nowhere else",
                     "strings " + Quoted(entry.path().string()));
    }

    void CheckBoxes() {
        const std::vector<zemb::BoxSummary> vecBox = zemb::ListBlackBoxes(zemb::GetStatePath());
        std::size_t nWrong = 0;
        for (const zemb::BoxSummary& summary : vecBox)
            nWrong += IsBoxGood(summary) ? 0 : 1;
        if (nWrong == 0)
            Good("processes", vecBox.empty() ? "none runs, and none has left a black box"
                                             : Counted(vecBox.size(), "black box", "black boxes") +
                                                   ", nothing is held by the dead");
    }

    bool IsBoxGood(const zemb::BoxSummary& summary) {
        zemb::BlackBox box;
        std::string strError = summary.strFile + ": " + summary.strError;
        if (!summary.strError.empty() || !zemb::ReadBlackBox(summary.strFile, box, strError)) {
            Warn("processes", strError, "ls -l " + Quoted(summary.strFile));
            return false;
        }
        const std::string strProcess = std::to_string(box.nProcess);
        if (box.eState == zemb::EBoxState::DIED && HeldCount(box) != 0) {
            const std::uint64_t nTrails = box.vecTrail.size() + box.nTrailsNotShown;
            Warn("processes",
                 ProcessText(box) + ", held " + Counted(HeldCount(box) - nTrails, "object") +
                     (nTrails == 0 ? "" : " and " + Counted(nTrails, "trail")),
                 Program() + "post-mortem " + strProcess);
            return false;
        }
        if (box.nHeldNotShown + box.nTrailsNotShown + box.nTasksNotShown + box.nThreadsNotShown ==
            0)
            return true;
        Warn("processes", ProcessText(box) + ": its box has no room for all that it holds",
             Program() + "check items " + Quoted(box.strRoot + base::TRANS_EMS_UNDER_ROOT));
        return false;
    }

    const Output& m_out;
    std::size_t m_nWarnings = 0;
    std::size_t m_nErrors = 0;
};

}  // namespace

Runner DefineDoctor(CLI::App& /*app*/) {
    return [](Session& session) { return Doctor(session.out).Run(); };
}

}  // namespace host
