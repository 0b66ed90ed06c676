#include "zemb/os.h"

#include "base/cancel_hold.h"
#include "embedded/fault_point.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace {

const char* Text(const char* szPath) {
    return szPath == nullptr ? "" : szPath;
}

// An open folder, closed with the object.
class Folder {
public:
    // szName within nParent, or a path from where the process stands.
    Folder(int nParent, const char* szName, int nFlags)
        : m_nError(0), m_pDir(Open(nParent, szName, nFlags)) {
        if (m_pDir == nullptr)
            m_nError = errno;
    }
    ~Folder() {
        if (m_pDir != nullptr)
            closedir(m_pDir);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    // Why it could not be opened or read, else 0.
    int Error() const { return m_nError; }
    int Handle() const { return dirfd(m_pDir); }

    // The next entry but "." and ".."; null behind the last one, and after an error.
    const dirent* Next() {
        while (m_pDir != nullptr) {
            errno = 0;
            const dirent* const pEntry = readdir(m_pDir);
            if (pEntry == nullptr) {
                m_nError = errno;
                return nullptr;
            }
            if (std::strcmp(pEntry->d_name, ".") != 0 && std::strcmp(pEntry->d_name, "..") != 0)
                return pEntry;
        }
        return nullptr;
    }

private:
    static DIR* Open(int nParent, const char* szName, int nFlags) {
        const int nFile = openat(nParent, szName, O_RDONLY | O_DIRECTORY | O_CLOEXEC | nFlags);
        if (nFile == -1)
            return nullptr;
        DIR* const pDir = fdopendir(nFile);
        if (pDir == nullptr)
            close(nFile);
        return pDir;
    }

    const base::CancelHold m_hold;
    int m_nError;
    DIR* m_pDir;
};

bool IsFolder(const Folder& folder, const dirent& entry) {
    if (entry.d_type != DT_UNKNOWN)
        return entry.d_type == DT_DIR;
    struct ::stat info;
    return fstatat(folder.Handle(), entry.d_name, &info, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISDIR(info.st_mode);
}

long SizeOf(const Folder& folder, const char* szName) {
    struct ::stat info;
    return fstatat(folder.Handle(), szName, &info, AT_SYMLINK_NOFOLLOW) == 0 &&
                   S_ISREG(info.st_mode)
               ? info.st_size
               : 0;
}

void KeepFirst(int& nFirst, int nError) {
    if (nFirst == 0)
        nFirst = nError;
}

int Walk(Folder& folder, const std::function<bool(const ZembFileEntry&)>& visit) {
    if (folder.Error() != 0)
        return folder.Error();
    int nError = 0;
    while (const dirent* const pEntry = folder.Next()) {
        const bool bFolder = IsFolder(folder, *pEntry);
        const ZembFileEntry entry{pEntry->d_name, bFolder,
                                  bFolder ? 0 : SizeOf(folder, pEntry->d_name)};
        if (!visit(entry))
            return ECANCELED;
        if (!bFolder)
            continue;
        Folder inner(folder.Handle(), entry.strName.c_str(), O_NOFOLLOW);
        const int nInner = Walk(inner, visit);
        if (nInner == ECANCELED)
            return nInner;
        KeepFirst(nError, nInner);
    }
    KeepFirst(nError, folder.Error());
    return nError;
}

int DeleteContent(Folder& folder) {
    if (folder.Error() != 0)
        return folder.Error();
    // The names first: what readdir gives while entries vanish is not defined.
    std::vector<std::pair<std::string, bool>> vecName;
    while (const dirent* const pEntry = folder.Next())
        vecName.emplace_back(pEntry->d_name, IsFolder(folder, *pEntry));
    int nError = folder.Error();
    for (const auto& [strName, bFolder] : vecName) {
        if (bFolder) {
            Folder inner(folder.Handle(), strName.c_str(), O_NOFOLLOW);
            KeepFirst(nError, DeleteContent(inner));
        }
        // What somebody else has deleted meanwhile is gone too.
        if (unlinkat(folder.Handle(), strName.c_str(), bFolder ? AT_REMOVEDIR : 0) != 0 &&
            errno != ENOENT)
            KeepFirst(nError, errno);
    }
    return nError;
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
    if (zemb::IsFaultyNoThrow("getFileList"))
        return errno;
    Folder folder(AT_FDCWD, Text(szFolder), 0);
    while (const dirent* const pEntry = folder.Next())
        vecEntry.push_back({pEntry->d_name, IsFolder(folder, *pEntry), 0});
    return folder.Error();
}

int ZembFileUtil::walkTree(const char* szFolder,
                           const std::function<bool(const ZembFileEntry&)>& visit, const char*) {
    if (zemb::IsFaultyNoThrow("walkTree"))
        return errno;
    Folder folder(AT_FDCWD, Text(szFolder), 0);
    return Walk(folder, visit);
}

bool ZembFileUtil::isDir(const char* szPath, const char*) {
    if (zemb::IsFaultyNoThrow("isDir"))
        return false;
    struct ::stat info;
    return ::stat(Text(szPath), &info) == 0 && S_ISDIR(info.st_mode);
}

int ZembFileUtil::delDir(const char* szPath, const char*) {
    if (zemb::IsFaultyNoThrow("delDir"))
        return errno;
    // A "/" behind a link would have it followed.
    std::string strPath = Text(szPath);
    while (strPath.size() > 1 && strPath.back() == '/')
        strPath.pop_back();
    int nError = 0;
    {
        Folder folder(AT_FDCWD, strPath.c_str(), O_NOFOLLOW);
        nError = DeleteContent(folder);
    }
    if (nError == 0 && ::rmdir(strPath.c_str()) != 0)
        nError = errno;
    return nError;
}
