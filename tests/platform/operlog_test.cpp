#include "tests/platform/operlog_support.h"

#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <thread>

namespace {

using FrameUtil::WriteOperationLog;
using support::OperLogStoreTest;
using support::OtherConnection;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

TEST_F(OperLogStoreTest, FindsEntriesByTheirFields) {
    EXPECT_THAT(Users(), IsEmpty());
    zemb::ScopedClock clock;
    clock.Freeze(support::MORNING);
    for (int i = 0; i < 6; ++i) {
        ZembLogInfo info = Info(i % 3, i < 3 ? "made NE_5" : "lost NEx5");
        info.nCmd = 100 + static_cast<unsigned>(i);
        info.nResultKind = i == 5 ? 2 : 0;
        std::strcpy(info.szObject, i == 4 ? "port" : "trail");
        EXPECT_EQ(1, WriteOperationLog(info, 0));
        clock.Advance(60);
    }
    zemb::OperLogFilter filter;
    filter.nUserId = 1;
    EXPECT_THAT(Users(filter), ElementsAre(1, 1));
    filter.nLast = 1;
    filter.nCmd = 101;
    EXPECT_THAT(Users(filter), ElementsAre(1));
    filter = {};
    filter.nLast = 2;
    EXPECT_THAT(Users(filter), ElementsAre(1, 2));
    filter = {};
    filter.nResultKind = 2;
    EXPECT_THAT(Users(filter), ElementsAre(2));
    filter = {};
    filter.strFrom = "2026-03-01 08:02";
    filter.strTo = "2026-03-01 08:04";
    EXPECT_THAT(Users(filter), ElementsAre(2, 0));
    filter = {};
    filter.strDescLike = "%NE\\_%";
    filter.strObjectLike = "tr_il";
    EXPECT_THAT(Users(filter), ElementsAre(0, 1, 2));
    filter = {};
    filter.nAfterId = 4;
    EXPECT_THAT(Users(filter), ElementsAre(1, 2));
    filter = {};
    filter.strTo = "2026-03-01 08:02:00.000Z";  // a whole time, and just that of an entry
    EXPECT_THAT(Users(filter), ElementsAre(0, 1));
    std::string strError;
    long long nDeleted = 0;
    EXPECT_TRUE(zemb::PruneOperLog("2026-03-01 08:05", nDeleted, strError));
    EXPECT_EQ(5, nDeleted);
    EXPECT_THAT(Users(), ElementsAre(2));
    EXPECT_THAT(zemb::VerifyOperLog(), IsEmpty());
    EXPECT_THAT(m_debug.Take(), IsEmpty());
}

TEST_F(OperLogStoreTest, WritersFromManyThreadsLoseNothing) {
    support::RunTogether(8, [](std::size_t) {
        for (int n = 0; n < 100; ++n)
            EXPECT_EQ(1, WriteOperationLog(Info(n), 0));
    });
    EXPECT_THAT(Users(), SizeIs(800));
}

TEST_F(OperLogStoreTest, KeepsEntriesWhileTheDiskFails) {
    const std::pair<const char*, int> arrFault[] = {
        {"write", ENOSPC}, {"write", EIO}, {"open", EROFS}, {"open", EMFILE}};
    int nFault = 0;
    for (const auto& [szCall, nErrno] : arrFault) {
        // Opened anew for each fault.
        zemb::SetStatePath(m_folder.Path("state" + std::to_string(++nFault)));
        {
            const zemb::ScopedStoreFault fault(szCall, nErrno);
            EXPECT_EQ(0, WriteOperationLog(Info(1), 0)) << szCall;
            EXPECT_EQ(0, WriteOperationLog(Info(2), 0)) << szCall;
            EXPECT_EQ(2U, zemb::FlushOperLog()) << szCall;
        }
        EXPECT_EQ(0U, zemb::FlushOperLog()) << szCall;
        EXPECT_EQ(1, WriteOperationLog(Info(3), 0)) << szCall;
        EXPECT_THAT(Users(), ElementsAre(1, 2, 3)) << szCall;
        const std::vector<std::string> vecLine = m_debug.Take();
        ASSERT_THAT(vecLine, SizeIs(2)) << szCall;
        EXPECT_THAT(vecLine[0], HasSubstr("entries are kept in memory"));
        EXPECT_THAT(vecLine[1], HasSubstr("can be written again; 2 entries were kept, 0 lost"));
    }
    // A log that has been written before, too.
    {
        const zemb::ScopedStoreFault fault("write", ENOSPC);
        EXPECT_EQ(0, WriteOperationLog(Info(4), 0));
    }
    EXPECT_EQ(0U, zemb::FlushOperLog());
    EXPECT_THAT(Users(), ElementsAre(1, 2, 3, 4));
}

TEST_F(OperLogStoreTest, KeepsWhatThereIsRoomFor) {
    zemb::SetOperLogRoom(2);
    for (int nOutage = 0; nOutage < 2; ++nOutage) {
        UseState("state" + std::to_string(nOutage));
        EXPECT_EQ(1, WriteOperationLog(Info(1), 0));
        {
            const zemb::ScopedStoreFault fault("write", EIO);
            EXPECT_EQ(0, WriteOperationLog(Info(3), 0));
        }
        EXPECT_EQ(0, WriteOperationLog(Info(4), 0));  // not tried again so soon
        EXPECT_EQ(-1, WriteOperationLog(Info(5), 0));
        EXPECT_EQ(-1, WriteOperationLog(Info(6), 0));
        EXPECT_EQ(0U, zemb::FlushOperLog());
        EXPECT_THAT(Users(), ElementsAre(1, 3, 4));
        const std::vector<std::string> vecLine = m_debug.Take();
        ASSERT_THAT(vecLine, SizeIs(3));
        EXPECT_THAT(vecLine[1], HasSubstr("no room for more than 2 entries"));
        EXPECT_THAT(vecLine[2], HasSubstr("2 entries were kept, 2 lost"));
    }
}

TEST_F(OperLogStoreTest, WaitsForALockButNotForEver) {
    EXPECT_EQ(1, WriteOperationLog(Info(1), 0));
    OtherConnection other(zemb::OperLogFile());
    other.Run("BEGIN IMMEDIATE");
    zemb::SetOperLogWait(30);
    EXPECT_EQ(0, WriteOperationLog(Info(2), 0));
    EXPECT_EQ(0, WriteOperationLog(Info(3), 0));
    zemb::SetOperLogWait(60000);
    EXPECT_EQ(2U, zemb::FlushOperLog());  // once it has failed nobody waits
    other.Run("COMMIT");
    EXPECT_EQ(0U, zemb::FlushOperLog());
    other.Run("BEGIN IMMEDIATE");
    std::thread releaser([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        other.Run("COMMIT");
    });
    EXPECT_EQ(1, WriteOperationLog(Info(4), 0));
    releaser.join();
    zemb::SetOperLogWait(2000);
    EXPECT_THAT(Users(), ElementsAre(1, 2, 3, 4));
}

TEST_F(OperLogStoreTest, LetsTheChannelOfItsLinesWriteEntries) {
    const zemb::ScopedStoreFault fault("open", EIO);
    int nLines = 0;
    const zemb::ScopedDebugSink sink([&](const zemb::DebugLine&) {
        ++nLines;
        EXPECT_EQ(0, WriteOperationLog(Info(2), 0));
        throw 1;
    });
    EXPECT_EQ(0, WriteOperationLog(Info(1), 0));
    EXPECT_LE(1, nLines);
    EXPECT_LE(2U, zemb::FlushOperLog());
}

TEST_F(OperLogStoreTest, AChildBeginsWithNothingInMemory) {
    {
        const zemb::ScopedStoreFault fault("open", EIO);
        EXPECT_EQ(0, WriteOperationLog(Info(1), 0));
    }
    EXPECT_TRUE(
        InChild([] { return WriteOperationLog(Info(2), 0) == 1 && zemb::FlushOperLog() == 0; }));
    EXPECT_THAT(Users(), ElementsAre(2));
    EXPECT_EQ(0U, zemb::FlushOperLog());
    EXPECT_THAT(Users(), ElementsAre(2, 1));
}

TEST_F(OperLogStoreTest, TakesTimesUpToAWholeField) {
    zemb::ScopedClock clock;
    clock.Freeze(support::MORNING);
    EXPECT_EQ(1, WriteOperationLog(Info(1), 0));
    long long nDeleted = 0;
    std::string strError;
    for (const char* const szTime :
         {"", "yesterday", "2026-3-1", "26-01-01", "2026-13-01", "2026-03-01 25", "2026-03-01 08:0",
          "202", "2026-03-01 08:00x", "2026-03-01 08:00:00.000ZZ"}) {
        EXPECT_FALSE(zemb::PruneOperLog(szTime, nDeleted, strError)) << szTime;
        EXPECT_THAT(strError, HasSubstr("is no time"));
    }
    for (const char* const szTime : {"2026", "2026-03-01", "2026-03-01T08:00:00.000Z"}) {
        EXPECT_TRUE(zemb::PruneOperLog(szTime, nDeleted, strError)) << szTime << strError;
        EXPECT_EQ(0, nDeleted) << szTime;
    }
    EXPECT_THAT(Users(), ElementsAre(1));
    EXPECT_TRUE(zemb::PruneOperLog("2026-03-01 08:00:00.001", nDeleted, strError));
    EXPECT_EQ(1, nDeleted);
    // More than are deleted at once.
    OtherConnection(zemb::OperLogFile())
        .Run(
            "INSERT INTO operlog (time, user, address, command, object, result_kind, result, "
            "description, level, category, process) SELECT '2020', 0, 0, 0, '', 0, 0, '', 0, 0, 0 "
            "FROM (WITH RECURSIVE n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n LIMIT 12000) "
            "SELECT i FROM n)");
    EXPECT_TRUE(zemb::PruneOperLog("2021", nDeleted, strError));
    EXPECT_EQ(12000, nDeleted);
    EXPECT_THAT(Users(), IsEmpty());
}

TEST_F(OperLogStoreTest, ManyProcessesBeginTogether) {
    for (const bool bDamaged : {false, true}) {
        std::filesystem::remove_all(m_folder.Path("state"));
        if (bDamaged)
            m_folder.Write("state/operlog.db", support::NO_DATABASE);
        std::vector<pid_t> vecChild;
        for (int i = 0; i < 6; ++i) {
            vecChild.push_back(fork());
            if (vecChild.back() == 0)
                _exit(WriteOperationLog(Info(i), 0) == 1 ? 0 : 1);
        }
        for (const pid_t nChild : vecChild) {
            int nStatus = -1;
            waitpid(nChild, &nStatus, 0);
            EXPECT_EQ(0, nStatus);
        }
        EXPECT_THAT(Users(), testing::UnorderedElementsAre(0, 1, 2, 3, 4, 5));
        const std::vector<std::string> vecAside = Aside();
        ASSERT_THAT(vecAside, SizeIs(bDamaged ? 1 : 0));
        if (bDamaged) {
            EXPECT_THAT(support::ReadAll(vecAside[0]), testing::StartsWith("no database"));
        }
    }
}

TEST_F(OperLogStoreTest, LeavesANewerDatabaseAlone) {
    EXPECT_EQ(1, WriteOperationLog(Info(1), 0));
    OtherConnection(zemb::OperLogFile()).Run("PRAGMA user_version = 2");
    zemb::SetStatePath(m_folder.Path("other"));
    EXPECT_EQ(1, WriteOperationLog(Info(2), 0));
    zemb::SetStatePath(m_folder.Path("state"));
    EXPECT_EQ(0, WriteOperationLog(Info(3), 0));
    std::string strError;
    EXPECT_FALSE(zemb::ReadOperLog(
        {}, [](const zemb::OperLogRow&) { return true; }, strError));
    EXPECT_THAT(strError, HasSubstr("newer version 2"));
    EXPECT_THAT(zemb::VerifyOperLog(), SizeIs(1));
    OtherConnection(zemb::OperLogFile()).Run("PRAGMA user_version = 1");
    EXPECT_EQ(0U, zemb::FlushOperLog());
    EXPECT_THAT(Users(), ElementsAre(1, 3));
    zemb::SetStatePath(m_folder.Path("foreign"));
    OtherConnection(m_folder.Write("foreign/operlog.db", "")).Run("CREATE TABLE operlog(a)");
    EXPECT_EQ(0, WriteOperationLog(Info(4), 0));
    EXPECT_THAT(zemb::VerifyOperLog(), ElementsAre(HasSubstr("is another database")));
    zemb::SetStatePath(m_folder.Path("state"));
    EXPECT_EQ(0U, zemb::FlushOperLog());
}

TEST_F(OperLogStoreTest, IsReadByAStrangerWhoLeavesNothingBeside) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only root has strangers at hand";
    const std::string strState = "/" + m_folder.Path("100%3F? #state");  // "//" begins no host
    zemb::SetStatePath(strState);
    EXPECT_EQ(1, WriteOperationLog(Info(1), 0));
    zemb::SetStatePath(m_folder.Path("other"));
    EXPECT_EQ(1, WriteOperationLog(Info(2), 0));  // nobody has the first one open any longer
    zemb::SetStatePath(strState);
    for (const std::string& strPath : {m_folder.Path(""), strState, zemb::OperLogFile()})
        ASSERT_EQ(0, chmod(strPath.c_str(), 0755)) << strPath;
    EXPECT_TRUE(InChild([] {
        return setegid(65534) == 0 && seteuid(65534) == 0 && Users() == std::vector<int>{1};
    }));
    EXPECT_FALSE(std::filesystem::exists(zemb::OperLogFile() + "-wal"));
    EXPECT_FALSE(std::filesystem::exists(zemb::OperLogFile() + "-shm"));
    EXPECT_EQ(1, WriteOperationLog(Info(3), 0));
    EXPECT_THAT(Users(), ElementsAre(1, 3));
}

TEST_F(OperLogStoreTest, BeginsAnewWhereTheFolderVanished) {
    EXPECT_EQ(1, WriteOperationLog(Info(1), 0));
    std::filesystem::remove_all(m_folder.Path("state"));
    EXPECT_EQ(1, WriteOperationLog(Info(2), 0));
    EXPECT_THAT(Users(), ElementsAre(2));
}

}  // namespace
