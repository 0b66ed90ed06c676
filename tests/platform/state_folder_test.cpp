#include "tests/support.h"

#include "zemb/callchain.h"
#include "zemb/control.h"
#include "zemb/debug.h"
#include "zemb/operlog.h"
#include "zemb/operlog_store.h"
#include "zemb/user_config.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

namespace {

namespace fs = std::filesystem;

class StateFolderTest : public testing::Test {
protected:
    StateFolderTest() : m_nMask(umask(0)) {
        zemb::SetStatePath(m_folder.Path("made/state"));
        zemb::SetCallChain(true);
    }
    ~StateFolderTest() override {
        umask(m_nMask);
        zemb::SetCallChain(false);
        zemb::ResetStatePath();
    }

    // Writes what the platform keeps in the state folder, a file each; how much was written.
    static int WriteAll() {
        NSTE_util::GetDebugInterface("m")->Trace(1, "line");
        const bool bChain = NSTE_util::CallChainMgr::Instance()->Write("{}");
        std::string strError;
        const bool bConfig = zemb::SetUserCfg({"section", "key", "value"}, strError);
        return (bChain ? 1 : 0) + (bConfig ? 1 : 0) +
               (FrameUtil::WriteOperationLog({}, 0) == FrameUtil::OPERLOG_WRITTEN ? 1 : 0);
    }

    const support::TempFolder m_folder;
    const mode_t m_nMask;
};

TEST_F(StateFolderTest, IsForTheUserAndItsGroup) {
    EXPECT_EQ(3, WriteAll());
    int nFiles = 0;
    for (const fs::directory_entry& entry :
         fs::recursive_directory_iterator(m_folder.Path("made"))) {
        struct stat status {};
        ASSERT_EQ(0, stat(entry.path().c_str(), &status));
        EXPECT_EQ(entry.is_directory() ? 0750U : 0640U, status.st_mode & 07777U) << entry.path();
        nFiles += entry.is_directory() ? 0 : 1;
    }
    EXPECT_LE(4, nFiles);
    zemb::FlushOperLog();
}

TEST_F(StateFolderTest, IsNeverWrittenThroughALink) {
    const std::string strVictim = m_folder.Write("victim", "untouched");
    fs::create_directories(m_folder.Path("made/state/log"));
    for (const std::string& strFile : {zemb::LogFileOf("m"), zemb::CallChainLog(),
                                       zemb::OperLogFile(), m_folder.Path("made/state/usercfg.db")})
        fs::create_symlink(strVictim, strFile);
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, WriteAll());
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr("Too many levels of symbolic links"));
    long long nDeleted = 0;
    std::string strError;
    EXPECT_FALSE(zemb::PruneOperLog("2030", nDeleted, strError));
    EXPECT_EQ("untouched", support::ReadAll(strVictim));
    // Nor through a second name of a foreign file, nor into a pipe, whose reader never comes.
    for (const bool bPipe : {true, false}) {
        for (const std::string& strFile : {zemb::LogFileOf("m"), zemb::CallChainLog()}) {
            fs::remove(strFile);
            EXPECT_EQ(0, bPipe ? mkfifo(strFile.c_str(), 0600)
                               : link(strVictim.c_str(), strFile.c_str()));
        }
        EXPECT_EQ(0, WriteAll());
        EXPECT_EQ("untouched", support::ReadAll(strVictim));
    }
    // Nor into a file of another user; only root can make one.
    fs::remove(zemb::CallChainLog());
    EXPECT_EQ(1, WriteAll());
    const bool bForeign = chown(zemb::CallChainLog().c_str(), 1, 1) == 0;
    EXPECT_EQ(bForeign ? 0 : 1, WriteAll());
    // What was kept in memory is written when the link is gone.
    fs::remove(zemb::OperLogFile());
    EXPECT_EQ(0U, zemb::FlushOperLog());
}

}  // namespace
