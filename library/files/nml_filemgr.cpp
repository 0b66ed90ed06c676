#include "tovelkarin/nml_filemgr.h"

#include "base/item_line.h"
#include "base/number_text.h"
#include "base/trim.h"
#include "files/file_writer.h"
#include "files/item_file.h"
#include "files/key_order.h"
#include "files/read_file.h"
#include "tovelkarin/stringutil.h"
#include "trace/trace_line.h"

#include "zemb/os.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <vector>

// Paths, folders and files under the names of the interface. Paths are changed in place, in one
// pass over their dots. Folders and trees are the platform's walks, and so are as safe as those
// against exchanged links. Files are written by large blocks through FileWriter and read through
// read_file.h. Deleting the oldest lists a folder once and sorts its names once.
namespace NSTN_util {

namespace {

constexpr const char* FILE_WORD = "nml_filemgr";
constexpr mode_t FOLDER_MODE = 0755;
constexpr int FLAG_FILES = 0;
constexpr int FLAG_FOLDERS = 1;

// Where a failed folder operation says it comes from; nLine is message text.
struct FolderFault {
    int nLine;
    const char* szInfo;
};
constexpr FolderFault FAULT_DELETE = {332, "ZembFileUtil delDir Failed! "};
constexpr FolderFault FAULT_MAKE = {430, "MKFolder mkdir Failed! "};

int Failed(const FolderFault& fault, int nResult) {
    const int nError = errno;
    Report("NmlTrace:return: file:%s,line:%d, Info: %s, result = %d", FILE_WORD, fault.nLine,
           fault.szInfo, nResult);
    errno = nError;
    return nResult;
}

bool StatOf(const std::string& strPath, struct stat& info) {
    return ZEMB_OS::stat(strPath.c_str(), &info, PATH_CODE_SET) == 0;
}

std::string_view WithoutLastSplit(std::string_view strPath) {
    if (!strPath.empty() && strPath.back() == '/')
        strPath.remove_suffix(1);
    return strPath;
}

// Takes every "/.." away with the name before it, in place, from one "." to the next, so that what
// comes together is seen too. False when one has no "/" before it: the rest stays as it is.
bool RemoveUpSteps(std::string& strPath) {
    char* const pStart = strPath.data();
    const char* const pEnd = pStart + strPath.size();
    char* pTo = pStart;
    bool bResult = true;
    for (const char* pFrom = pStart; pFrom != pEnd;) {
        const void* const pDot = std::memchr(pFrom, '.', static_cast<std::size_t>(pEnd - pFrom));
        const char* const pNext = pDot == nullptr ? pEnd : static_cast<const char*>(pDot) + 1;
        const auto nSize = static_cast<std::size_t>(pNext - pFrom);
        if (pTo != pFrom)
            std::memmove(pTo, pFrom, nSize);
        pTo += nSize;
        pFrom = pNext;
        if (pTo - pStart < 3 || std::memcmp(pTo - 3, "/..", 3) != 0)
            continue;
        void* const pBefore = memrchr(pStart, '/', static_cast<std::size_t>(pTo - 3 - pStart));
        if (pBefore == nullptr) {
            pTo = std::copy(pFrom, pEnd, pTo);
            bResult = false;
            break;
        }
        pTo = static_cast<char*>(pBefore);
    }
    strPath.resize(static_cast<std::size_t>(pTo - pStart));
    return bResult;
}

// Whether "/./" stands in a text with few dots.
bool HasHereStep(const std::string& strPath) {
    for (std::size_t n = 0; (n = strPath.find('.', n)) != std::string::npos; ++n)
        if (n > 0 && strPath[n - 1] == '/' && strPath[n + 1] == '/')
            return true;
    return false;
}

void RemoveHereSteps(std::string& strPath) {
    if (!HasHereStep(strPath))
        return;
    char* const pStart = strPath.data();
    char* pTo = pStart;
    for (const char c : strPath) {
        *pTo++ = c;
        if (c == '/' && pTo - pStart >= 3 && pTo[-2] == '.' && pTo[-3] == '/')
            pTo -= 2;
    }
    strPath.resize(static_cast<std::size_t>(pTo - pStart));
}

int ListFolder(const std::string& strDir, int nFlag, std::list<std::string>& listName) {
    std::vector<ZembFileEntry> vecEntry;
    const int nResult = ZembFileUtil::getFileList(strDir.c_str(), vecEntry, PATH_CODE_SET);
    if (nResult != 0)
        return nResult;
    std::list<std::string> listFound;
    if (!vecEntry.empty())
        for (const Rank& rank : Ranks(vecEntry, [](const ZembFileEntry& entry) -> std::string_view {
                 return entry.strName;
             })) {
            ZembFileEntry& entry = vecEntry[rank.nItem];
            if ((nFlag != FLAG_FILES || !entry.bFolder) && (nFlag != FLAG_FOLDERS || entry.bFolder))
                listFound.push_back(std::move(entry.strName));
        }
    listName.splice(listName.end(), listFound);
    return 0;
}

// A name of an entry, which leads out of no folder.
bool IsEntryName(const std::string& strName) {
    return !strName.empty() && strName != "." && strName != ".." &&
           strName.find('/') == std::string::npos;
}

int RemoveFileOrError(const std::string& strPath) {
    return RemoveFile(strPath) == 0 ? 0 : errno;
}

// Deletes by strDelete the lowest names until nKeep are left.
int DeleteLowest(const std::string& strDir, std::list<std::string>& listName, unsigned nKeep,
                 int nFillFlag, bool bFill, int (*fnDelete)(const std::string&)) {
    int nResult = 0;
    if (bFill) {
        std::list<std::string> listFound;
        nResult = ListFolder(strDir, nFillFlag, listFound);
        if (nResult != 0)
            return nResult;
        listName.swap(listFound);
    }
    if (listName.size() <= nKeep)
        return 0;
    listName.sort();
    std::size_t nDelete = listName.size() - nKeep;
    for (auto it = listName.begin(); nDelete > 0; --nDelete) {
        const int nOne = IsEntryName(*it) ? fnDelete(SpliceDir(strDir, *it)) : EINVAL;
        nResult = nResult == 0 ? nOne : nResult;
        it = nOne == 0 ? listName.erase(it) : std::next(it);
    }
    return nResult;
}

void PutItems(FileWriter& writer, const std::map<std::string, std::string>& mapItem) {
    for (const auto& [strKey, strValue] : mapItem) {
        writer.PutText(strKey);
        writer.Put(" = ");
        writer.PutText(strValue);
        writer.Put("\n");
    }
}

// Cuts a text that comes block by block into lines.
class LineList {
public:
    // nMost 0: all lines.
    explicit LineList(unsigned nMost) : m_nMost(nMost) {}

