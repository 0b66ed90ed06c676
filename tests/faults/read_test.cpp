#include "tests/faults/calls.h"
#include "tests/faults/interpose.h"

#include "tovelkarin/nml_filemgr.h"
#include "tovelkarin/telangresmgr.h"
#include "tovelkarin/temutexopermgr.h"
#include "tovelkarin/teoperationlog.h"
#include "tovelkarin/tnreadcfg.h"
#include "tovelkarin/tnreqtimeout.h"

#include "tests/support.h"

#include "zemb/control.h"
#include "zemb/faults.h"
#include "zemb/settings.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <thread>

// What happens to a file while it is read, and to others while a call rests in the platform.
namespace {

using NSTE_util::TEMutexOperMgr;
using NSTE_util::TEOperObject;

class ReadFaultTest : public testing::Test {
protected:
    ReadFaultTest() {
        zemb::SetRootPath(m_folder.Path());
        zemb::SetStatePath(m_folder.Path("state"));
    }
    ~ReadFaultTest() override {
        zemb::ResetRootPath();
        zemb::ResetStatePath();
    }

    struct Reader {
        const char* szName;
        std::string strText;  // of a file that it reads well
        std::function<std::string(const std::string&)> fn;
    };

    static std::vector<Reader> Readers() {
        return {
            {"text", "one\ntwo\n",
             [](const std::string& strFile) {
                 std::string strText;
                 const int nResult = NSTN_util::ReadStrFromFile(strFile, strText);
                 return faults::Show(nResult, strText);
             }},
            {"items", "key = value\nother = thing\n",
             [](const std::string& strFile) {
                 std::map<std::string, std::string> mapItem;
                 const int nResult = NSTN_util::ReadCfgItemFromFile(strFile, mapItem);
                 return faults::Show(nResult, mapItem);
             }},
            {"mutex table", "[MUTEX_TABLE]\n1:2:1\n[MUTEX_ERRORCODE]\n1:7\n2:8\n",
             [](const std::string& strFile) {
                 TEMutexOperMgr::Destroy();
                 return faults::Show(TEMutexOperMgr::Instance()->LoadMutexCfg(strFile));
             }},
            {"time-outs", "[cmdreq_common_config]\ndefault_timeout = 77\n",
             [](const std::string& strFile) {
                 NSTE_util::TNReqTimeoutIF::Destroy();
                 NSTE_util::TNReqTimeoutIF& timeouts = *NSTE_util::TNReqTimeoutIF::Instance();
                 const int nResult = timeouts.LoadTimeoutCfgFile(strFile);
                 return faults::Show(nResult, timeouts.GetReqDefaultTimeout(5));
             }},
        };
    }

