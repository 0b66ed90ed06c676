#include "tests/platform/operlog_support.h"
#include "tests/system_calls.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <iterator>
#include <set>

namespace {

using FrameUtil::WriteOperationLog;
using support::OperLogStoreTest;
using support::OtherConnection;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

TEST_F(OperLogStoreTest, MovesADamagedFileAside) {
    for (const char* const szWhat : {support::NO_DATABASE, ""}) {
        m_folder.Write("state/operlog.db", szWhat);
        EXPECT_EQ(1, WriteOperationLog(Info(1), 0)) << szWhat;
    }
    // The second file was empty, which is a database without tables.
    const std::vector<std::string> vecAside = Aside();
    ASSERT_THAT(vecAside, SizeIs(1));
    EXPECT_THAT(support::ReadAll(vecAside[0]), testing::StartsWith("no database"));
    EXPECT_THAT(m_debug.Take(), ElementsAre(HasSubstr("is damaged; it is kept as")));
}

TEST_F(OperLogStoreTest, KeepsTheWriteAheadLogOfADamagedFile) {
    {
        // What another process has written last is in its write-ahead log only.
        OtherConnection other(m_folder.Write("state/operlog.db", ""));
        other.Run(
            "PRAGMA journal_mode = WAL; CREATE TABLE t(a); INSERT INTO t VALUES('first');"
            "PRAGMA wal_checkpoint(TRUNCATE); UPDATE t SET a = 'mark'");
        std::string strDamaged = support::ReadAll(m_folder.Path("state/operlog.db"));
        strDamaged.replace(0, 6, "broken");
        m_folder.Write("state/operlog.db", strDamaged);
        std::filesystem::copy_file(m_folder.Path("state/operlog.db-wal"),
                                   m_folder.Path("kept-wal"));
    }
    std::filesystem::copy_file(m_folder.Path("kept-wal"), m_folder.Path("state/operlog.db-wal"),
                               std::filesystem::copy_options::overwrite_existing);
    EXPECT_EQ(1, WriteOperationLog(Info(1), 0));
    bool bFound = false;
    for (const std::string& strAside : Aside())
        bFound = bFound || support::ReadAll(strAside).find("mark") != std::string::npos;
    EXPECT_TRUE(bFound);
    EXPECT_THAT(Users(), ElementsAre(1));
}

// What a process does between two entries while another one opens and closes the log, which deletes
// the write-ahead log when SQLite's locks are gone.
TEST_F(OperLogStoreTest, NothingThatAProcessDoesDropsItsLocks) {
    std::string strError;
    const auto TakeAll = [](const zemb::OperLogRow&) { return true; };
    const std::pair<const char*, std::function<bool()>> arrAct[] = {
        {"prunes", Prune},
        {"reads", [&] { return zemb::ReadOperLog({}, TakeAll, strError); }},
        {"verifies", [] { return zemb::VerifyOperLog().empty(); }},
        {"writes while it reads",
         [&] {
             return zemb::ReadOperLog(
                 {},
                 [&](const zemb::OperLogRow&) {
                     zemb::SetOperLogSync(false);  // opened anew
                     const bool bWritten = WriteOperationLog(Info(2), 0) == 1;
                     zemb::SetOperLogSync(true);
                     return bWritten && WriteOperationLog(Info(2), 0) == 1 && InChild(Prune) &&
                            false;
                 },
                 strError);
         }},
        {"forks while it reads",
         [&] {
             pid_t nChild = -1;
             const bool bRead = zemb::ReadOperLog(
                 {},
                 [&](const zemb::OperLogRow&) {
                     nChild = fork();
                     return nChild != 0 || WriteOperationLog(Info(2), 0) == 1;
                 },
                 strError);
             if (nChild == 0)  // its connection is that of the process above it
                 _exit(!bRead && strError.find("above") != std::string::npos ? 0 : 1);
             int nStatus = -1;
             return bRead && waitpid(nChild, &nStatus, 0) == nChild && nStatus == 0;
         }},
    };
    int nAct = 0;
    for (const auto& [szAct, fnAct] : arrAct) {
        UseState("state" + std::to_string(++nAct));
        EXPECT_EQ(1, WriteOperationLog(Info(1), 0));
        EXPECT_TRUE(fnAct()) << szAct << " " << strError;
        EXPECT_TRUE(InChild(Prune)) << szAct;
        EXPECT_EQ(1, WriteOperationLog(Info(3), 0)) << szAct;
        EXPECT_TRUE(InChild(Prune)) << szAct;
        EXPECT_EQ(1, WriteOperationLog(Info(4), 0)) << szAct;
        std::vector<int> vecUser = Users();
        vecUser.erase(std::remove(vecUser.begin(), vecUser.end(), 2), vecUser.end());
        EXPECT_THAT(vecUser, ElementsAre(1, 3, 4)) << szAct;
        EXPECT_THAT(zemb::VerifyOperLog(), IsEmpty()) << szAct;
    }
}

// As a daemon begins: the child goes on when its parent, and with it the parent's locks, are gone.
TEST_F(OperLogStoreTest, AChildHasLocksOfItsOwn) {
    int arrGo[2];
    int arrDone[2];
    ASSERT_EQ(0, pipe(arrGo) + pipe(arrDone));
    char c = 0;
    EXPECT_TRUE(InChild([&] {
        const bool bFirst = WriteOperationLog(Info(1), 0) == 1;
        if (fork() == 0) {
            // Daemons close what they inherited, and get the same numbers for files of their own.
            const std::set<int> setPipe = {arrGo[0], arrGo[1], arrDone[0], arrDone[1]};
            std::vector<int> vecOwn;
            for (int nFile = 3; nFile < 200; ++nFile)
                if (setPipe.count(nFile) == 0)
                    close(nFile);
            for (int i = 0; i < 8; ++i)
                vecOwn.push_back(open("/dev/null", O_RDWR));
            const auto AreOwn = [&] {
                struct stat status {};
                return std::all_of(vecOwn.begin(), vecOwn.end(), [&](int nFile) {
                    return fstat(nFile, &status) == 0 && S_ISCHR(status.st_mode);
                });
            };
            c = WriteOperationLog(Info(2), 0) == 1 && AreOwn() ? 'y' : 'n';
            bool bGood = write(arrDone[1], &c, 1) == 1 && read(arrGo[0], &c, 1) == 1;
            c = WriteOperationLog(Info(3), 0) == 1 ? 'y' : 'n';
            bGood = bGood && write(arrDone[1], &c, 1) == 1;
            _exit(read(arrGo[0], &c, 1) == 1 ? 0 : 1);
        }
        return bFirst;
    }));
    EXPECT_EQ(1, read(arrDone[0], &c, 1));
    EXPECT_EQ('y', c);
    EXPECT_TRUE(InChild(Prune));
    EXPECT_EQ(1, write(arrGo[1], &c, 1));
    EXPECT_EQ(1, read(arrDone[0], &c, 1));
    EXPECT_EQ('y', c);
    EXPECT_TRUE(InChild(Prune));
    EXPECT_EQ(1, write(arrGo[1], &c, 1));
    EXPECT_THAT(Users(), ElementsAre(1, 2, 3));
    for (const int nFile : {arrGo[0], arrGo[1], arrDone[0], arrDone[1]})
        close(nFile);
}

TEST_F(OperLogStoreTest, CountsEntriesOnceWhenTheyReachedTheLogButNotTheDisk) {
    zemb::ScopedClock clock;
    clock.Freeze(support::MORNING);  // two entries are the same to the letter
    EXPECT_EQ(1, WriteOperationLog(Info(1), 0));
    {
        const support::SystemCalls calls([](const std::string& strCall, const std::string&) {
            return strCall == "fdatasync" || strCall == "fsync" ? EIO : 0;
        });
        for (const int nUser : {2, 3, 3, 4}) {
            EXPECT_EQ(0, WriteOperationLog(Info(nUser), 0));
            EXPECT_NE(0U, zemb::FlushOperLog());
        }
    }
    // Another process takes the row that the first of them had.
    EXPECT_TRUE(InChild([] { return WriteOperationLog(Info(9), 0) == 1; }));
    int nSynced = 0;
    {
        const support::SystemCalls calls([&](const std::string& strCall, const std::string&) {
            nSynced += strCall == "fdatasync" ? 1 : 0;
            return 0;
        });
        EXPECT_EQ(0U, zemb::FlushOperLog());
    }
    EXPECT_LE(1, nSynced);
    EXPECT_EQ(1, WriteOperationLog(Info(5), 0));
    EXPECT_THAT(Users(), testing::UnorderedElementsAre(1, 2, 3, 3, 4, 5, 9));
    EXPECT_THAT(zemb::VerifyOperLog(), IsEmpty());
}

TEST_F(OperLogStoreTest, KeepsADamagedWriteAheadLog) {
    constexpr long HEADER = 32;
    constexpr long FRAME = 24 + 4096;
    // What is done to a log of ten entries that a killed process left, and whether it tells of
    // damage.
    struct Row {
        const char* szWhat;
        bool bDamage;
        long nAt;         // an octet that is changed; 0: none
        long nCutFrames;  // how long the file is then; 0: as it is
        long nExtra;
    };
    static constexpr Row ROWS[] = {
        {"nothing", false, 0, 0, 0},
        {"the generation in the header", true, 17, 0, 0},
        {"the check sum of the header", true, 25, 0, 0},
        {"the first page", true, HEADER + 24 + 100, 0, 0},
        {"a page in the middle", true, HEADER + 12 * FRAME + 2000, 0, 0},
        {"the generation of a frame", true, HEADER + 12 * FRAME + 9, 0, 0},
        {"the last page of the file", true, -1, 0, 0},
        {"killed within a page", false, 0, 12, 100},
        {"killed within the head of a frame", false, 0, 12, 10},
    };
    int nRow = 0;
    for (const Row& row : ROWS) {
        const bool bWriterFirst = nRow % 2 == 0;
        UseState("state" + std::to_string(++nRow));
        EXPECT_TRUE(InChild([] {
            for (int i = 1; i <= 10; ++i)
                if (WriteOperationLog(Info(i), 0) != 1)
                    return false;
            return true;
        }));
        const std::string strWal = zemb::OperLogFile() + "-wal";
        std::string strLog = support::ReadAll(strWal);
        const long nAt = row.nAt < 0 ? static_cast<long>(strLog.size()) - 100 : row.nAt;
        if (nAt != 0)
            strLog[static_cast<std::size_t>(nAt)] ^= 1;
        if (row.nCutFrames != 0)
            strLog.resize(static_cast<std::size_t>(HEADER + row.nCutFrames * FRAME + row.nExtra));
        m_folder.Write("state" + std::to_string(nRow) + "/operlog.db-wal", strLog);
        if (bWriterFirst) {
            EXPECT_EQ(1, WriteOperationLog(Info(11), 0)) << row.szWhat;
        }
        for (int nTime = 0; nTime < 2; ++nTime)  // when it is found, and later
            EXPECT_THAT(zemb::VerifyOperLog(), SizeIs(row.bDamage ? 1 : 0)) << row.szWhat;
        const std::vector<std::string> vecAside = Aside();
        ASSERT_THAT(vecAside, SizeIs(row.bDamage ? 1 : 0)) << row.szWhat;
        if (row.bDamage) {
            EXPECT_TRUE(support::ReadAll(vecAside[0]) == strLog) << row.szWhat;
        }
        const std::vector<std::string> vecLine = m_debug.Take();
        EXPECT_THAT(vecLine, SizeIs(row.bDamage && bWriterFirst ? 1 : 0)) << row.szWhat;
    }
    // Without room for the copy the log is not opened, and nothing is lost.
    UseState("full");
    EXPECT_TRUE(InChild([] { return WriteOperationLog(Info(1), 0) == 1; }));
    std::string strLog = support::ReadAll(zemb::OperLogFile() + "-wal");
    strLog[17] ^= 1;
    m_folder.Write("full/operlog.db-wal", strLog);
    {
        const support::SystemCalls calls([](const std::string& strCall,
                                            const std::string& strFile) {
            return strCall == "fsync" && strFile.find("damaged") != std::string::npos ? ENOSPC : 0;
        });
        EXPECT_EQ(0, WriteOperationLog(Info(2), 0));
        EXPECT_THAT(zemb::VerifyOperLog(), ElementsAre(HasSubstr("No space left")));
        EXPECT_TRUE(support::ReadAll(zemb::OperLogFile() + "-wal") == strLog);
    }
    // Other damage in the same generation is kept beside it, the same damage is not kept again.
    for (const std::size_t nKept : {1U, 1U, 2U}) {
        if (nKept == 2)
            strLog[25] ^= 1;
        m_folder.Write("full/operlog.db-wal", strLog);
        EXPECT_THAT(zemb::VerifyOperLog(), SizeIs(testing::Ge(nKept)));
        EXPECT_THAT(Aside(), SizeIs(nKept));
    }
}

// A process that is killed when its change stands in the log, but was not acknowledged, and another
// one that writes a smaller change over it.
TEST_F(OperLogStoreTest, AKillAtTheLastMomentIsNoDamage) {
    EXPECT_EQ(1, WriteOperationLog(Info(1), 0));
    EXPECT_FALSE(InChild([] {
        OtherConnection other(zemb::OperLogFile());
        const support::SystemCalls calls([](const std::string& strCall, const std::string&) {
            if (strCall == "fdatasync")
                _exit(1);
            return 0;
        });
        other.Run(
            "PRAGMA synchronous = FULL;"
            "CREATE TABLE large AS SELECT hex(randomblob(100000))");
        return true;
    }));
    EXPECT_EQ(1, WriteOperationLog(Info(2), 0));
    EXPECT_TRUE(InChild([] { return zemb::VerifyOperLog().empty(); }));
    EXPECT_TRUE(InChild([] { return WriteOperationLog(Info(3), 0) == 1; }));
    EXPECT_THAT(Users(), ElementsAre(1, 2, 3));
    EXPECT_THAT(Aside(), IsEmpty());
    // It cannot be known with an index of before the start of the machine, whoever owns it since.
    support::SetFileTime(zemb::OperLogFile() + "-shm", 1);
    EXPECT_FALSE(InChild([] { return zemb::VerifyOperLog().empty(); }));
}

TEST_F(OperLogStoreTest, BringsThingsToTheDiskInOrder) {
    std::vector<std::string> vecCall;
    const support::SystemCalls calls([&](const std::string& strCall, const std::string& strFile) {
        if (strCall.find("flock") == 0)
            return 0;
        std::string strName = std::filesystem::path(strFile).filename().string();
        if (const std::size_t nNew = strName.find(".new-"); nNew != std::string::npos)
            strName.resize(nNew + 4);
        vecCall.push_back(strCall + " " + strName);
        return 0;
    });
    EXPECT_EQ(1, WriteOperationLog(Info(1), 0));
    // A new folder and a new database are there before the entry; then comes the log with the
    // entry.
    vecCall.erase(std::unique(vecCall.begin(), vecCall.end()), vecCall.end());
    const std::string strParent = std::filesystem::path(m_folder.Path()).filename().string();
    ASSERT_LE(5U, vecCall.size());
    EXPECT_THAT(std::vector<std::string>(vecCall.begin(), vecCall.begin() + 4),
                ElementsAre("fsync " + strParent, "fsync operlog.db.new",
                            "renameat2 operlog.db.new", "fsync state"));
    EXPECT_EQ("fdatasync operlog.db-wal", vecCall.back());
    vecCall.clear();
    EXPECT_EQ(1, WriteOperationLog(Info(2), 0));
    EXPECT_THAT(vecCall, ElementsAre("fdatasync operlog.db-wal"));
    zemb::SetOperLogSync(false);
    EXPECT_EQ(1, WriteOperationLog(Info(3), 0));
    vecCall.clear();
    EXPECT_EQ(1, WriteOperationLog(Info(4), 0));
    EXPECT_THAT(vecCall, IsEmpty());
    zemb::SetOperLogSync(true);
    // A damaged database goes after its companions, which would be deleted beside a new one.
    UseState("damaged");
    m_folder.Write("damaged/operlog.db", support::NO_DATABASE);
    m_folder.Write("damaged/operlog.db-wal", "short");
    m_folder.Write("damaged/operlog.db-shm", "");
    EXPECT_EQ(1, WriteOperationLog(Info(5), 0));
    std::vector<std::string> vecRenamed;
    std::copy_if(vecCall.begin(), vecCall.end(), std::back_inserter(vecRenamed),
                 [](const std::string& strCall) { return strCall.find("renameat2") == 0; });
    EXPECT_THAT(vecRenamed, ElementsAre("renameat2 operlog.db-wal", "renameat2 operlog.db-shm",
                                        "renameat2 operlog.db", "renameat2 operlog.db.new"));
}

// Another process exchanged the damaged file while this one waited for the lock.
TEST_F(OperLogStoreTest, LeavesADatabaseAloneThatSomebodyElseHasExchanged) {
    m_folder.Write("state/operlog.db", support::NO_DATABASE);
    bool bExchanged = false;
    const support::SystemCalls calls([&](const std::string& strCall, const std::string&) {
        if (strCall == "flock exclusive" && !bExchanged) {
            bExchanged = true;
            std::filesystem::rename(zemb::OperLogFile(), m_folder.Path("state/elsewhere"));
            EXPECT_TRUE(InChild([] { return WriteOperationLog(Info(1), 0) == 1; }));
        }
        return 0;
    });
    EXPECT_EQ(1, WriteOperationLog(Info(2), 0));
    EXPECT_TRUE(bExchanged);
    EXPECT_THAT(Aside(), IsEmpty());
    EXPECT_THAT(Users(), ElementsAre(1, 2));
}

}  // namespace