    // False when there are enough.
    bool Add(std::string_view strBlock) {
        while (!strBlock.empty() && !IsEnough()) {
            const std::size_t nEnd = strBlock.find('\n');
            m_strOpen.append(strBlock.substr(0, nEnd));
            if (nEnd == std::string_view::npos)
                return true;
            m_listLine.push_back(m_strOpen);
            m_strOpen.clear();
            strBlock.remove_prefix(nEnd + 1);
        }
        return !IsEnough();
    }

    // The lines; what no line feed ends is the last one.
    std::list<std::string>& Finish() {
        if (!m_strOpen.empty() && !IsEnough())
            m_listLine.push_back(m_strOpen);
        return m_listLine;
    }

private:
    bool IsEnough() const { return m_nMost != 0 && m_listLine.size() >= m_nMost; }

    unsigned m_nMost;
    std::string m_strOpen;
    std::list<std::string> m_listLine;
};

// A standard tm counts years from 1900 and months from 0.
struct CalendarMonth {
    explicit CalendarMonth(const std::tm& parts) {
        // Deliberate: a year of 1900 or more is taken for a calendar year, and the month as it
        // stands.
        const bool bStandard = parts.tm_year < 1900;
        nYear = parts.tm_year + (bStandard ? 1900L : 0L);
        nMonth = parts.tm_mon + (bStandard ? 1L : 0L);
    }
    long nYear;
    long nMonth;
};

// What stands between year, month and day, before the hour, and between the parts of the time; 0:
// nothing.
struct DateSeparators {
    char cDate;
    char cTime;
    char cParts;
};

// Each part as "%02d" writes it, the year as "%04d", the whole cut to 50 characters.
std::string DateTimeText(const DateSeparators& separators, const std::tm& parts) {
    constexpr std::size_t TEXT_MAX = 50;
    const CalendarMonth month(parts);
    char szText[6 * (base::INTEGER_ROOM + 1)];
    char* p = base::WritePadded(szText, month.nYear, 4);
    const auto Put = [&p](char cSeparator, long nValue) {
        *p = cSeparator;
        p = base::WritePadded(p + (cSeparator == 0 ? 0 : 1), nValue, 2);
    };
    Put(separators.cDate, month.nMonth);
    Put(separators.cDate, parts.tm_mday);
    Put(separators.cTime, parts.tm_hour);
    Put(separators.cParts, parts.tm_min);
    Put(separators.cParts, parts.tm_sec);
    return std::string(szText, std::min(static_cast<std::size_t>(p - szText), TEXT_MAX));
}

}  // namespace

void ConvertPathSplit(std::string& strPath) {
    const std::string_view strTrimmed = base::Trim(strPath);
    if (strTrimmed.size() != strPath.size())
        strPath = std::string(strTrimmed);
    for (std::size_t n = 0; (n = strPath.find('\\', n)) != std::string::npos;)
        strPath[n] = '/';
}

void ConvertAbsolutePath(std::string& strPath) {
    ConvertPathSplit(strPath);
    if (!strPath.empty() && strPath.front() != '.' && RemoveUpSteps(strPath))
        RemoveHereSteps(strPath);
}

std::string SpliceDir(const std::string& strDir, const std::string& strName) {
    if (strDir.empty())
        return strName;
    return strDir.back() == '/' ? strDir + strName : strDir + "/" + strName;
}

void RemoveLastSplit(std::string& strPath) {
    // Deliberate: an empty path throws.
    if (strPath.at(strPath.size() - 1) == '/')
        strPath.pop_back();
}

std::string GetParentPath(const std::string& strPath) {
    const std::string_view strFull = WithoutLastSplit(strPath);
    const std::size_t nSplit = strFull.rfind('/');
    return nSplit == std::string_view::npos ? "" : std::string(strFull.substr(0, nSplit));
}

std::string GetFileNameFromPath(const std::string& strPath) {
    return strPath.substr(strPath.rfind('/') + 1);
}

std::string GetLastFolderFromPath(const std::string& strPath) {
    const std::size_t nSplit = strPath.rfind('/');
    return nSplit == std::string::npos ? "" : GetFileNameFromPath(strPath.substr(0, nSplit));
}

bool IsFolder(const std::string& strPath) {
    struct stat info {};
    return StatOf(strPath, info) && S_ISDIR(info.st_mode);
}

bool IsFile(const std::string& strPath) {
    struct stat info {};
    return StatOf(strPath, info) && S_ISREG(info.st_mode);
}

int MKFolder(const std::string& strPath) {
    if (IsFolder(strPath))
        return 0;
    const int nResult = ZEMB_OS::mkdir(strPath.c_str(), FOLDER_MODE, PATH_CODE_SET);
    return nResult == 0 ? 0 : Failed(FAULT_MAKE, nResult);
}

int DeleteFolder(const std::string& strPath) {
    const int nResult = ZembFileUtil::delDir(strPath.c_str(), PATH_CODE_SET);
    return nResult == 0 ? 0 : Failed(FAULT_DELETE, nResult);
}

int RemoveFile(const std::string& strPath) {
    return ZEMB_OS::unlink(strPath.c_str(), PATH_CODE_SET);
}

int RenameFile(const std::string& strFrom, const std::string& strTo, int nFlag) {
    return ZEMB_OS::rename(strFrom.c_str(), strTo.c_str(), nFlag, PATH_CODE_SET);
}

long GetFileSize(const std::string& strPath) {
    return IsFile(strPath) ? ZEMB_OS::filesize(strPath.c_str(), PATH_CODE_SET) : -1;
}

long GetModifyFileUTCTime(const std::string& strPath) {
    struct stat info {};
    return StatOf(strPath, info) ? info.st_mtime : -1;
}

long GetCrateFileUTCTime(const std::string& strPath) {
    struct stat info {};
    return StatOf(strPath, info) ? info.st_ctime : -1;
}

int GetAllFolder(const std::string& strDir, std::list<std::string>& listName) {
    return ListFolder(strDir, FLAG_FOLDERS, listName);
}

int GetAllFile(const std::string& strDir, std::list<std::string>& listName) {
    return ListFolder(strDir, FLAG_FILES, listName);
}

int GetAllFolderByFlag(const std::string& strDir, int nFlag, std::list<std::string>& listName) {
    return ListFolder(strDir, nFlag, listName);
}

int GetAllFileByFlag(const std::string& strDir, int nFlag, std::list<std::string>& listName) {
    return ListFolder(strDir, nFlag, listName);
}

int CheckFolerSize(const std::string& strDir, double& dBytes, unsigned& nCount, unsigned nLimit) {
    const int nResult = ZembFileUtil::walkTree(
        strDir.c_str(),
        [&](const ZembFileEntry& entry) {
            dBytes += static_cast<double>(entry.nSize);
            ++nCount;
            return nCount <= nLimit;
        },
        PATH_CODE_SET);
    return nResult == ECANCELED ? -1 : nResult;
}

double GetFolerSize(const std::string& strDir, unsigned nLimit) {
    double dBytes = 0;
    unsigned nCount = 0;
    return CheckFolerSize(strDir, dBytes, nCount, nLimit) == -1 ? -1 : dBytes;
}

int DeleteFolderByOrderName(const std::string& strDir, std::list<std::string>& listName,
                            unsigned nKeep, bool bFill) {
    return DeleteLowest(strDir, listName, nKeep, FLAG_FOLDERS, bFill, DeleteFolder);
}

int RemoveFileByOrderName(const std::string& strDir, std::list<std::string>& listName,
                          unsigned nKeep, bool bFill) {
    return DeleteLowest(strDir, listName, nKeep, FLAG_FILES, bFill, RemoveFileOrError);
}

int WriteStrToFile(const std::string& strPath, const std::list<std::string>& listText) {
    FileWriter writer(strPath, "w");
    for (const std::string& strText : listText)
        writer.PutText(strText);
    return writer.Finish();
}

int WriteStrToFile(const std::string& strPath, const std::string& strText) {
    FileWriter writer(strPath, "w");
    writer.PutText(strText);
    return writer.Finish();
}

int AppendToFile(const std::string& strPath, const std::list<std::string>& listText) {
    FileWriter writer(strPath, "a");
    writer.Put("\n");
    for (const std::string& strText : listText) {
        writer.PutText(strText);
        writer.Put("\n");
    }
    return writer.Finish();
}

int AppendToFile(const std::string& strPath, const std::string& strText) {
    FileWriter writer(strPath, "a");
    writer.Put("\n");
    writer.PutText(strText);
    writer.Put("\n");
    return writer.Finish();
}

int WriteCfgItemToFile(const std::string& strPath,
                       const std::map<std::string, std::string>& mapItem) {
    FileWriter writer(strPath, "w");
    PutItems(writer, mapItem);
    return writer.Finish();
}

int AppendCfgItemToFile(const std::string& strPath,
                        const std::map<std::string, std::string>& mapItem) {
    FileWriter writer(strPath, "a");
    writer.Put("\n");
    PutItems(writer, mapItem);
    return writer.Finish();
}

int ReadCfgItemFromFile(const std::string& strPath, std::map<std::string, std::string>& mapItem) {
    std::string strText;
    if (ReadFile(strPath, base::ITEM_LINE_MAX, strText) != EReadFile::WHOLE) {
        Report("ReadCfgItemFromFile1 Open file(%s) error! ", strPath);
        return -1;
    }
    ReadItems(strText, mapItem);
    return 0;
}

int ReadStrFromFile(const std::string& strPath, std::list<std::string>& listLine, unsigned nMost) {
    LineList lines(nMost);
    if (ReadBlocks(strPath, [&](std::string_view strBlock) { return lines.Add(strBlock); }) !=
        EReadFile::WHOLE)
        return errno;
    listLine.swap(lines.Finish());
    return 0;
}

int ReadStrFromFile(const std::string& strPath, std::string& strText) {
    std::string strRead;
    if (ReadFile(strPath, strRead) != EReadFile::WHOLE)
        return errno;
    strText.swap(strRead);
    return 0;
}

std::string DateTime2Str(const std::tm& parts) {
    return DateTimeText({'-', ' ', ':'}, parts);
}

std::string DateTime2FileName(const std::tm& parts) {
    return DateTimeText({0, '_', 0}, parts);
}

std::string CurDateTime2Str() {
    return DateTime2Str(GetCurTmTime());
}

std::string CurDateTime2FileName() {
    return DateTime2FileName(GetCurTmTime());
}

void FileNameAppendTime(std::string& strName) {
    if (!strName.empty() && strName.back() != '_')
        strName += '_';
    strName += CurDateTime2FileName();
}

}  // namespace NSTN_util