    const support::TempFolder m_folder;
    support::DebugCapture m_debug;
};

TEST_F(ReadFaultTest, SurvivesWhateverHappensToTheFile) {
    const std::string strFile = m_folder.Path("file");
    const std::string strOther = m_folder.Path("other");
    const auto GoOn = [](int nResult) {
        EXPECT_EQ(0, nResult);
        errno = 0;
        return -1L;
    };
    enum class EAnswer { AS_EVER, ANOTHER, ANY };
    struct Happening {
        const char* szName;
        EAnswer eAnswer;
        std::function<long()> fn;
    };
    const std::vector<Happening> vecHappening = {
        {"interrupted", EAnswer::AS_EVER, [] { return errno = EINTR, -1L; }},
        {"input error", EAnswer::ANOTHER, [] { return errno = EIO, -1L; }},
        {"truncated", EAnswer::ANY, [&] { return GoOn(truncate(strFile.c_str(), 4)); }},
        {"removed", EAnswer::AS_EVER, [&] { return GoOn(unlink(strFile.c_str())); }},
        {"replaced", EAnswer::AS_EVER,
         [&] { return GoOn(std::rename(strOther.c_str(), strFile.c_str())); }},
        {"unreadable", EAnswer::AS_EVER, [&] { return GoOn(chmod(strFile.c_str(), 0)); }},
    };
    for (const Reader& reader : Readers()) {
        const auto Answer = [&] {
            std::filesystem::remove(strFile);
            m_folder.Write("file", reader.strText);
            m_folder.Write("other", reader.strText + reader.strText);
            return reader.fn(strFile);
        };
        const std::string strGood = Answer();
        for (const Happening& happening : vecHappening) {
            bool bStruck = true;
            int nRead = 1;
            for (; bStruck; ++nRead) {
                Answer();
                const faults::ScopedRead fault(nRead, happening.fn);
                const std::string strAnswer = reader.fn(strFile);
                bStruck = fault.HasStruck();
                if (happening.eAnswer != EAnswer::ANY) {
                    EXPECT_EQ(strGood == strAnswer,
                              !bStruck || happening.eAnswer == EAnswer::AS_EVER)
                        << reader.szName << " " << happening.szName << " at read " << nRead;
                }
            }
            EXPECT_LT(2, nRead) << reader.szName << ": no read was met";
            EXPECT_EQ(strGood, Answer()) << "after " << reader.szName << " " << happening.szName;
        }
    }
}

// The time of a file is taken before it is read: what changes meanwhile is read at the next look.
TEST_F(ReadFaultTest, WhatChangesWhileItIsReadIsReadAgain) {
    const std::string strFile = m_folder.Path("file");
    auto tFile = std::filesystem::file_time_type::clock::now();
    const auto Write = [&](int nTimeout) {
        const std::string strNew = m_folder.Write(
            "new", "[cmdreq_common_config]\nneed_auto_refresh = 1\ndefault_timeout = " +
                       std::to_string(nTimeout) + "\n");
        std::filesystem::last_write_time(strNew, tFile += std::chrono::seconds(1));
        std::filesystem::rename(strNew, strFile);
    };
    NSTN_util::TNReadCfg cfg;
    cfg.SetFileName(strFile);
    NSTE_util::TNReqTimeoutIF& timeouts = faults::The<NSTE_util::TNReqTimeoutIF>();
    const std::function<int()> arrRead[] = {[&] {
                                                int nValue = 0;
                                                cfg.GetItemValue("default_timeout", nValue);
                                                return nValue;
                                            },
                                            [&] { return timeouts.GetReqDefaultTimeout(1); }};
    zemb::ScopedClock clock;
    for (const auto& read : arrRead) {
        Write(5);
        timeouts.LoadTimeoutCfgFile(strFile);
        for (const int nTimeout :
             {6, 7}) {  // the first one is not the first reading of the service
            Write(nTimeout);
            clock.Advance(301);
            const std::function<long()> change = [&] {
                Write(nTimeout + 10);
                return errno = 0, -1L;
            };
            {
                const faults::ScopedRead during(1, change);
                EXPECT_EQ(nTimeout, read());
                EXPECT_TRUE(during.HasStruck());
            }
            clock.Advance(301);
            EXPECT_EQ(nTimeout + 10, read());
        }
    }
}

TEST_F(ReadFaultTest, NobodyWaitsForAPipe) {
    const std::string strPipe = m_folder.Path("pipe");
    ASSERT_EQ(0, mkfifo(strPipe.c_str(), 0600));
    for (const Reader& reader : Readers())
        reader.fn(strPipe);
    EXPECT_EQ(-1, NSTN_util::TELangResMgr::Instance()->LoadLangFileImpl(strPipe.c_str()));
    int nValue = 0;
    EXPECT_EQ(0, ZembGetRegInt("key", nValue, strPipe.c_str()));
}

TEST_F(ReadFaultTest, HoldsNobodyUpWhileAFileIsRead) {
    const std::string strTable = m_folder.Write("table", "[MUTEX_TABLE]\n1:2:1\n");
    const std::string strText = m_folder.Write("conf/lang/en/a.res", "key = text\n");
    TEMutexOperMgr& mgr = *TEMutexOperMgr::Instance();
    NSTN_util::TELangResMgr& lang = *NSTN_util::TELangResMgr::Instance();
    const std::vector<std::function<void()>> vecReader = {
        [&] { mgr.LoadMutexCfg(strTable); }, [&] { lang.LoadLangFileImpl(strText.c_str()); },
        [&] {
            std::string strIgnored;
            NSTN_util::ReadStrFromFile(strText, strIgnored);
        }};
    for (const auto& read : vecReader) {
        int nPoints = 0;
        {
            const zemb::ScopedFault counted(zemb::EFault::BLOCKS, 0);
            read();
            nPoints = counted.Points();
        }
        EXPECT_LT(0, nPoints);
        for (int nPoint = 1; nPoint <= nPoints; ++nPoint) {
            zemb::ScopedFault fault(zemb::EFault::BLOCKS, nPoint);
            std::thread reader(read);
            fault.WaitUntilBlocked();
            // Ends only if nothing that it needs is held.
            const bool bGranted = mgr.AcquireMutexOper(5, TEOperObject{1, 2, 3}) == 0;
            mgr.ReleaseMutexOper(5, TEOperObject{1, 2, 3});
            EXPECT_TRUE(bGranted);
            lang.GetResourceStr("key");
            fault.Release();
            reader.join();
        }
    }
}

TEST_F(ReadFaultTest, HoldsNobodyUpWhileAnEntryIsWritten) {
    NSTN_util::SOperateLogInfor record;
    record.nCmd = 5;
    zemb::ScopedFault fault(zemb::EFault::BLOCKS, 1);
    std::thread writer([&] { NSTN_util::TEOperationLog(record, 4, 2); });
    fault.WaitUntilBlocked();
    EXPECT_EQ(0, NSTN_util::TEOperationLog(record, 4, 2));
    fault.Release();
    writer.join();
}

}  // namespace
