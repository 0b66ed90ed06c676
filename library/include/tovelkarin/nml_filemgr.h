#pragma once

#include "tovelkarin/export.h"

#include <ctime>
#include <list>
#include <map>
#include <string>

// Paths, files, folders, and the configuration-item file (docs/formats/item-file.md). Any thread.
// Unless said otherwise a result of 0 is success, nothing is thrown on bad input, outputs are
// untouched on failure, and paths are UTF-8.
namespace NSTN_util {

// Text of paths; no file is looked at.

// Trims blanks, tabs and line ends at both ends and turns every "\" into "/".
TN_API void ConvertPathSplit(std::string& strPath);

// ConvertPathSplit; then, unless the path is empty or begins with ".": every "/.." goes, with the
// "/" and name before it, and every "/./" becomes "/". "/a/b/../c/./d" becomes "/a/c/d". A "/.."
// with no "/" before it ends the work where it is. What begins with ".." counts too: "/a/..b" is
// "b". Cost: linear.
TN_API void ConvertAbsolutePath(std::string& strPath);

// strDir, "/" unless it ends with one, and strName; strName alone for "".
TN_API std::string SpliceDir(const std::string& strDir, const std::string& strName);

// Removes one "/" at the end. Throws std::out_of_range for "".
TN_API void RemoveLastSplit(std::string& strPath);

// "/a/b" for "/a/b/c" and "/a/b/c/"; "" when no "/" remains.
TN_API std::string GetParentPath(const std::string& strPath);
// What stands behind the last "/": "c" for "/a/b/c", "" for "/a/b/".
TN_API std::string GetFileNameFromPath(const std::string& strPath);
// The last folder named: "b" for "/a/b/c.txt" and for "/a/b/", "" for "c.txt".
TN_API std::string GetLastFolderFromPath(const std::string& strPath);

// Files and folders.

// Whether there is such a folder, or such a plain file; links are followed.
TN_API bool IsFolder(const std::string& strPath);
TN_API bool IsFile(const std::string& strPath);

// Makes a folder, but none above it; one that is there is fine. Otherwise -1, errno, and the line
// "NmlTrace:return: file:%s,line:%d, Info: %s, result = %d".
TN_API int MKFolder(const std::string& strPath);
// Deletes a folder with all that is in it and follows no link; on failure the reason from errno,
// and the line above.
TN_API int DeleteFolder(const std::string& strPath);

// -1 with errno on failure. Flag 0 replaces strTo, 1 refuses when it is there.
TN_API int RemoveFile(const std::string& strPath);
TN_API int RenameFile(const std::string& strFrom, const std::string& strTo, int nFlag);

// Bytes of a file; -1 if there is no such plain file.
TN_API long GetFileSize(const std::string& strPath);

// Seconds since 1970, UTC, of the last change of the content, and of the file's entry; -1 when
// there is nothing of that name: a file of the time -1, the last second of 1969, looks missing.
TN_API long GetModifyFileUTCTime(const std::string& strPath);
TN_API long GetCrateFileUTCTime(const std::string& strPath);

// Append the names of the folders, or of all that is no folder, in strDir, ascending byte by byte;
// nFlag 0 takes files, 1 folders, any other number both. 0, or the reason from errno.
TN_API int GetAllFolder(const std::string& strDir, std::list<std::string>& listName);
TN_API int GetAllFile(const std::string& strDir, std::list<std::string>& listName);
TN_API int GetAllFolderByFlag(const std::string& strDir, int nFlag,
                              std::list<std::string>& listName);
TN_API int GetAllFileByFlag(const std::string& strDir, int nFlag, std::list<std::string>& listName);

// Adds the bytes of all files below strDir to dBytes and the number of all entries to nCount;
// follows no link. 0; -1 as soon as nCount is over nLimit; else the reason why a folder could not
// be read, after all that could.
TN_API int CheckFolerSize(const std::string& strDir, double& dBytes, unsigned& nCount,
                          unsigned nLimit);
// The bytes alone; -1 when there are over nLimit entries.
TN_API double GetFolerSize(const std::string& strDir, unsigned nLimit);

// Deletes the folders (files) of strDir that listName names, lowest names first, until nKeep are
// left; time-stamped names go oldest first. With bFill listName is filled from strDir before. A
// list of no more than nKeep names stays as it is; otherwise listName then holds what is left,
// ascending. 0, or the first failure, which stops nothing: EINVAL for "", ".", ".." and a name with
// "/". Cost: n log n.
TN_API int DeleteFolderByOrderName(const std::string& strDir, std::list<std::string>& listName,
                                   unsigned nKeep, bool bFill);
TN_API int RemoveFileByOrderName(const std::string& strDir, std::list<std::string>& listName,
                                 unsigned nKeep, bool bFill);

// Whole files. 0, or errno; a pipe is not read (EINVAL), so that nobody waits for its other end.
// Texts are written up to their first zero byte. A file that is written anew is emptied first: what
// fails later is lost.

// The texts one after the other.
TN_API int WriteStrToFile(const std::string& strPath, const std::list<std::string>& listText);
TN_API int WriteStrToFile(const std::string& strPath, const std::string& strText);
// Behind what is there: a line feed, then each text with a line feed.
TN_API int AppendToFile(const std::string& strPath, const std::list<std::string>& listText);
TN_API int AppendToFile(const std::string& strPath, const std::string& strText);

// Each item as "key = value" and a line feed, in the order of the keys; appended behind a line
// feed.
TN_API int WriteCfgItemToFile(const std::string& strPath,
                              const std::map<std::string, std::string>& mapItem);
TN_API int AppendCfgItemToFile(const std::string& strPath,
                               const std::map<std::string, std::string>& mapItem);

// Adds the items of a configuration-item file to mapItem; a later line, and the file, win over what
// is there. -1, with mapItem as it was, when the file cannot be opened or not read to its end
// (line: "ReadCfgItemFromFile1 Open file(%s) error! "). A line without "=" is skipped (line: "
// TNReadCfg_SplitStrBySeparator (%s) error! "); one of over 1,022 characters ends the reading after
// its first 1,022. Cost: n log n in the lines, linear when the keys are sorted.
TN_API int ReadCfgItemFromFile(const std::string& strPath,
                               std::map<std::string, std::string>& mapItem);

// What follows is for plain files of at most 1 GiB: EISDIR for a folder, EFBIG for more, EINVAL for
// a device.

// Sets listLine to the lines of a file, without line feeds: the first nMost, all for 0.
TN_API int ReadStrFromFile(const std::string& strPath, std::list<std::string>& listLine,
                           unsigned nMost);
// Sets strText to the whole file.
TN_API int ReadStrFromFile(const std::string& strPath, std::string& strText);

// Times as text.

// "2026-03-01 08:00:00" and "20260301_080000". A year below 1900 counts from 1900, as in a standard
// tm, and the month from 0; otherwise both are taken as they stand. At most 50 characters.
TN_API std::string DateTime2Str(const std::tm& parts);
TN_API std::string DateTime2FileName(const std::tm& parts);
// The same of the present local time.
TN_API std::string CurDateTime2Str();
TN_API std::string CurDateTime2FileName();

// Appends "_", unless strName is empty or ends with one, and CurDateTime2FileName().
TN_API void FileNameAppendTime(std::string& strName);

}  // namespace NSTN_util
