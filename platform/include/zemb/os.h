#pragma once

#include "zemb/export.h"

#include <sys/stat.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

// Files and folders. szCodeSet names the code set of the path, "UTF-8"; on this platform a path is
// bytes and goes to the system as it is. A null path counts as "". Any thread. Throws at most
// std::bad_alloc, or what a function of the caller throws.

namespace ZEMB_OS {

// As their POSIX namesakes: a result of -1, or null, leaves the reason in errno.
ZEMB_API int stat(const char* szPath, struct ::stat* pStat, const char* szCodeSet);
// The stream has a descriptor: who reads a file as a whole does so through that.
ZEMB_API std::FILE* fopen(const char* szPath, const char* szMode, const char* szCodeSet);
ZEMB_API int mkdir(const char* szPath, mode_t nMode, const char* szCodeSet);
// nFlag 0 replaces szTo, as POSIX does; 1 refuses with EEXIST when it is there.
ZEMB_API int rename(const char* szFrom, const char* szTo, int nFlag, const char* szCodeSet);
ZEMB_API int unlink(const char* szPath, const char* szCodeSet);
// Bytes of a file.
ZEMB_API long filesize(const char* szPath, const char* szCodeSet);

}  // namespace ZEMB_OS

// One entry of a folder; never "." or "..".
struct ZembFileEntry {
    std::string strName;
    bool bFolder;  // a link to a folder is none
    long nSize;    // bytes of a plain file, else 0
};

// Folders and what is in them.
class ZEMB_API ZembFileUtil {
public:
    // Appends the entries of a folder, in no order; sizes are 0. 0, or the reason from errno.
    static int getFileList(const char* szFolder, std::vector<ZembFileEntry>& vecEntry,
                           const char* szCodeSet);

    // Calls visit for each entry at every depth, a folder before what is in it, until it answers
    // false. Follows no link below szFolder. 0; ECANCELED when visit ended the walk; else the first
    // reason why a folder could not be read, after all that could.
    static int walkTree(const char* szFolder,
                        const std::function<bool(const ZembFileEntry&)>& visit,
                        const char* szCodeSet);

    // Whether there is such a folder; links are followed.
    static bool isDir(const char* szPath, const char* szCodeSet);

    // Deletes a folder with all that is in it; of a link below it only the link. 0, or the first
    // reason why something could not be deleted.
    static int delDir(const char* szPath, const char* szCodeSet);
};
