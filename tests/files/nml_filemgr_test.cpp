#include "tovelkarin/nml_filemgr.h"

#include "tests/naive/item_file_check.h"
#include "tests/random_bytes.h"
#include "tests/support.h"
#include "tovelkarin/stringutil.h"
#include "zemb/os.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <stdexcept>

namespace {

using namespace NSTN_util;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using Items = std::map<std::string, std::string>;

class FileMgrTest : public testing::Test {
protected:
    support::TempFolder m_folder;
    support::DebugCapture m_debug;
};

TEST_F(FileMgrTest, AgreesWithTheNaiveModels) {
    support::CheckRandomly(naive::CheckItemFile, 3000, 200);
}

TEST_F(FileMgrTest, CutsPathsIntoTheirParts) {
    const struct {
        const char* szPath;
        const char* szParent;
        const char* szName;
        const char* szLastFolder;
    } arrCase[] = {{"/a/b/c.txt", "/a/b", "c.txt", "b"},
                   {"/a/b/", "/a", "", "b"},
                   {"/a", "", "a", ""},
                   {"a/b", "a", "b", "a"},
                   {"c.txt", "", "c.txt", ""},
                   {"/", "", "", ""},
                   {"", "", "", ""}};
    for (const auto& one : arrCase) {
        EXPECT_EQ(one.szParent, GetParentPath(one.szPath)) << one.szPath;
        EXPECT_EQ(one.szName, GetFileNameFromPath(one.szPath)) << one.szPath;
        EXPECT_EQ(one.szLastFolder, GetLastFolderFromPath(one.szPath)) << one.szPath;
    }
    EXPECT_EQ("x", SpliceDir("", "x"));
    EXPECT_EQ("a/x", SpliceDir("a/", "x"));
    EXPECT_EQ("a/x", SpliceDir("a", "x"));
    std::string strPath = "a//";
    RemoveLastSplit(strPath);
    EXPECT_EQ("a/", strPath);
    strPath.clear();
    EXPECT_THROW(RemoveLastSplit(strPath), std::out_of_range);
}

TEST_F(FileMgrTest, MakesPathsAbsoluteAsFarAsTheyGo) {
    const std::pair<const char*, const char*> arrCase[] = {
        {" \\a\\b\t", "/a/b"},
        {"/a/b/../c/./d", "/a/c/d"},
        {"/a/..b", "b"},
        {"/a/./../b", "/a/b"},
        {"/../a/./b", "/../a/./b"},
        {"a/../b", "a/../b"},
        {"./a/../b", "./a/../b"},
        {"/a/././b/.", "/a/b/."},
        {"/a/.//..", "/a/."},
        {"", ""},
    };
    for (const auto& [szPath, szAbsolute] : arrCase) {
        std::string strPath = szPath;
        ConvertAbsolutePath(strPath);
        EXPECT_EQ(szAbsolute, strPath) << szPath;
    }
    std::string strLong;
    for (int i = 0; i < 100000; ++i)
        strLong += "/x/..";
    ConvertAbsolutePath(strLong);
    EXPECT_EQ("", strLong);
}

TEST_F(FileMgrTest, ReadsItemsByTheLineRules) {
    const std::string strPath = m_folder.Write(
        "a.cfg",
        "\t # indented\nkey=a=b\n#x = y\nno equal\n key = c \r\n = empty key\nempty value=\n");
    Items mapItem = {{"old", "kept"}};
    EXPECT_EQ(0, ReadCfgItemFromFile(strPath, mapItem));
    EXPECT_THAT(mapItem, ElementsAre(Pair("", "empty key"), Pair("empty value", ""),
                                     Pair("key", "c"), Pair("old", "kept")));
    EXPECT_THAT(m_debug.TakeWhole(),
                ElementsAre("tovelkarin 1  TNReadCfg_SplitStrBySeparator (no equal) error! "));
    EXPECT_EQ(-1, ReadCfgItemFromFile(m_folder.Path("none"), mapItem));
    EXPECT_EQ(-1, ReadCfgItemFromFile(m_folder.Path(), mapItem));
    EXPECT_EQ(4U, mapItem.size());
    EXPECT_THAT(m_debug.Take(),
                ElementsAre("ReadCfgItemFromFile1 Open file(" + m_folder.Path("none") + ") error! ",
                            "ReadCfgItemFromFile1 Open file(" + m_folder.Path() + ") error! "));
}

TEST_F(FileMgrTest, StopsBehindTheFirst1022CharactersOfALine) {
    for (const std::size_t nLength : {1021U, 1022U, 1023U}) {
        const std::string strValue(nLength - 2, 'v');
        const std::string strPath = m_folder.Write("l.cfg", "k=" + strValue + "\nnext=1\n");
        Items mapItem;
        EXPECT_EQ(0, ReadCfgItemFromFile(strPath, mapItem));
        EXPECT_EQ(strValue.substr(0, 1020), mapItem["k"]);
        EXPECT_EQ(nLength <= 1022 ? 1U : 0U, mapItem.count("next")) << nLength;
    }
    Items mapItem;
    EXPECT_EQ(0, ReadCfgItemFromFile("/dev/zero", mapItem));  // an endless line ends the reading
    EXPECT_THAT(mapItem, IsEmpty());
}

TEST_F(FileMgrTest, WritesWholeFilesAndReadsThemBack) {
    const std::string strPath = m_folder.Path("f.txt");
    EXPECT_EQ(0,
              WriteStrToFile(strPath, std::list<std::string>{"a", "b\n", std::string("c\0d", 3)}));
    EXPECT_EQ("ab\nc", support::ReadAll(strPath));
    EXPECT_EQ(0, AppendToFile(strPath, std::list<std::string>{"x", "y"}));
    EXPECT_EQ(0, AppendToFile(strPath, std::string("z")));
    EXPECT_EQ("ab\nc\nx\ny\n\nz\n", support::ReadAll(strPath));
    EXPECT_EQ(0, AppendCfgItemToFile(strPath, {{"k", "v"}, {"j", ""}}));
    EXPECT_EQ("ab\nc\nx\ny\n\nz\n\nj = \nk = v\n", support::ReadAll(strPath));

    std::list<std::string> listLine = {"old"};
    EXPECT_EQ(0, ReadStrFromFile(strPath, listLine, 2));
    EXPECT_THAT(listLine, ElementsAre("ab", "c"));
    EXPECT_EQ(0, ReadStrFromFile(strPath, listLine, 0));
    EXPECT_THAT(listLine, ElementsAre("ab", "c", "x", "y", "", "z", "", "j = ", "k = v"));
    std::string strText;
    EXPECT_EQ(0, ReadStrFromFile(strPath, strText));
    EXPECT_EQ(support::ReadAll(strPath), strText);

    EXPECT_EQ(0, WriteStrToFile(strPath, std::string("no end")));
    EXPECT_EQ(0, ReadStrFromFile(strPath, listLine, 5));
    EXPECT_THAT(listLine, ElementsAre("no end"));
    EXPECT_EQ(ENOENT, ReadStrFromFile(m_folder.Path("none"), strText));
    EXPECT_EQ(EISDIR, ReadStrFromFile(m_folder.Path(), listLine, 0));
    EXPECT_EQ("no end", listLine.front());
    EXPECT_EQ(ENOENT, WriteStrToFile(m_folder.Path("none/f"), strText));
}

TEST_F(FileMgrTest, ReadsWholeOnlyWhatIsAPlainFileOfAtMost1GiB) {
    const std::string strLarge = m_folder.Write("large", "line\n");
    std::filesystem::resize_file(strLarge, (1L << 30) + 1);  // takes no room on the disk
    const std::string strPipe = m_folder.Path("pipe");
    ASSERT_EQ(0, mkfifo(strPipe.c_str(), 0600));
    const std::pair<std::string, int> arrCase[] = {{strLarge, EFBIG},     {"/dev/zero", EINVAL},
                                                   {"/dev/null", EINVAL}, {m_folder.Path(), EISDIR},
                                                   {strPipe, EINVAL},     {"/proc/self/mem", EIO}};
    for (const auto& [strPath, nError] : arrCase) {
        std::string strText = "kept";
        std::list<std::string> listLine = {"kept"};
        EXPECT_EQ(nError, ReadStrFromFile(strPath, strText)) << strPath;
        EXPECT_EQ(nError, ReadStrFromFile(strPath, listLine, 1)) << strPath;
        EXPECT_EQ("kept kept", strText + " " + listLine.front());
    }
    Items mapItem;
    for (const std::string& strPath : {strPipe, std::string("/proc/self/mem")})
        EXPECT_EQ(-1, ReadCfgItemFromFile(strPath, mapItem)) << strPath;
    std::filesystem::resize_file(strLarge, 1L << 30);
    std::list<std::string> listLine;
    EXPECT_EQ(0, ReadStrFromFile(strLarge, listLine, 1));
    EXPECT_THAT(listLine, ElementsAre("line"));
}

TEST_F(FileMgrTest, ReadsFilesThatTheSystemMakesUp) {
    std::list<std::string> listLine;
    ASSERT_EQ(0, ReadStrFromFile("/proc/self/smaps", listLine, 0));  // comes in small pieces
    EXPECT_TRUE(std::any_of(listLine.begin(), listLine.end(), [](const std::string& strLine) {
        return strLine.find("[stack]") != std::string::npos;  // stands near the end
    }));
}

TEST_F(FileMgrTest, TellsThatTheDiskIsFull) {
    const std::string strLong(200000, 'x');
    EXPECT_EQ(ENOSPC, WriteStrToFile("/dev/full", strLong));
    EXPECT_EQ(ENOSPC, WriteCfgItemToFile("/dev/full", {{"k", "v"}}));
    EXPECT_EQ(ENOSPC, AppendToFile("/dev/full", std::string("x")));
}

TEST_F(FileMgrTest, MakesAndDeletesFoldersWithoutFollowingLinks) {
    const std::string strOutside = m_folder.Write("outside/kept.txt", "kept");
    const std::string strDir = m_folder.Path("d");
    EXPECT_EQ(0, MKFolder(strDir));
    EXPECT_EQ(0, MKFolder(strDir));
    EXPECT_TRUE(IsFolder(strDir) && !IsFile(strDir) && IsFile(strOutside));
    {
        // errno is promised: what writes the line may not spoil it.
        const zemb::ScopedDebugSink sink([](const zemb::DebugLine&) { errno = EDOM; });
        EXPECT_EQ(-1, MKFolder(m_folder.Path("x/y")));
        EXPECT_EQ(ENOENT, errno);
    }
    m_folder.Write("d/in/deep/a.txt", "12345");
    m_folder.Write("d/b.txt", "123");
    std::filesystem::create_directory_symlink(m_folder.Path("outside"), strDir + "/link");
    std::filesystem::create_directory_symlink(strDir, strDir + "/in/loop");
    double dBytes = 1;
    unsigned nCount = 1;
    EXPECT_EQ(0, CheckFolerSize(strDir, dBytes, nCount, 100));
    EXPECT_EQ(9, dBytes);
    EXPECT_EQ(7U, nCount);  // in, deep, a.txt, b.txt, link, loop, and what was there
    EXPECT_EQ(8, GetFolerSize(strDir, 6));
    EXPECT_EQ(-1, GetFolerSize(strDir, 5));
    EXPECT_EQ(ENOENT, CheckFolerSize(m_folder.Path("none"), dBytes, nCount, 100));
    EXPECT_EQ(ENOTDIR, DeleteFolder(strDir + "/link/"));  // the "/" does not make it be followed
    m_debug.Take();
    EXPECT_EQ(0, DeleteFolder(strDir + "/"));
    EXPECT_FALSE(IsFolder(strDir));
    EXPECT_EQ("kept", support::ReadAll(strOutside));
    EXPECT_EQ(ENOENT, DeleteFolder(strDir));
    EXPECT_EQ(-1, MKFolder(m_folder.Path("x/y")));
    EXPECT_THAT(m_debug.Take(),
                ElementsAre("NmlTrace:return: file:nml_filemgr,line:332, Info: ZembFileUtil delDir "
                            "Failed! , result = 2",
                            "NmlTrace:return: file:nml_filemgr,line:430, Info: MKFolder mkdir "
                            "Failed! , result = -1"));
}

// A folder in a folder, and so on, with a file before and behind each; the names of all together
// are longer than a path may be.
void MakeDeepTree(const std::string& strTop, unsigned nDepth) {
    const std::string strName(100, 'n');
    std::filesystem::create_directory(strTop);
    int nFolder = open(strTop.c_str(), O_RDONLY | O_DIRECTORY);
    for (unsigned n = 0; n < nDepth; ++n) {
        mkdirat(nFolder, strName.c_str(), 0755);
        for (const char* const szFile : {"a", "z"}) {
            const int nFile = openat(nFolder, szFile, O_WRONLY | O_CREAT, 0644);
            EXPECT_EQ(1, write(nFile, "x", 1));
            close(nFile);
        }
        const int nInner = openat(nFolder, strName.c_str(), O_RDONLY | O_DIRECTORY);
        close(nFolder);
        nFolder = nInner;
    }
    close(nFolder);
}

TEST_F(FileMgrTest, GoesDeeperThanThereAreDescriptors) {
    const std::string strTop = m_folder.Path("top");
    constexpr unsigned DEPTH = 60;
    MakeDeepTree(strTop, DEPTH);
    rlimit before{};
    ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &before));
    rlimit few = before;
    few.rlim_cur = 12;  // beside those that are open
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        few.rlim_cur = std::max(few.rlim_cur, 12 + std::stoul(entry.path().filename().string()));
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &few));
    double dBytes = 0;
    unsigned nCount = 0;
    const int nChecked = CheckFolerSize(strTop, dBytes, nCount, 3 * DEPTH);
    const double dStopped = GetFolerSize(strTop, 3 * DEPTH - 1);
    const int nDeleted = DeleteFolder(strTop);
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(0, nChecked);
    EXPECT_EQ(3 * DEPTH, nCount);
    EXPECT_EQ(2.0 * DEPTH, dBytes);
    EXPECT_EQ(-1, dStopped);
    EXPECT_EQ(0, nDeleted);
    EXPECT_FALSE(IsFolder(strTop));
}

