#include "embedded/state_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

// Makes folders and files in the state folder. A new file is written under another name, brought to
// the disk and renamed, and never takes the place of one that is there; no link is followed.
// Folders are brought to the disk too, so that a power cut does not undo the name.
namespace zemb {

namespace {

std::string FolderOf(const std::string& strFile) {
    return std::filesystem::path(strFile).parent_path().string();
}

void Sync(const std::string& strFolder) {
    const int nFolder =
        open(strFolder.empty() ? "." : strFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (nFolder == -1)
        return;
    fsync(nFolder);
    close(nFolder);
}

// A file under another name beside the one that it is to get; gone with the object.
class Draft {
public:
    explicit Draft(const std::string& strFile) : m_strDraft(NameFor(strFile)) {
        unlink(m_strDraft.c_str());  // of a process of this number that was killed
        m_nFile = open(m_strDraft.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                       STATE_FILE_MODE);
        if (m_nFile == -1)
            FailOn(m_strDraft);
    }
    ~Draft() {
        if (m_nFile != -1)
            close(m_nFile);
        unlink(m_strDraft.c_str());
    }
    Draft(const Draft&) = delete;
    Draft& operator=(const Draft&) = delete;

    int File() const { return m_nFile; }

    // Brings it to the disk and closes it.
    void Finish() {
        const int nFile = m_nFile;
        m_nFile = -1;
        const bool bSynced = fsync(nFile) == 0;
        if (close(nFile) != 0 || !bSynced)
            FailOn(m_strDraft);
    }

    // False when there is something of that name.
    bool Rename(const std::string& strFile) const {
        int nResult =
            renameat2(AT_FDCWD, m_strDraft.c_str(), AT_FDCWD, strFile.c_str(), RENAME_NOREPLACE);
        if (nResult != 0 && (errno == EINVAL || errno == ENOSYS))  // not on every file system
            nResult = link(m_strDraft.c_str(), strFile.c_str());
        if (nResult != 0 && errno != EEXIST)
            FailOn(strFile);
        return nResult == 0;
    }

private:
    static std::string NameFor(const std::string& strFile) {
        static std::atomic<unsigned> s_nDrafts{0};
        return strFile + ".new-" + std::to_string(getpid()) + "-" + std::to_string(++s_nDrafts);
    }

    const std::string m_strDraft;
    int m_nFile = -1;
};

}  // namespace

void FailOn(const std::string& strPath, int nError) {
    throw std::system_error(nError, std::generic_category(), strPath);
}

void MakeStateFolder(const std::string& strFolder) {
    std::error_code ignored;  // what is wrong with the path, mkdir tells
    if (strFolder.empty() || std::filesystem::is_directory(strFolder, ignored))
        return;
    const std::string strParent = FolderOf(strFolder);
    if (strParent != strFolder)
        MakeStateFolder(strParent);
    if (mkdir(strFolder.c_str(), STATE_FOLDER_MODE) != 0 && errno != EEXIST)
        FailOn(strFolder);
    Sync(strParent);
}

void MakeStateFile(const std::string& strFile) {
    MakeStateFolder(FolderOf(strFile));
    const int nFile =
        open(strFile.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, STATE_FILE_MODE);
    if (nFile == -1)
        FailOn(strFile);
    close(nFile);
}

bool PlaceNewFile(const std::string& strFile, const std::function<void(int nFile)>& fnWrite) {
    struct stat status {};
    if (lstat(strFile.c_str(), &status) == 0)
        return false;
    MakeStateFolder(FolderOf(strFile));
    Draft draft(strFile);
    fnWrite(draft.File());
    draft.Finish();
    if (!draft.Rename(strFile))
        return false;
    Sync(FolderOf(strFile));
    return true;
}

}  // namespace zemb
