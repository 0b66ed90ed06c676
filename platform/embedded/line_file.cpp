#include "embedded/line_file.h"

#include "embedded/state_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>

// A file to which whole lines are added, each in one write, so that a killed process leaves whole
// lines and two writers do not mix theirs. What a kill or a full disk tore stays as it is: who
// opens the file next, or goes on after a failure, begins on a new line. Links, pipes and files of
// others are refused.
namespace zemb {

namespace {

// A pipe is opened for both directions, and so without waiting for its other end.
int Open(const std::string& strFile) {
    MakeStateFolder(std::filesystem::path(strFile).parent_path().string());
    const int nFile =
        open(strFile.c_str(), O_RDWR | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
             STATE_FILE_MODE);
    if (nFile == -1)
        FailOn(strFile);
    // Without waiting: whoever may read the file could keep a lock on it for ever.
    flock(nFile, LOCK_SH | LOCK_NB);
    return nFile;
}

bool EndsWithinALine(int nFile, off_t nSize) {
    char cLast = '\n';
    return nSize > 0 && pread(nFile, &cLast, 1, nSize - 1) == 1 && cLast != '\n';
}

// Whether the file ends within a line that nobody is writing just now.
bool IsTorn(int nFile, const struct stat& info) {
    if (!EndsWithinALine(nFile, info.st_size))
        return false;
    // The system changes no mode while a write is under way: behind this it is over.
    struct stat now {};
    return fchmod(nFile, info.st_mode & 07777) != 0 || fstat(nFile, &now) != 0 ||
           EndsWithinALine(nFile, now.st_size);
}

}  // namespace

LineFile::LineFile(const std::string& strFile) : m_strFile(strFile), m_nFile(Open(strFile)) {
    struct stat info {};
    if (fstat(m_nFile, &info) != 0 || !S_ISREG(info.st_mode) || info.st_nlink > 1 ||
        info.st_uid != geteuid()) {
        close(m_nFile);
        throw std::runtime_error(strFile + ": no plain file of this user with one name");
    }
    m_nSize = static_cast<std::size_t>(info.st_size);
    m_bTorn = IsTorn(m_nFile, info);
}

LineFile::~LineFile() {
    close(m_nFile);
}

bool LineFile::IsNamed() {
    struct stat own {};
    struct stat named {};
    if (fstat(m_nFile, &own) != 0)
        return false;
    m_nSize = static_cast<std::size_t>(own.st_size);
    return stat(m_strFile.c_str(), &named) == 0 && own.st_ino == named.st_ino &&
           own.st_dev == named.st_dev;
}

void LineFile::Append(const std::string& strLine) {
    const bool bWhole = m_bTorn ? WriteOnce("\n" + strLine) : WriteOnce(strLine);
    // What hindered the first write is told by the second.
    if (!bWhole && !WriteOnce(m_bTorn ? "\n" + strLine : strLine)) {
        errno = ENOSPC;
        FailOn(m_strFile);
    }
}

// False when only a part was written.
bool LineFile::WriteOnce(const std::string& strLine) {
    const ssize_t nWritten = write(m_nFile, strLine.data(), strLine.size());
    if (nWritten < 0)
        FailOn(m_strFile);
    const auto nBytes = static_cast<std::size_t>(nWritten);
    if (nBytes > 0)
        m_bTorn = strLine[nBytes - 1] != '\n';
    m_nSize += nBytes;
    return nBytes == strLine.size();
}

}  // namespace zemb