// Names in the order of a walk; called for each before it is taken down.
std::vector<std::string> Walked(const std::string& strTop, int& nResult,
                                const std::function<void(const std::string&)>& fn) {
    std::vector<std::string> vecName;
    nResult = ZembFileUtil::walkTree(
        strTop.c_str(),
        [&](const ZembFileEntry& entry) {
            fn(entry.strName);
            vecName.push_back(entry.strName);
            return true;
        },
        "UTF-8");
    return vecName;
}

TEST_F(FileMgrTest, WalksInTheOrderOfTheFoldersAndLeavesAnExchangedOne) {
    const std::string strTop = m_folder.Path("top");
    std::string strDir = "top";
    for (char c = 'a'; c < 'p'; ++c) {
        for (const char* const szName : {"/1", "/2", "/3/x", "/4"})
            m_folder.Write(strDir + szName, "");
        strDir += std::string("/") + c;
    }
    m_folder.Write(strDir + "/last", "");
    std::vector<std::string> vecExpected;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(strTop))
        vecExpected.push_back(entry.path().filename().string());
    int nResult = 0;
    EXPECT_EQ(vecExpected, Walked(strTop, nResult, [](const std::string&) {}));
    EXPECT_EQ(0, nResult);
    // At the bottom, a folder of the way up is moved to where the walk may not go.
    m_folder.Write("outside/secret", "");
    const auto vecName = Walked(strTop, nResult, [&](const std::string& strName) {
        if (strName == "last")
            std::filesystem::rename(strTop + "/a/b/c", m_folder.Path("outside/c"));
    });
    EXPECT_EQ(ESTALE, nResult);
    EXPECT_THAT(vecName, testing::Not(testing::Contains("secret")));
}

