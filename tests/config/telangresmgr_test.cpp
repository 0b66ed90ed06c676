#include "tovelkarin/telangresmgr.h"

#include "tests/support.h"

#include "zemb/settings.h"

#include <cstring>
#include <memory>

namespace {

using NSTN_util::TELangResMgr;
using testing::ElementsAre;
using testing::IsEmpty;

class TELangResMgrTest : public testing::Test {
protected:
    TELangResMgrTest() {
        TELangResMgr::Destroy();
        zemb::SetRootPath(m_folder.Path());
    }
    ~TELangResMgrTest() override {
        TELangResMgr::Destroy();
        zemb::ResetRootPath();
        zemb::SetLanguage("");
    }

    static TELangResMgr& Mgr() { return *TELangResMgr::Instance(); }

    template <class... Names>
    static int Load(const Names*... szName) {
        const char* arrFile[] = {szName..., nullptr};
        return Mgr().LoadLangFile("/lang/", arrFile);
    }

    support::TempFolder m_folder;
    support::DebugCapture m_debug;
};

TEST_F(TELangResMgrTest, BuildsTheFolderOfTheProcessLanguageWithoutAnySeparator) {
    std::string strPath = "untouched";
    zemb::SetLanguage("zh");
    EXPECT_TRUE(Mgr().GetLangPath("/conf/lang/", strPath));
    EXPECT_EQ(m_folder.Path() + "/conf/lang/zh/", strPath);
    EXPECT_THAT(m_debug.TakeWhole(), ElementsAre("tovelkarin 1 GetLangPath outpath = " + strPath));
    zemb::SetLanguage("");
    EXPECT_TRUE(Mgr().GetLangPath(nullptr, strPath));
    EXPECT_EQ(m_folder.Path() + "en/", strPath);
}

TEST_F(TELangResMgrTest, PrintsWhyThereIsNoFolderAndLoadsNothing) {
    const struct {
        std::string strRoot;
        const char* szPrinted;
        bool bFound;
    } arrCase[] = {
        {"", "Can not find the Environment variant.", false},
        {std::string(246, 'x'), "Environment variant'length is too long, please modify.\n", false},
        {std::string(245, 'x'), "", true}};
    for (const auto& test : arrCase) {
        zemb::SetRootPath(test.strRoot);
        std::string strPath = "untouched";
        testing::internal::CaptureStdout();
        EXPECT_EQ(test.bFound, Mgr().GetLangPath("/", strPath));
        EXPECT_EQ(test.szPrinted, testing::internal::GetCapturedStdout());
        EXPECT_EQ(test.bFound, strPath != "untouched");
    }
    zemb::SetRootPath("");
    testing::internal::CaptureStdout();
    EXPECT_EQ(0, Load());
    testing::internal::GetCapturedStdout();
    zemb::SetRootPath(m_folder.Path());
    EXPECT_EQ(0, Mgr().LoadLangFile("/lang/", nullptr));
    EXPECT_EQ(0, Mgr().LoadLangFileImpl(m_folder.Write("a.res", "key = text\n").c_str()));
    EXPECT_EQ("", Mgr().GetResourceStr("key")) << "in the table, but LoadLangFile did not succeed";
}

TEST_F(TELangResMgrTest, TheFirstTextOfAKeyStaysAndMissingFilesDoNotStopTheOthers) {
    m_folder.Write("lang/en/a.res", "key = first\nkey = second\nother = a=b\n");
    m_folder.Write("lang/en/b.res", "key = third\n\n# c = d\nno entry\nKey = upper\r\nlast = line");
    EXPECT_EQ("", Mgr().GetResourceStr("key"));
    EXPECT_EQ(1, Load("missing.res", "a.res", "b.res"));
    const auto vecLine = m_debug.Take();
    EXPECT_THAT(std::vector<std::string>(vecLine.begin() + 1, vecLine.end()),
                ElementsAre("Read lang res file fail."));
    EXPECT_EQ("first", Mgr().GetResourceStr("key"));
    EXPECT_EQ("a=b", Mgr().GetResourceStr("other"));
    EXPECT_EQ("upper", Mgr().GetResourceStr("Key"));
    EXPECT_EQ("line", Mgr().GetResourceStr("last"));
    EXPECT_EQ("", Mgr().GetResourceStr("c"));
    m_folder.Write("lang/en/c.res", "key = later\nnew = added\n");
    EXPECT_EQ(1, Load("c.res"));
    EXPECT_EQ("first", Mgr().GetResourceStr("key")) << "nothing is replaced";
    EXPECT_EQ("added", Mgr().GetResourceStr("new"));
    TELangResMgr::Destroy();
    TELangResMgr::Destroy();
    EXPECT_EQ("", Mgr().GetResourceStr("key")) << "a new, empty manager";
}

TEST_F(TELangResMgrTest, LooksUpWhileOthersLoad) {
    constexpr int FILES = 20;
    constexpr int KEYS = 100;
    const auto TextOf = [](int nKey) { return "text of number " + std::to_string(nKey); };
    m_folder.Write("lang/en/first.res", "first = text\n");
    for (int nFile = 0; nFile < FILES; ++nFile) {
        std::string strText;
        for (int n = nFile * KEYS; n < (nFile + 1) * KEYS; ++n)
            strText += std::to_string(n) + " = " + TextOf(n) + "\n";
        m_folder.Write("lang/en/" + std::to_string(nFile) + ".res", strText);
    }
    EXPECT_EQ(1, Load("first.res"));
    support::RunTogether(4, [&](std::size_t nThread) {
        if (nThread < 2) {  // both load all, from either end
            for (int i = 0; i < FILES; ++i) {
                const int nFile = nThread == 0 ? i : FILES - 1 - i;
                EXPECT_EQ(1, Load((std::to_string(nFile) + ".res").c_str()));
                EXPECT_EQ(TextOf(nFile * KEYS), Mgr().GetResourceStr(std::to_string(nFile * KEYS)));
            }
            return;
        }
        for (int nLooks = 0; nLooks < 3 * FILES * KEYS; ++nLooks) {
            const int nKey = nLooks % (FILES * KEYS);
            EXPECT_EQ("text", Mgr().GetResourceStr("first"));
            EXPECT_THAT(Mgr().GetResourceStr(std::to_string(nKey)),
                        testing::AnyOf("", TextOf(nKey)));
        }
    });
    for (int n = 0; n < FILES * KEYS; ++n)
        EXPECT_EQ(TextOf(n), Mgr().GetResourceStr(std::to_string(n)));
}

TEST_F(TELangResMgrTest, AListWithoutFilesCountsAsLoaded) {
    EXPECT_EQ(0, Mgr().LoadLangFileImpl(m_folder.Write("a.res", "key = text\n").c_str()));
    EXPECT_EQ(1, Load());
    EXPECT_EQ("text", Mgr().GetResourceStr("key"));
    m_debug.Take();
    EXPECT_EQ(-1, Mgr().LoadLangFileImpl(nullptr));
    EXPECT_EQ(-1, Mgr().LoadLangFileImpl(m_folder.Path().c_str()));
    EXPECT_EQ(-1, Mgr().LoadLangFileImpl("/dev/zero"));
    EXPECT_THAT(m_debug.Take(), testing::Each("Read lang res file fail."));
}

TEST_F(TELangResMgrTest, TheWorkingFolderIsTheServerPathAndNml) {
    EXPECT_EQ(m_folder.Path() + "/nml", NSTN_util::GetZEMBEnvironment());
    zemb::SetRootPath("");
    EXPECT_EQ("", NSTN_util::GetZEMBEnvironment());
}

TEST_F(TELangResMgrTest, LineReaderCutsLongTextsBetweenCharacters) {
    struct Case {
        std::string strLine;
        int nResult;
        std::string strKey;
        std::string strText;
    };
    const std::string strFull(1022, 'x');
    const Case arrCase[] = {
        {"key = text", 1, "key", "text"},
        {"\t key\t=  a = b \r\n", 1, "key", "a = b"},
        {"= text\n", 1, "", "text"},
        {"key =\n", 1, "key", ""},
        {"  # key = text\n", 2, "", ""},
        {"\n", 2, "", ""},
        {"no entry\n", 2, "", ""},
        {"", 0, "", ""},
        {"k=" + strFull + "yz\n", 1, "k", strFull + "y"},
        {"k=" + strFull + "\xC3\xA4\n", 1, "k", strFull},
        {"k=" + strFull.substr(2) + "\xE4\xB8\xAD\xE4\xB8\xAD\n", 1, "k",
         strFull.substr(2) + "\xE4\xB8\xAD"},
        {strFull + "\xF0\x9F\x98\x80=text\n", 1, strFull, "text"},
        {"k=" + std::string(2000, '\x80') + "\n", 1, "k", std::string(1020, '\x80')},
    };
    for (const Case& test : arrCase) {
        const std::string strFile = m_folder.Write("line.res", test.strLine);
        const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(strFile.c_str(), "r"),
                                                                   &std::fclose);
        char szKey[ZEMB_LINE_BUFFER];
        char szText[ZEMB_LINE_BUFFER];
        EXPECT_EQ(test.nResult, ZembGetLine(szKey, szText, file.get())) << test.strLine;
        EXPECT_EQ(test.strKey, szKey);
        EXPECT_EQ(test.strText, szText);
    }
    char szBuffer[ZEMB_LINE_BUFFER];
    EXPECT_EQ(-1, ZembGetLine(nullptr, szBuffer, stdin));
    EXPECT_EQ(-1, ZembGetLine(szBuffer, szBuffer, nullptr));
}

}  // namespace
