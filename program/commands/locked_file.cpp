#include "commands/locked_file.h"

#include "view/output.h"

#include "tovelkarin/nml_filemgr.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/sysmacros.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

// A file that this process has locked for itself (flock). A file may be exchanged while one waits
// for its lock, so the name is looked at again once the lock is there. Who holds it is read from
// the system's list of locks, to be named to the user.
namespace host {

namespace {

constexpr auto TRY_AGAIN = std::chrono::milliseconds(50);
constexpr auto QUIET = std::chrono::seconds(1);

}  // namespace

LockedFile::LockedFile(const std::string& strFile, int nSeconds) : m_strFile(strFile) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point begin = Clock::now();
    for (bool bTold = false; !TryToLock(); std::this_thread::sleep_for(TRY_AGAIN)) {
        const auto waited = Clock::now() - begin;
        if (waited >= std::chrono::seconds(nSeconds))
            throw CommandError(SYSTEM_FAILED,
                               strFile + ": locked by " + Holder() + " for over " +
                                   Counted(static_cast<std::size_t>(nSeconds), "second") +
                                   "; it was not changed");
        if (!bTold && waited >= QUIET) {
            Complain(strFile + ": locked by " + Holder() + ", waiting");
            bTold = true;
        }
    }
}

// False when somebody else holds it, or has put another file in its place meanwhile.
bool LockedFile::TryToLock() {
    m_file.Reset(open(m_strFile.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
    if (m_file == -1 || fstat(m_file, &m_status) != 0)
        FailWithErrno(m_strFile);
    if (!S_ISREG(m_status.st_mode))
        FailAsNoPlainFile(m_strFile);
    if (flock(m_file, LOCK_EX | LOCK_NB) == 0)
        return fstat(m_file, &m_status) == 0 && IsStillNamed();
    if (errno != EWOULDBLOCK && errno != EINTR)
        throw CommandError(SYSTEM_FAILED,
                           m_strFile + ": cannot be locked: " + std::strerror(errno));
    return false;
}

// It may have been changed until it was locked.
bool LockedFile::IsStillNamed() const {
    struct stat now {};
    return stat(m_strFile.c_str(), &now) == 0 && now.st_ino == m_status.st_ino &&
           now.st_dev == m_status.st_dev;
}

std::string LockedFile::Read() const {
    std::string strText;
    const std::string strSame = "/proc/self/fd/" + std::to_string(m_file);
    if (const int nError = NSTN_util::ReadStrFromFile(strSame, strText); nError != 0)
        FailWith(nError, m_strFile);
    return strText;
}

// Such as "process 1234 (vim)". The system lists a lock as
// "1: FLOCK  ADVISORY  WRITE 1234 fd:01:131 0 EOF", with "->" behind the colon for one who waits.
std::string LockedFile::Holder() const {
    char szFile[64];
    std::snprintf(szFile, sizeof szFile, "%02x:%02x:%lu", major(m_status.st_dev),
                  minor(m_status.st_dev), static_cast<unsigned long>(m_status.st_ino));
    std::ifstream locks("/proc/locks");
    for (std::string strLine; std::getline(locks, strLine);) {
        std::istringstream words(strLine);
        std::string strNumber;
        std::string strKind;
        std::string strHow;
        std::string strAccess;
        std::string strProcess;
        std::string strLocked;
        words >> strNumber >> strKind >> strHow >> strAccess >> strProcess >> strLocked;
        if (strKind != "FLOCK" || strLocked != szFile)
            continue;
        std::ifstream comm("/proc/" + strProcess + "/comm");
        std::string strName;
        std::getline(comm, strName);
        // Whoever inherited it holds it on.
        return "process " + strProcess + " (" + (strName.empty() ? "ended" : strName) + ")";
    }
    return "another process";
}

}  // namespace host
