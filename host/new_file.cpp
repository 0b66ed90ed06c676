#include "new_file.h"

#include "output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace host {

namespace {

constexpr int LINKS_MOST = 40;  // as the system's own limit

// The file that a path leads to, which may not be there yet.
std::string Behind(const std::string& strFile) {
    namespace fs = std::filesystem;
    std::error_code error;
    fs::path file = strFile;
    for (int nLinks = 0; nLinks < LINKS_MOST && fs::is_symlink(file, error); ++nLinks)
        file = file.parent_path() / fs::read_symlink(file, error);
    return file.string();
}

// So that the new name of a file outlives a power failure.
bool ForceFolder(const std::string& strFile) {
    const std::string strFolder = std::filesystem::path(strFile).parent_path().string();
    const int nFolder =
        open(strFolder.empty() ? "." : strFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (nFolder == -1)
        return false;
    const bool bForced = fsync(nFolder) == 0;
    const int nError = errno;
    close(nFolder);
    errno = nError;
    return bForced;
}

}  // namespace

NewFile::NewFile(const std::string& strFile) : m_strFile(Behind(strFile)) {
    // Nobody reads beforehand what the old file may hide.
    struct stat old {};
    const mode_t nMode = stat(m_strFile.c_str(), &old) == 0 ? 0600 : 0666;
    // What a killed process left over is nobody's to overwrite.
    int nFile = -1;
    for (int n = 0; nFile == -1 && (n == 0 || errno == EEXIST); ++n) {
        m_strPart = m_strFile + ".part" + std::to_string(getpid()) + "-" + std::to_string(n);
        nFile = open(m_strPart.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, nMode);
    }
    if (nFile == -1)
        FailWithErrno(m_strPart);
    m_pFile.reset(fdopen(nFile, "w"));
    if (m_pFile == nullptr) {
        close(nFile);
        unlink(m_strPart.c_str());
        throw CommandError(SYSTEM_FAILED, m_strPart + ": no memory");
    }
}

NewFile::~NewFile() {
    if (m_pFile != nullptr)
        unlink(m_strPart.c_str());
}

void NewFile::Write(std::string_view strText) {
    if (std::fwrite(strText.data(), 1, strText.size(), m_pFile.get()) != strText.size())
        FailWithErrno(m_strPart);
}

void NewFile::TakeOver() {
    struct stat old {};
    struct stat now {};
    const int nFile = fileno(m_pFile.get());
    if (stat(m_strFile.c_str(), &old) != 0)
        return;
    if (fstat(nFile, &now) == 0 && now.st_mtime <= old.st_mtime) {
        const timespec arrTime[] = {{0, UTIME_OMIT}, {old.st_mtime + 1, 0}};
        if (futimens(nFile, arrTime) != 0)
            FailWithErrno(m_strPart);
    }
    // An owner that may not be given away stays with us.
    [[maybe_unused]] const int nIgnored = fchown(nFile, old.st_uid, old.st_gid);
    if (fchmod(nFile, old.st_mode & 07777) != 0)
        FailWithErrno(m_strPart);
}

void NewFile::PutInPlace() {
    if (std::fflush(m_pFile.get()) != 0)
        FailWithErrno(m_strPart);
    TakeOver();
    if (fsync(fileno(m_pFile.get())) != 0)
        FailWithErrno(m_strPart);
    if (rename(m_strPart.c_str(), m_strFile.c_str()) != 0)
        FailWithErrno(m_strFile);
    m_pFile = nullptr;
    if (!ForceFolder(m_strFile))
        throw CommandError(
            SYSTEM_FAILED,
            m_strFile + ": written, but a power failure may undo it: " + std::strerror(errno));
}

}  // namespace host