TEST_F(FileMgrTest, ListsInTheOrderOfTheBytes) {
    for (const char* const szName : {"b", "a", "\xFF", "C"})
        m_folder.Write(std::string("d/") + szName, "");
    m_folder.Write("d/sub/x", "");
    const std::string strDir = m_folder.Path("d");
    std::list<std::string> listName = {"first"};
    EXPECT_EQ(0, GetAllFile(strDir, listName));
    EXPECT_THAT(listName, ElementsAre("first", "C", "a", "b", "\xFF"));
    listName.clear();
    EXPECT_EQ(0, GetAllFolder(strDir, listName));
    EXPECT_EQ(0, GetAllFolderByFlag(strDir, 1, listName));
    EXPECT_EQ(0, GetAllFileByFlag(strDir, 2, listName));
    EXPECT_THAT(listName, ElementsAre("sub", "sub", "C", "a", "b", "sub", "\xFF"));
    EXPECT_EQ(ENOENT, GetAllFile(m_folder.Path("none"), listName));
}

TEST_F(FileMgrTest, PrunesTheLowestNames) {
    for (const char* const szName : {"3", "1", "2", "4"})
        m_folder.Write(std::string("d/") + szName, "");
    for (const char* const szName : {"x", "y", "z"})
        m_folder.Write(std::string("d/") + szName + "/f", "");
    const std::string strDir = m_folder.Path("d");
    std::list<std::string> listName = {"old"};
    EXPECT_EQ(0, RemoveFileByOrderName(strDir, listName, 3, true));
    EXPECT_THAT(listName, ElementsAre("2", "3", "4"));
    listName = {"4", "2", "none"};
    EXPECT_EQ(0, RemoveFileByOrderName(strDir, listName, 3, false));
    EXPECT_THAT(listName, ElementsAre("4", "2", "none"));
    EXPECT_EQ(ENOENT, RemoveFileByOrderName(strDir, listName, 0, false));
    EXPECT_THAT(listName, ElementsAre("none"));
    listName = {"", "..", ".", "a/b", "none"};
    EXPECT_EQ(EINVAL, DeleteFolderByOrderName(strDir, listName, 0, false));
    EXPECT_THAT(listName, ElementsAre("", ".", "..", "a/b", "none"));
    EXPECT_EQ(0, DeleteFolderByOrderName(strDir, listName, 1, true));
    EXPECT_THAT(listName, ElementsAre("z"));
    std::list<std::string> listLeft;
    GetAllFileByFlag(strDir, 2, listLeft);
    EXPECT_THAT(listLeft, ElementsAre("3", "z"));
    EXPECT_EQ(ENOENT, RemoveFileByOrderName(m_folder.Path("none"), listName, 0, true));
}

