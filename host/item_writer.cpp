#include "item_writer.h"

#include "item_check.h"
#include "output.h"

#include "tovelkarin/nml_commondataapi.h"
#include "tovelkarin/nml_filemgr.h"
#include "tovelkarin/stringutil.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace host {

namespace {

// A file descriptor, closed with the object.
class Handle {
public:
    explicit Handle(int nFile) : m_nFile(nFile) {}
    ~Handle() {
        if (m_nFile != -1)
            close(m_nFile);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    operator int() const { return m_nFile; }

private:
    int m_nFile;
};

[[noreturn]] void Fail(const std::string& strFile) {
    throw CommandError(SYSTEM_FAILED, strFile + ": " + std::strerror(errno));
}

// A file that is taken away again unless it is put in its place.
class NewFile {
public:
    explicit NewFile(const std::string& strBeside)
        : m_strPath(strBeside + ".XXXXXX"), m_file(mkstemp(m_strPath.data())) {
        if (m_file == -1)
            Fail(m_strPath);
    }
    ~NewFile() {
        if (!m_bPlaced)
            unlink(m_strPath.c_str());
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    void Write(const std::string& strText, const struct stat& like) {
        std::size_t nDone = 0;
        while (nDone < strText.size()) {
            const ssize_t nOne = write(m_file, strText.data() + nDone, strText.size() - nDone);
            if (nOne == -1 && errno != EINTR)
                Fail(m_strPath);
            nDone += nOne > 0 ? static_cast<std::size_t>(nOne) : 0;
        }
        // Readers compare whole seconds.
        struct stat now {};
        if (fstat(m_file, &now) == 0 && now.st_mtime <= like.st_mtime) {
            const timespec arrTime[] = {{0, UTIME_OMIT}, {like.st_mtime + 1, 0}};
            if (futimens(m_file, arrTime) != 0)
                Fail(m_strPath);
        }
        // An owner that may not be given away stays with us; the rights are those of the old file.
        [[maybe_unused]] const int nIgnored = fchown(m_file, like.st_uid, like.st_gid);
        if (fchmod(m_file, like.st_mode & 07777) != 0 || fsync(m_file) != 0)
            Fail(m_strPath);
    }

    void PutInPlace(const std::string& strFile) {
        if (rename(m_strPath.c_str(), strFile.c_str()) != 0)
            Fail(strFile);
        m_bPlaced = true;
        const std::string strFolder = NSTN_util::GetParentPath(strFile);
        const Handle folder(
            open(strFolder.empty() ? "/" : strFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (folder == -1 || fsync(folder) != 0)
            throw CommandError(
                SYSTEM_FAILED,
                strFile + ": written, but a power failure may undo it: " + std::strerror(errno));
    }

private:
    std::string m_strPath;
    const Handle m_file;
    bool m_bPlaced = false;
};

void CheckItem(const std::string& strKey, const std::string& strValue) {
    const auto Refuse = [](const std::string& strWhy) {
        throw CommandError(WRONG_USAGE, "cfg set: " + strWhy);
    };
    if (strKey.empty() || strKey.front() == '#' ||
        strKey.find_first_of(std::string("=\n\0", 3)) != std::string::npos ||
        NSTN_util::Trim(strKey) != strKey)
        Refuse("the key '" + strKey +
               "' cannot be read back; expected no blanks around it, no '#' "
               "first and no '='");
    if (strValue.find_first_of(std::string("\n\0", 2)) != std::string::npos ||
        NSTN_util::Trim(strValue) != strValue)
        Refuse("the value cannot be read back; expected one line without blanks around it");
    if (strKey.size() + strValue.size() + 3 > ITEM_LINE_MAX)
        Refuse("the line gets over 1022 characters");
}

// Opens a plain file and waits until nobody else changes it; info becomes its properties.
int LockFile(const std::string& strPath, struct stat& info) {
    for (;;) {
        struct stat now {};
        if (stat(strPath.c_str(), &info) != 0)
            Fail(strPath);
        if (!S_ISREG(info.st_mode))
            throw CommandError(SYSTEM_FAILED, strPath + ": no plain file");
        const int nFile = open(strPath.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
        if (nFile == -1)
            Fail(strPath);
        // Whoever waited finds another file in its place and waits for that one.
        if (flock(nFile, LOCK_EX) == 0 && fstat(nFile, &info) == 0 &&
            stat(strPath.c_str(), &now) == 0 && now.st_ino == info.st_ino &&
            now.st_dev == info.st_dev)
            return nFile;
        close(nFile);
    }
}

// Where a value stands in a text.
struct Span {
    std::size_t nFrom = 0;
    std::size_t nTo = 0;
};

// Finds the value of the last line of strKey; false when no line has the key.
bool FindValue(const std::string& strFile, const std::string& strText, const std::string& strKey,
               Span& value) {
    bool bFound = false;
    int nLine = 0;
    for (std::size_t nStart = 0; nStart < strText.size();) {
        const std::size_t nEnd = std::min(strText.find('\n', nStart), strText.size());
        const std::string strLine = strText.substr(nStart, nEnd - nStart);
        ++nLine;
        if (strLine.size() > ITEM_LINE_MAX || strLine.find('\0') != std::string::npos)
            throw CommandError(ANSWER_NO, strFile + ":" + std::to_string(nLine) +
                                              ": a line of over 1022 characters, or a zero byte, "
                                              "hides from readers what follows");
        std::string strLeft;
        std::string strRight;
        const std::string strTrimmed = NSTN_util::Trim(strLine);
        if (strTrimmed.find('#') != 0 &&
            NSTN_util::SplitStrBySeparator(strTrimmed, "=", strLeft, strRight) &&
            strLeft == strKey) {
            bFound = true;
            value = {nStart + strLine.find('=') + 1, nStart + NSTN_util::RTrim(strLine).size()};
        }
        nStart = nEnd + 1;
    }
    return bFound;
}

}  // namespace

std::string SetItem(const std::string& strFile, const std::string& strKey,
                    const std::string& strValue, bool bNew) {
    CheckItem(strKey, strValue);
    if (bNew)  // nothing when it is there
        close(open(strFile.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
    std::error_code error;
    const std::string strPath = std::filesystem::canonical(strFile, error).string();
    if (error)
        throw CommandError(SYSTEM_FAILED, strFile + ": " + error.message());
    struct stat info {};
    const Handle lock(LockFile(strPath, info));
    std::string strText;
    if (const int nError = NSTN_util::ReadStrFromFile(strPath, strText); nError != 0)
        throw CommandError(SYSTEM_FAILED, strFile + ": " + std::strerror(nError));
    std::string strBefore;
    Span value;
    if (FindValue(strFile, strText, strKey, value)) {
        strBefore = NSTN_util::Trim(strText.substr(value.nFrom, value.nTo - value.nFrom));
        strText.replace(value.nFrom, value.nTo - value.nFrom,
                        strValue.empty() ? "" : " " + strValue);
        strBefore = strBefore == strValue
                        ? " (as before)"
                        : " (was " + (strBefore.empty() ? "empty" : strBefore) + ")";
    } else {
        const bool bCarriageReturns = strText.find("\r\n") != std::string::npos;
        const std::string strLineEnd = bCarriageReturns ? "\r\n" : "\n";
        if (!strText.empty() && strText.back() != '\n')
            strText += strLineEnd;
        strText += strKey + " = " + strValue + strLineEnd;
        strBefore = " (new)";
    }
    // The line may have blanks of its own; and what is written must be what will be read.
    Span written;
    if (!FindValue(strFile, strText, strKey, written) ||
        NSTN_util::Trim(strText.substr(written.nFrom, written.nTo - written.nFrom)) != strValue)
        throw CommandError(ANSWER_NO, strFile + ": the item would not be read back");
    NewFile file(strPath);
    file.Write(strText, info);
    file.PutInPlace(strPath);
    return strBefore;
}

}  // namespace host
