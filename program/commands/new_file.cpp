#include "commands/new_file.h"

#include "view/output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

// A file that takes its place when it is whole: written under another name in the same folder,
// brought to the disk, renamed. It never has more rights than the old one, and its modification
// time is behind that of the old one, so that readers who compare times see the change. What
// somebody else put there meanwhile is left alone.
namespace host {

namespace {

// Everything happens relative to the open folder, whatever its path leads to meanwhile.
int OpenFolder(const std::string& strFile) {
    const std::string strFolder = std::filesystem::path(strFile).parent_path().string();
    const int nFolder =
        open(strFolder.empty() ? "." : strFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (nFolder == -1)
        FailWithErrno(strFolder);
    return nFolder;
}

// Whether only the process's user and root decide which files have a name there.
bool IsOurs(int nFolder) {
    struct stat info {};
    return fstat(nFolder, &info) == 0 && (info.st_uid == geteuid() || info.st_uid == 0) &&
           ((info.st_mode & (S_IWGRP | S_IWOTH)) == 0 || (info.st_mode & S_ISVTX) != 0);
}

}  // namespace

NewFile::NewFile(const std::string& strFile)
    : m_strFile(strFile),
      m_strName(std::filesystem::path(strFile).filename().string()),
      m_folder(OpenFolder(strFile)) {}

NewFile::NewFile(const std::string& strFile, mode_t nMost) : NewFile(strFile) {
    m_nMost = nMost;
    m_old = Named();
    if (m_old && !S_ISREG(m_old->st_mode))
        FailAsNoPlainFile(strFile);
    Open(nMost);
}

NewFile::NewFile(const std::string& strFile, const struct stat& old) : NewFile(strFile) {
    if (!IsOurs(m_folder))
        throw CommandError(SYSTEM_FAILED,
                           strFile + ": others may exchange files in its folder; not changed");
    m_old = old;
    m_bOwner = true;
    Open(0);
}

void NewFile::Open(mode_t nMode) {
    // Nobody reads beforehand what the old file may hide.
    nMode = m_old ? S_IRUSR | S_IWUSR : nMode;
    // What a killed process left over is nobody's to overwrite.
    int nFile = -1;
    for (int n = 0; nFile == -1 && (n == 0 || errno == EEXIST); ++n) {
        m_strPart = m_strName + ".part" + std::to_string(getpid()) + "-" + std::to_string(n);
        nFile = openat(m_folder, m_strPart.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, nMode);
    }
    if (nFile == -1)
        FailWithErrno(m_strFile);
    m_pFile.reset(fdopen(nFile, "w"));
    if (m_pFile == nullptr) {
        close(nFile);
        unlinkat(m_folder, m_strPart.c_str(), 0);
        throw CommandError(SYSTEM_FAILED, m_strFile + ": no memory");
    }
}

NewFile::~NewFile() {
    if (m_pFile != nullptr)
        unlinkat(m_folder, m_strPart.c_str(), 0);
}

void NewFile::Write(std::string_view strText) {
    if (std::fwrite(strText.data(), 1, strText.size(), m_pFile.get()) != strText.size())
        FailWithErrno(m_strFile);
}

void NewFile::TakeOver() {
    if (!m_old)
        return;
    struct stat now {};
    const int nFile = fileno(m_pFile.get());
    if (fstat(nFile, &now) == 0 && now.st_mtime <= m_old->st_mtime) {
        const timespec arrTime[] = {{0, UTIME_OMIT}, {m_old->st_mtime + 1, 0}};
        if (futimens(nFile, arrTime) != 0)
            FailWithErrno(m_strFile);
    }
    // An owner that may not be given away stays with us.
    if (m_bOwner) [[maybe_unused]]
        const int nIgnored = fchown(nFile, m_old->st_uid, m_old->st_gid);
    if (fchmod(nFile, m_old->st_mode & m_nMost & 07777) != 0)
        FailWithErrno(m_strFile);
}

// What has the name now, a link as such.
std::optional<struct stat> NewFile::Named() const {
    struct stat info {};
    if (fstatat(m_folder, m_strName.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0)
        return info;
    if (errno != ENOENT)
        FailWithErrno(m_strFile);
    return std::nullopt;
}

// What somebody else has put there meanwhile is not overwritten, nor does its owner get our text.
void NewFile::CheckPlace() const {
    const std::optional<struct stat> now = Named();
    const bool bSame = now && m_old ? now->st_ino == m_old->st_ino && now->st_dev == m_old->st_dev
                                    : !now && !m_old;
    if (!bSame)
        throw CommandError(SYSTEM_FAILED,
                           m_strFile + ": somebody else has exchanged it meanwhile; left alone");
}

void NewFile::PutInPlace() {
    if (std::fflush(m_pFile.get()) != 0)
        FailWithErrno(m_strFile);
    TakeOver();
    if (fsync(fileno(m_pFile.get())) != 0)
        FailWithErrno(m_strFile);
    CheckPlace();
    if (renameat(m_folder, m_strPart.c_str(), m_folder, m_strName.c_str()) != 0)
        FailWithErrno(m_strFile);
    m_pFile = nullptr;
    // So that the new name outlives a power failure.
    if (fsync(m_folder) != 0)
        throw CommandError(
            SYSTEM_FAILED,
            m_strFile + ": written, but a power failure may undo it: " + std::strerror(errno));
}

}  // namespace host
