#include "tests/faults/calls.h"

#include "base/cancel_hold.h"
#include "tovelkarin/nml_filemgr.h"
#include "tovelkarin/telangresmgr.h"
#include "tovelkarin/temutexopermgr.h"
#include "tovelkarin/tnreadcfg.h"
#include "tovelkarin/tnreqtimeout.h"

#include <ctime>
#include <filesystem>
#include <fstream>

namespace faults {

namespace {

using namespace NSTN_util;
using Names = std::list<std::string>;
using Items = std::map<std::string, std::string>;

void Write(const std::string& strFile, const std::string& strText) {
    const base::CancelHold hold;
    std::filesystem::create_directories(std::filesystem::path(strFile).parent_path());
    std::ofstream(strFile) << strText;
}

void Remove(const std::string& strPath) {
    const base::CancelHold hold;
    std::filesystem::remove_all(strPath);
}

template <class Fn>
std::string NamesIn(const std::string& strFolder, Fn fn) {
    Names listName;
    const int nResult = fn(strFolder, listName);
    return Show(nResult, listName);
}

template <class Fn>
std::string Changed(std::string strText, Fn fn) {
    fn(strText);
    return strText;
}

std::vector<Call> PathCalls(const std::string& strFolder) {
    const std::string strFile = strFolder + "/list/file.txt";
    return {
        {"ConvertPathSplit",
         [] { return Changed("a\\long\\path\\in\\windows\\form", ConvertPathSplit); }},
        {"ConvertAbsolutePath",
         [] { return Changed("/a/long/path/../with/./steps/../in", ConvertAbsolutePath); }},
        {"RemoveLastSplit", [] { return Changed("/a/long/path/with/an/end/", RemoveLastSplit); }},
        {"FileNameAppendTime",
         [] { return Show(Changed("a_long_name_of_a_file.txt", FileNameAppendTime).size()); }},
        {"SpliceDir",
         [=] {
             return Show(SpliceDir(strFolder, "name"), GetParentPath(strFile),
                         GetFileNameFromPath(strFile), GetLastFolderFromPath(strFile));
         }},
        {"IsFolder", [=] { return Show(IsFolder(strFolder), IsFile(strFile)); }},
        {"GetFileSize", [=] { return Show(GetFileSize(strFile)); }},
        {"GetModifyFileUTCTime",
         [=] { return Show(GetModifyFileUTCTime(strFile) > 0, GetCrateFileUTCTime(strFile) > 0); }},
        {"DateTime2Str",
         [] { return Show(DateTime2Str(std::tm{}), DateTime2FileName(std::tm{})); }},
        {"CurDateTime2Str",
         [] { return Show(CurDateTime2Str().size(), CurDateTime2FileName().size()); }},
    };
}

std::vector<Call> FolderCalls(const std::string& strFolder) {
    const std::string strList = strFolder + "/list";
    return {
        {"GetAllFile",
         [=] {
             const auto WithFlag = [](auto fn) {
                 return
                     [fn](const auto& strDir, Names& listName) { return fn(strDir, 1, listName); };
             };
             return NamesIn(strList, GetAllFolder) + NamesIn(strList, GetAllFile) +
                    NamesIn(strList, WithFlag(GetAllFolderByFlag)) +
                    NamesIn(strList, WithFlag(GetAllFileByFlag));
         }},
        {"CheckFolerSize",
         [=] {
             double dBytes = 0;
             unsigned nCount = 0;
             const int nResult = CheckFolerSize(strList, dBytes, nCount, 100);
             return Show(nResult, dBytes, nCount, GetFolerSize(strList, 100));
         }},
        {"MKFolder",
         [=] {
             const int nMade = MKFolder(strFolder + "/made/by/the/call");
             return Show(nMade, DeleteFolder(strFolder + "/made"));
         }},
        {"RemoveFile",
         [=] {
             Write(strFolder + "/gone/a", "x");
             const int nMoved = RenameFile(strFolder + "/gone/a", strFolder + "/gone/b", 0);
             const int nGone = RemoveFile(strFolder + "/gone/b");
             Remove(strFolder + "/gone");
             return Show(nMoved, nGone);
         }},
        {"DeleteFolderByOrderName",
         [=] {
             for (const char* const szFile : {"/old/1", "/old/2", "/olds/1/a", "/olds/2/a"})
                 Write(strFolder + szFile, "x");
             Names listFile;
             Names listFolder;
             const int nFile = RemoveFileByOrderName(strFolder + "/old", listFile, 1, true);
             const int nFolder = DeleteFolderByOrderName(strFolder + "/olds", listFolder, 1, true);
             Remove(strFolder + "/old");
             Remove(strFolder + "/olds");
             return Show(nFile, listFile, nFolder, listFolder);
         }},
    };
}

std::vector<Call> ContentCalls(const std::string& strFolder) {
    const std::string strFile = strFolder + "/list/file.txt";
    const std::string strItems = strFolder + "/items.cfg";
    const std::string strOut = strFolder + "/written";
    return {
        {"WriteStrToFile",
         [=] {
             return Show(WriteStrToFile(strOut, "a text"), WriteStrToFile(strOut, Names{"a", "b"}));
         }},
        {"AppendToFile",
         [=] {
             std::filesystem::remove(strOut);
             return Show(AppendToFile(strOut, "a text"), AppendToFile(strOut, Names{"a", "b"}));
         }},
        {"WriteCfgItemToFile",
         [=] {
             const Items mapItem = {{"key", "value"}, {"other", "value"}};
             return Show(WriteCfgItemToFile(strOut, mapItem), AppendCfgItemToFile(strOut, mapItem));
         }},
        {"ReadStrFromFile",
         [=] {
             std::string strText;
             Names listLine;
             const int nText = ReadStrFromFile(strFile, strText);
             return Show(nText, strText, ReadStrFromFile(strFile, listLine, 5), listLine);
         }},
        {"ReadCfgItemFromFile",
         [=] {
             Items mapItem;
             const int nResult = ReadCfgItemFromFile(strItems, mapItem);
             return Show(nResult, mapItem);
         }},
        {"TNReadCfg",
         [=] {
             TNReadCfg cfg;
             std::string strValue;
             int nValue = 0;
             Items mapItem;
             Items mapAll;
             const bool bSet = cfg.SetFileName(strItems);
             const bool bText = cfg.GetItemValue("name", strValue);
             const bool bNumber = cfg.GetItemValue("number", nValue);
             cfg.ReLoadCfgFileIfNeed();
             const bool bNeed = cfg.IsNeedReloadCfgFile();
             cfg.InitCfgItem();
             const bool bLoaded = cfg.LoadCfgItemFromFile(mapItem);
             const bool bAll = cfg.GetAllCfgItem(mapAll);
             return Show(bSet, bText, strValue, bNumber, nValue, bNeed, bLoaded, mapItem, bAll);
         }},
        {"TNReqTimeoutIF",
         [=] {
             NSTE_util::TNReqTimeoutIF& timeouts = The<NSTE_util::TNReqTimeoutIF>();
             std::string strValue;
             int nValue = 0;
             const int nLoaded = timeouts.LoadTimeoutCfgFile(strFolder + "/timeouts.cfg");
             const bool bText = timeouts.GetItemValue(strItems, "name", strValue);
             const bool bNumber = timeouts.GetItemValue(strItems, "number", nValue);
             return Show(nLoaded, timeouts.GetReqTimeOutValue(5, 3, true),
                         timeouts.GetReqTimeDualValue(5), timeouts.GetReqTimeoutByDefault(6, 7),
                         timeouts.GetReqDefaultTimeout(8), bText, strValue, bNumber, nValue);
         }},
        {"TELangResMgr",
         [] {
             TELangResMgr& lang = The<TELangResMgr>();
             std::string strPath;
             const char* arrFile[] = {"some.res", nullptr};
             const bool bPath = lang.GetLangPath("/conf/lang/", strPath);
             const int nLoaded = lang.LoadLangFile("/conf/lang/", arrFile);
             return Show(bPath, nLoaded, lang.LoadLangFileImpl((strPath + "some.res").c_str()),
                         lang.GetResourceStr("some.key"), GetZEMBEnvironment().size());
         }},
        {"LoadMutexCfg",
         [=] {
             NSTE_util::TEMutexOperMgr::Destroy();
             return Show(The<NSTE_util::TEMutexOperMgr>().LoadMutexCfg(strFolder + "/mutex.cfg"));
         }},
    };
}

}  // namespace

std::vector<Call> FileCalls(const std::string& strFolder) {
    Write(strFolder + "/list/file.txt", "first line of the file\nsecond line\n");
    Write(strFolder + "/list/folder/inner.txt", "inside");
    Write(strFolder + "/items.cfg", "name = a value that needs memory of its own\nnumber = 17\n");
    Write(strFolder + "/timeouts.cfg",
          "[cmdreq_common_config]\ndefault_timeout = 60\noffset_time = 15\n"
          "[cmdreq_command_timeout]\n5 = 90\n");
    Write(strFolder + "/mutex.cfg",
          "[MUTEX_TABLE]\n101:102,103:1\n[MUTEX_ERRORCODE]\n101:5\n102:6\n");
    Write(strFolder + "/conf/lang/en/some.res", "some.key = a text that needs memory of its own\n");
    std::vector<Call> vecCall;
    for (const auto& Calls : {PathCalls, FolderCalls, ContentCalls})
        for (Call& call : Calls(strFolder))
            vecCall.push_back(std::move(call));
    return vecCall;
}

}  // namespace faults