TEST_F(FileMgrTest, TellsSizesAndTimes) {
    const std::string strPath = m_folder.Write("f", "12345");
    const timespec arrTime[] = {{5, 0}, {1234567890, 5}};
    utimensat(AT_FDCWD, strPath.c_str(), arrTime, 0);
    EXPECT_EQ(5, GetFileSize(strPath));
    EXPECT_EQ(-1, GetFileSize(m_folder.Path()));
    EXPECT_EQ(1234567890, GetModifyFileUTCTime(strPath));
    EXPECT_GT(GetCrateFileUTCTime(strPath), 1234567890);
    EXPECT_EQ(-1, GetModifyFileUTCTime(m_folder.Path("none")));
    EXPECT_EQ(-1, GetCrateFileUTCTime(m_folder.Path("none")));
    EXPECT_EQ(0, RenameFile(strPath, m_folder.Path("g"), 0));
    m_folder.Write("h", "");
    EXPECT_EQ(-1, RenameFile(m_folder.Path("g"), m_folder.Path("h"), 1));
    EXPECT_EQ(EEXIST, errno);
    EXPECT_EQ(0, RemoveFile(m_folder.Path("g")));
    EXPECT_EQ(-1, RemoveFile(m_folder.Path("g")));
}

TEST_F(FileMgrTest, ReadsATmInTwoWays) {
    std::tm parts{};
    parts.tm_year = 120;
    parts.tm_mon = 0;
    parts.tm_mday = 2;
    parts.tm_hour = 3;
    parts.tm_min = 4;
    parts.tm_sec = 5;
    EXPECT_EQ("2020-01-02 03:04:05", DateTime2Str(parts));
    parts.tm_year = 2020;  // a calendar year already, so the month counts from 1 too
    parts.tm_mon = 1;
    EXPECT_EQ("2020-01-02 03:04:05", DateTime2Str(parts));
    EXPECT_EQ("20200102_030405", DateTime2FileName(parts));
    parts = {};
    parts.tm_year = parts.tm_mon = parts.tm_mday = parts.tm_hour = parts.tm_min = -2000000000;
    EXPECT_EQ("-1999998100--1999999999--2000000000 -2000000000:-2", DateTime2Str(parts));
    for (const int n :
         {INT_MIN, -1000, -999, -100, -10, -9, -1, 0, 9, 10, 99, 100, 1899, INT_MAX}) {
        const std::tm odd{n, n, n, n, n, n, 0, 0, 0, 0, nullptr};
        const bool bStandard = n < 1900;
        char szText[51];
        std::snprintf(szText, sizeof szText, "%04ld%02ld%02d_%02d%02d%02d",
                      n + (bStandard ? 1900L : 0L), n + (bStandard ? 1L : 0L), n, n, n, n);
        EXPECT_EQ(szText, DateTime2FileName(odd)) << n;
    }

    zemb::ScopedClock clock;
    clock.Freeze(1772352000LL * 1000000);
    zemb::SetTimeZone("Asia/Shanghai");
    EXPECT_EQ("2026-03-01 16:00:00", CurDateTime2Str());
    for (const char* const szName : {"", "log", "log_"}) {
        std::string strName = szName;
        FileNameAppendTime(strName);
        EXPECT_EQ(std::string(*szName == '\0' ? "" : "log_") + "20260301_160000", strName);
    }
    zemb::SetTimeZone("");
}

}  // namespace
