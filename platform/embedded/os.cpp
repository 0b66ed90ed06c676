#include "zemb/os.h"

#include "base/cancel_hold.h"
#include "embedded/fault_point.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <deque>
#include <memory>
#include <utility>

// Files and folders by the calls of the system. A tree is walked relative to open folders, so an
// exchanged link leads nowhere else; only the lowest eight are kept open, and a folder above is
// opened again as ".." and compared with what it was. What is deleted is listed first, because
// reading a folder while entries vanish is not defined.

namespace {

const char* Text(const char* szPath) {
    return szPath == nullptr ? "" : szPath;
}

// An open folder, closed with the object. It can be closed meanwhile: its descriptor is needed
// elsewhere in a deep tree.
class Folder {
public:
    // szName within nParent, or a path from where the process stands.
    Folder(int nParent, const char* szName, int nFlags) { Open(nParent, szName, nFlags); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    // Why it could not be opened or read, else 0.
    int Error() const { return m_nError; }
    int Handle() const { return m_pDir == nullptr ? -1 : dirfd(m_pDir.get()); }

    // The next entry but "." and ".."; false behind the last one, and after an error.
    bool Next(ZembFileEntry& entry) {
        if (m_nKept == m_vecKept.size())
            return Read(entry);
        entry = std::move(m_vecKept[m_nKept++]);
        return true;
    }

    // Reads what entries there are left. What readdir gives while entries vanish is not defined.
    void KeepRest() {
        for (ZembFileEntry entry; Read(entry);)
            m_vecKept.push_back(std::move(entry));
    }

    void Close() {
        KeepRest();
        struct ::stat info {};
        if (fstat(Handle(), &info) == 0)
            m_identity = {info.st_dev, info.st_ino};
        m_pDir = nullptr;
    }

    // Opens it again as the folder above nInner, unless that was moved to another one meanwhile.
    void Reopen(int nInner) {
        struct ::stat info {};
        Open(nInner, "..", 0);
        if (m_pDir != nullptr && fstat(Handle(), &info) == 0 &&
            m_identity == std::pair(info.st_dev, info.st_ino))
            return;
        if (m_nError == 0)
            m_nError = ESTALE;
        m_pDir = nullptr;
        m_nKept = m_vecKept.size();
    }

private:
    struct CloseDir {
        void operator()(DIR* pDir) const { closedir(pDir); }
    };

    void Open(int nParent, const char* szName, int nFlags) {
        const int nFile = openat(nParent, szName, O_RDONLY | O_DIRECTORY | O_CLOEXEC | nFlags);
        if (nFile != -1)
            m_pDir.reset(fdopendir(nFile));
        if (m_pDir != nullptr)
            return;
        m_nError = errno;
        if (nFile != -1)
            close(nFile);
    }

    bool Read(ZembFileEntry& entry);

    int m_nError = 0;
    std::unique_ptr<DIR, CloseDir> m_pDir;
    std::vector<ZembFileEntry> m_vecKept;  // read already
    std::size_t m_nKept = 0;               // of these, given away
    bool m_bAllRead = false;
    std::pair<dev_t, ino_t> m_identity;
};

bool IsFolder(int nFolder, const dirent& entry) {
    if (entry.d_type != DT_UNKNOWN)
        return entry.d_type == DT_DIR;
    struct ::stat info;
    return fstatat(nFolder, entry.d_name, &info, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(info.st_mode);
}

bool Folder::Read(ZembFileEntry& entry) {
    while (m_pDir != nullptr && !m_bAllRead) {
        errno = 0;
        const dirent* const pEntry = readdir(m_pDir.get());
        if (pEntry == nullptr) {
            m_bAllRead = true;
            if (errno != 0)
                m_nError = errno;
        } else if (std::strcmp(pEntry->d_name, ".") != 0 &&
                   std::strcmp(pEntry->d_name, "..") != 0) {
            entry.strName = pEntry->d_name;
            entry.bFolder = IsFolder(Handle(), *pEntry);
            entry.nSize = 0;
            return true;
        }
    }
    return false;
}

long SizeOf(const Folder& folder, const char* szName) {
    struct ::stat info;
    return fstatat(folder.Handle(), szName, &info, AT_SYMLINK_NOFOLLOW) == 0 &&
                   S_ISREG(info.st_mode)
               ? info.st_size
               : 0;
}

// The folders from the top of a tree down to where a walk stands. Only the lowest few are open: a
// tree may be deeper than a process may have descriptors. None is reached by its path, so that an
// exchanged one leads nowhere else.
class FolderStack {
public:
    FolderStack(const char* szTop, int nFlags) {
        m_dequeLevel.emplace_back(AT_FDCWD, szTop, nFlags);
    }

    Folder& Lowest() { return m_dequeLevel.back(); }

    void Enter(const std::string& strName) {
        if (m_dequeLevel.size() >= OPEN_MOST)
            m_dequeLevel[m_dequeLevel.size() - OPEN_MOST].Close();
        m_dequeLevel.emplace_back(Lowest().Handle(), strName.c_str(), O_NOFOLLOW);
    }

    // Goes one up and puts into nError, unless there is one, why the folder could not be read.
    // False from the top.
    bool Leave(int& nError) {
        if (nError == 0)
            nError = Lowest().Error();
        if (m_dequeLevel.size() == 1)
            return false;
        Folder& above = m_dequeLevel[m_dequeLevel.size() - 2];
        if (above.Handle() == -1)
            above.Reopen(Lowest().Handle());
        m_dequeLevel.pop_back();
        return true;
    }

private:
    static constexpr std::size_t OPEN_MOST = 8;

    std::deque<Folder> m_dequeLevel;
};

int Walk(FolderStack& stack, const std::function<bool(const ZembFileEntry&)>& visit) {
    int nError = 0;
    ZembFileEntry entry;
    do {
        while (stack.Lowest().Next(entry)) {
            if (!entry.bFolder)
                entry.nSize = SizeOf(stack.Lowest(), entry.strName.c_str());
            if (!visit(entry))
                return ECANCELED;
            if (entry.bFolder)
                stack.Enter(entry.strName);
        }
    } while (stack.Leave(nError));
    return nError;
}

// What somebody else has deleted meanwhile is gone too.
void Delete(const Folder& folder, const ZembFileEntry& entry, int& nError) {
    if (folder.Handle() == -1)
        return;  // its error is told when it is left
    if (unlinkat(folder.Handle(), entry.strName.c_str(), entry.bFolder ? AT_REMOVEDIR : 0) != 0 &&
        errno != ENOENT && nError == 0)
        nError = errno;
}

// Deletes what is in the top folder.
int DeleteContent(FolderStack& stack) {
    int nError = 0;
    ZembFileEntry entry;
    std::vector<ZembFileEntry> vecEntered;  // the way to the lowest folder
    stack.Lowest().KeepRest();
    for (;;) {
        while (stack.Lowest().Next(entry)) {
            if (entry.bFolder) {
                stack.Enter(entry.strName);
                stack.Lowest().KeepRest();
                vecEntered.push_back(std::move(entry));
            } else {
                Delete(stack.Lowest(), entry, nError);
            }
        }
        if (!stack.Leave(nError))
            return nError;
        Delete(stack.Lowest(), vecEntered.back(), nError);
        vecEntered.pop_back();
    }
}

}  // namespace

namespace ZEMB_OS {

int stat(const char* szPath, struct ::stat* pStat, const char*) {
    if (zemb::IsFaultyNoThrow("stat"))
        return -1;
    return ::stat(Text(szPath), pStat);
}

std::FILE* fopen(const char* szPath, const char* szMode, const char*) {
    const base::CancelHold hold;
    if (zemb::IsFaultyNoThrow("fopen"))
        return nullptr;
    return std::fopen(Text(szPath), szMode);
}

int mkdir(const char* szPath, mode_t nMode, const char*) {
    if (zemb::IsFaultyNoThrow("mkdir"))
        return -1;
    return ::mkdir(Text(szPath), nMode);
}

int rename(const char* szFrom, const char* szTo, int nFlag, const char*) {
    if (zemb::IsFaultyNoThrow("rename"))
        return -1;
    return renameat2(AT_FDCWD, Text(szFrom), AT_FDCWD, Text(szTo),
                     nFlag == 0 ? 0 : RENAME_NOREPLACE);
}

int unlink(const char* szPath, const char*) {
    if (zemb::IsFaultyNoThrow("unlink"))
        return -1;
    return ::unlink(Text(szPath));
}

long filesize(const char* szPath, const char*) {
    if (zemb::IsFaultyNoThrow("filesize"))
        return -1;
    struct ::stat info;
    return ::stat(Text(szPath), &info) == 0 ? info.st_size : -1;
}

}  // namespace ZEMB_OS

int ZembFileUtil::getFileList(const char* szFolder, std::vector<ZembFileEntry>& vecEntry,
                              const char*) {
    const base::CancelHold hold;
    if (zemb::IsFaultyNoThrow("getFileList"))
        return errno;
    Folder folder(AT_FDCWD, Text(szFolder), 0);
    for (ZembFileEntry entry; folder.Next(entry);)
        vecEntry.push_back(std::move(entry));
    return folder.Error();
}

int ZembFileUtil::walkTree(const char* szFolder,
                           const std::function<bool(const ZembFileEntry&)>& visit, const char*) {
    const base::CancelHold hold;
    if (zemb::IsFaultyNoThrow("walkTree"))
        return errno;
    FolderStack stack(Text(szFolder), 0);
    return Walk(stack, visit);
}

bool ZembFileUtil::isDir(const char* szPath, const char*) {
    if (zemb::IsFaultyNoThrow("isDir"))
        return false;
    struct ::stat info;
    return ::stat(Text(szPath), &info) == 0 && S_ISDIR(info.st_mode);
}

int ZembFileUtil::delDir(const char* szPath, const char*) {
    const base::CancelHold hold;
    if (zemb::IsFaultyNoThrow("delDir"))
        return errno;
    // A "/" behind a link would have it followed.
    std::string strPath = Text(szPath);
    while (strPath.size() > 1 && strPath.back() == '/')
        strPath.pop_back();
    FolderStack stack(strPath.c_str(), O_NOFOLLOW);
    int nError = DeleteContent(stack);
    if (nError == 0 && ::rmdir(strPath.c_str()) != 0)
        nError = errno;
    return nError;
}
