#include "tovelkarin/tnreadcfg.h"

#include "tests/naive/reload_check.h"
#include "tests/random_bytes.h"
#include "tests/support.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>

namespace {

using NSTN_util::TNReadCfg;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class TNReadCfgTest : public testing::Test {
protected:
    // Each write is a second newer.
    void Write(const std::string& strText) { Touch(m_folder.Write("a.cfg", strText)); }

    void Touch(const std::string& strPath) { support::SetFileTime(strPath, ++m_tModify); }

    int Int(const std::string& strKey) {
        int nValue = -77;
        const bool bFound = m_cfg.GetItemValue(strKey, nValue);
        EXPECT_EQ(bFound, nValue != -77);
        return nValue;
    }

    std::string Open(const char* szWho) const {
        return std::string(szWho) + " Open file(" + m_folder.Path("a.cfg") + ") error! ";
    }

    support::TempFolder m_folder;
    support::DebugCapture m_debug;
    zemb::ScopedClock m_clock;
    TNReadCfg m_cfg;
    long m_tModify = 1000000000;
};

TEST_F(TNReadCfgTest, AgreesWithTheNaiveModel) {
    support::CheckRandomly(naive::CheckReload, 3000, 200);
}

TEST_F(TNReadCfgTest, LooksAtAChangedFileOnlyAfter301Seconds) {
    Write("retry = 3\nhex = 0x1F\nbad = 12a\nneg = -1\n");
    EXPECT_TRUE(m_cfg.SetFileName(m_folder.Path("a.cfg")));
    EXPECT_EQ(3, Int("retry"));
    EXPECT_EQ(31, Int("hex"));
    EXPECT_EQ(-77, Int("bad"));
    EXPECT_EQ(-77, Int("neg"));
    EXPECT_EQ(-77, Int("none"));
    Write("other = 5\n");
    m_clock.Advance(300);
    EXPECT_EQ(3, Int("retry"));
    m_clock.Advance(1);
    EXPECT_EQ(-77, Int("retry"));  // keys that left the file are gone
    EXPECT_EQ(5, Int("other"));
    Write("other = 6\n");
    m_clock.Advance(-300);
    EXPECT_EQ(5, Int("other"));
    m_clock.Advance(-1);
    EXPECT_EQ(6, Int("other"));
    EXPECT_THAT(m_debug.Take(), IsEmpty());
}

TEST_F(TNReadCfgTest, AnotherFileWaitsForTheNextCheck) {
    Write("a = 1\n");
    const std::string strSameTime = m_folder.Write("b.cfg", "b = 2\n");
    support::SetFileTime(strSameTime, m_tModify);
    m_cfg.SetFileName(m_folder.Path("a.cfg"));
    EXPECT_EQ(1, Int("a"));
    EXPECT_TRUE(m_cfg.SetFileName(strSameTime));
    EXPECT_EQ(1, Int("a")) << "items and times stay";
    m_clock.Advance(301);
    EXPECT_EQ(1, Int("a")) << "a file of the same time is not read";
    Touch(strSameTime);
    m_clock.Advance(301);
    EXPECT_EQ(-77, Int("a"));
    EXPECT_EQ(2, Int("b"));
    std::map<std::string, std::string> mapItem = {{"kept", "0"}};
    EXPECT_TRUE(m_cfg.LoadCfgItemFromFile(mapItem));
    EXPECT_THAT(mapItem, ElementsAre(Pair("b", "2"), Pair("kept", "0")));
}

TEST_F(TNReadCfgTest, KeepsItsItemsWhileTheFileIsAway) {
    Write("a = 1\n");
    m_cfg.SetFileName(m_folder.Path("a.cfg"));
    EXPECT_EQ(1, Int("a"));
    std::filesystem::remove(m_folder.Path("a.cfg"));
    for (int i = 0; i < 2; ++i) {  // each due check tries again
        m_clock.Advance(301);
        EXPECT_EQ(1, Int("a"));
        EXPECT_EQ(1, Int("a"));
        EXPECT_THAT(
            m_debug.Take(),
            ElementsAre("ReadCfgItemFromFile1 Open file(" + m_folder.Path("a.cfg") + ") error! ",
                        Open("LoadCfgItemFromFile"), Open("LoadCfgFileContent")));
    }
    m_tModify -= 100;  // an older file is another one too
    Write("a = 2\n");
    m_clock.Advance(301);
    EXPECT_EQ(2, Int("a"));
    EXPECT_THAT(m_debug.Take(), IsEmpty());
}

TEST_F(TNReadCfgTest, ReportsTheFirstReadOfAMissingFile) {
    EXPECT_FALSE(m_cfg.SetFileName(m_folder.Path("a.cfg")));
    std::string strValue = "untouched";
    EXPECT_FALSE(m_cfg.GetItemValue("a", strValue));
    EXPECT_EQ("untouched", strValue);
    EXPECT_EQ(3U, m_debug.Take().size());
    EXPECT_FALSE(m_cfg.SetFileName(m_folder.Path()));  // a folder is no file
}

TEST_F(TNReadCfgTest, TakesPathsOfBothKindsAndReadsOnlyWhatChanged) {
    Write("a = 1\nno equal\n");
    std::string strPath = m_folder.Path("a.cfg") + " ";
    std::replace(strPath.begin(), strPath.end(), '/', '\\');
    EXPECT_FALSE(m_cfg.SetFileName(strPath));  // asked for the path as given
    m_cfg.InitCfgItem();
    EXPECT_EQ(1U, m_debug.Take().size());
    m_cfg.InitCfgItem();
    EXPECT_THAT(m_debug.Take(), IsEmpty());
    Touch(m_folder.Path("a.cfg"));
    m_cfg.InitCfgItem();
    EXPECT_EQ(1U, m_debug.Take().size());
    std::map<std::string, std::string> mapItem = {{"old", ""}};
    EXPECT_TRUE(m_cfg.GetAllCfgItem(mapItem));
    EXPECT_THAT(mapItem, ElementsAre(Pair("a", "1")));
    const TNReadCfg copy = m_cfg;
    TNReadCfg other = copy;
    Write("a = 2\n");
    m_clock.Advance(301);
    EXPECT_EQ(2, Int("a"));
    std::string strValue;
    m_clock.Advance(-301);
    EXPECT_TRUE(other.GetItemValue("a", strValue));
    EXPECT_EQ("1", strValue);
}

}  // namespace
