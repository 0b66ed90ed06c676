#include "tests/faults/calls.h"
#include "tests/faults/interpose.h"

#include "tovelkarin/telangresmgr.h"
#include "tovelkarin/temutexopermgr.h"
#include "tovelkarin/teoperationlog.h"
#include "tovelkarin/tnreadcfg.h"
#include "tovelkarin/tnreqtimeout.h"

#include "tests/support.h"

#include "zemb/control.h"
#include "zemb/faults.h"

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <memory>

// Faults that the walks do not see: they call everything once in peace, and look at whole calls.
namespace {

using testing::ElementsAre;

class SingleFaultTest : public testing::Test {
protected:
    SingleFaultTest() {
        zemb::SetRootPath(m_folder.Path());
        zemb::SetStatePath(m_folder.Path("state"));
    }
    ~SingleFaultTest() override {
        zemb::ResetRootPath();
        zemb::ResetStatePath();
    }

    const support::TempFolder m_folder;
};

// What is asked for once and kept is asked for in a child that has called nothing yet.
TEST_F(SingleFaultTest, FirstCallsThrowNothing) {
    for (const faults::Call& call : faults::AllCalls(m_folder.Path())) {
        const pid_t nChild = fork();
        ASSERT_NE(-1, nChild);
        if (nChild == 0) {
            const zemb::ScopedFault fault(zemb::EFault::THROWS, 1, true);
            try {
                call.fn();
            } catch (const faults::NoService&) {
            } catch (...) {
                _exit(1);
            }
            _exit(0);
        }
        int nStatus = -1;
        ASSERT_EQ(nChild, waitpid(nChild, &nStatus, 0));
        EXPECT_EQ(0, nStatus) << call.szName;
    }
}

TEST_F(SingleFaultTest, ALanguageTextIsThereOnceMemoryIs) {
    const std::string strFile =
        m_folder.Write("conf/lang/en/some.res", "some.key = a text that needs memory of its own\n");
    for (int n = 1, bStruck = 1; bStruck != 0; ++n) {
        NSTN_util::TELangResMgr::Destroy();
        NSTN_util::TELangResMgr& lang = faults::The<NSTN_util::TELangResMgr>();
        const char* arrFile[] = {"some.res", nullptr};
        {
            const faults::ScopedNoMemory noMemory(n, false);
            lang.LoadLangFileImpl(strFile.c_str());
            bStruck = noMemory.HasStruck() ? 1 : 0;
        }
        EXPECT_EQ(1, lang.LoadLangFile("/conf/lang/", arrFile));
        EXPECT_EQ("a text that needs memory of its own", lang.GetResourceStr("some.key")) << n;
    }
}

TEST_F(SingleFaultTest, AConfigurationReaderThrowsNothingWithoutMemory) {
    const std::string strGood = "a value that needs memory of its own";
    const std::string strFile = m_folder.Write("some.cfg", "key = " + strGood + "\nno equal\n");
    for (int n = 1, bStruck = 1; bStruck != 0; ++n) {
        NSTN_util::TNReadCfg cfg;
        std::string strValue;
        std::map<std::string, std::string> mapItem = {{"old", ""}};
        {
            const faults::ScopedNoMemory noMemory(n, false);
            EXPECT_NO_THROW(cfg.SetFileName(strFile)) << n;
            EXPECT_NO_THROW(cfg.GetItemValue("key", strValue)) << n;
            EXPECT_NO_THROW(cfg.GetAllCfgItem(mapItem)) << n;
            bStruck = noMemory.HasStruck() ? 1 : 0;
        }
        EXPECT_TRUE(strValue.empty() || strValue == strGood) << n;
        cfg.SetFileName(strFile);
        cfg.InitCfgItem();
        EXPECT_TRUE(cfg.GetItemValue("key", strValue)) << n;
        EXPECT_EQ(strGood, strValue) << n;
    }
}

TEST_F(SingleFaultTest, TimeOutsAreAnsweredWithoutMemory) {
    using NSTE_util::TNReqTimeoutIF;
    const std::string strFile = m_folder.Write(
        "timeouts-with-a-name-that-needs-memory-of-its-own.cfg",
        "[cmdreq_common_config]\nneed_auto_refresh = 1\n[cmdreq_command_timeout]\n5 = 90\n");
    TNReqTimeoutIF& timeouts = faults::The<TNReqTimeoutIF>();
    ASSERT_EQ(1, timeouts.LoadTimeoutCfgFile(strFile));
    const std::function<int()> arrQuery[] = {
        [&] { return timeouts.GetReqTimeOutValue(5, 1, false); },
        [&] { return timeouts.GetReqTimeoutByDefault(5, 7); },
        [&] { return timeouts.GetReqDefaultTimeout(7); },
        [&] { return timeouts.GetReqTimeDualValue(5); }};
    zemb::ScopedClock clock;
    auto tFile = std::filesystem::last_write_time(strFile);
    for (const auto& query : arrQuery)
        for (int n = 1, bStruck = 1; bStruck != 0; ++n) {
            clock.Advance(1000);
            std::filesystem::last_write_time(strFile, tFile += std::chrono::seconds(10));
            const faults::ScopedNoMemory noMemory(n, true);
            EXPECT_NO_THROW(query()) << n;
            bStruck = noMemory.HasStruck() ? 1 : 0;
        }
    clock.Advance(1000);
    std::filesystem::last_write_time(strFile, tFile += std::chrono::seconds(10));
    EXPECT_EQ(90, timeouts.GetReqTimeOutValue(5, 1, false));
}

TEST_F(SingleFaultTest, ExclusionGoesOnWithoutItsLock) {
    using NSTE_util::TEMutexOperMgr;
    using NSTE_util::TEOperObject;
    const std::string strFile =
        m_folder.Write("mutex.cfg", "[MUTEX_TABLE]\n1:2:1\n[MUTEX_ERRORCODE]\n1:11\n2:22\n");
    TEMutexOperMgr::Destroy();
    TEMutexOperMgr& mgr = faults::The<TEMutexOperMgr>();
    const TEOperObject obj{5, 7, 99};
    {
        const faults::ScopedNoLock noLock(1, true);
        EXPECT_TRUE(mgr.LoadMutexCfg(strFile));
        EXPECT_EQ(0, mgr.AcquireMutexOper(1, obj));
        EXPECT_EQ(11, mgr.AcquireMutexOper(2, obj));
        EXPECT_TRUE(mgr.IsOperRunning(1));
        EXPECT_TRUE(mgr.HasRunningOper());
        mgr.ReleaseMutexOper(1, obj);
        EXPECT_FALSE(mgr.HasRunningOper());
        EXPECT_TRUE(noLock.HasStruck());
    }
    EXPECT_EQ(0, mgr.AcquireMutexOper(2, obj));
    mgr.ReleaseMutexOper(2, obj);
}

TEST_F(SingleFaultTest, AnEntryWhoseTextsCannotBeCopiedIsWrittenWithoutThem) {
    std::vector<std::string> vecLine;
    NSTN_util::SOperateLogInfor record;
    record.nUserId = 7;
    record.nCmd = 5;
    record.sOperObject = "NE";
    record.sOperInfo = "text";
    NSTN_util::SOperateLogforObj object;
    object.nUserId = 8;
    object.nCmd = 5;
    object.sOperInfo = "text";
    {
        support::DebugCapture debug;
        const faults::ScopedNoCopy noCopy;
        EXPECT_EQ(0, NSTN_util::TEOperationLog(record, 4, 2));
        EXPECT_EQ(0, NSTN_util::TEOperationLog(object));
        vecLine = debug.Take();
    }
    EXPECT_THAT(vecLine,
                ElementsAre("memcpy_s in TEOperationLog failed. ",
                            "memcpy_s in TEOperationLog failed. ", "memcpy_s in SetDesc failed. "));
    std::vector<std::string> vecRow;
    for (const zemb::OperLogRow& row : support::OperLogRows())
        vecRow.push_back(faults::Show(row.nUserId, row.strObject, row.strDesc));
    EXPECT_THAT(vecRow, ElementsAre("7   ", "8   "));
}

}  // namespace
