#include "frame/module.h"

#include "tovelkarin/tntraceif.h"
#include "tovelkarin/utilif.h"

#include "tests/support.h"

#include "zemb/event.h"
#include "zemb/faults.h"
#include "zemb/operlog.h"
#include "zemb/settings.h"

#include <climits>
#include <filesystem>
#include <iterator>
#include <stdexcept>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

tovelkarin& Module() {
    for (ModuleObject* const pModule : ModuleMgr::Instance()->Modules())
        if (pModule->GetModuleName() == "tovelkarin")
            return dynamic_cast<tovelkarin&>(*pModule);
    throw std::logic_error("the module did not register itself");
}

// An installation root of its own; the settings of the process are put back afterwards.
class ModuleTest : public testing::Test {
protected:
    ModuleTest() {
        zemb::SetRootPath(m_folder.Path());
        m_folder.Write("etc/oss_cfg/e2e/nml_common/common.cfg",
                       "AdvanceAsnTrace = 1\nbExplicityTrace = 0\n");
        Set(false, false, false, false);
        NSTN_util::g_OverTime_low = 300;
        NSTN_util::g_OverTime_mid = 600;
        NSTN_util::g_OverTime_high = 1800;
        NSTN_util::g_nVCNExportTimerInterval = 300;
        NSTN_util::RefreshAdvAsnTraceSwitch(1);  // whatever tests before this one left
        m_debug.Take();
    }
    ~ModuleTest() override {
        zemb::ResetRootPath();
        NSTE_util::emscfgfile = nullptr;
        Set(false, false, false, false);
    }

    static void Set(bool bInt3, bool bLog, bool bAsn, bool bMml) {
        NSTE_util::g_bEnableInt3 = bInt3;
        NSTE_util::g_bEnableLog = bLog;
        NSTE_util::g_bEnableAsnLog = bAsn;
        NSTE_util::g_bEnableMmlTrace = bMml;
    }

    static std::vector<int> Settings() {
        return {NSTE_util::g_bEnableInt3,   NSTE_util::g_bEnableLog,
                NSTE_util::g_bEnableAsnLog, NSTE_util::g_bEnableMmlTrace,
                NSTN_util::g_OverTime_low,  NSTN_util::g_OverTime_mid,
                NSTN_util::g_OverTime_high, NSTN_util::g_nVCNExportTimerInterval};
    }

    void WriteInterval(const std::string& strValue) {
        m_folder.Write("etc/oss_cfg/trans/core/conf/trans_ems.cfg",
                       "VCNExportInterval = " + strValue + "\n");
    }

    support::TempFolder m_folder;
    support::DebugCapture m_debug;
};

TEST_F(ModuleTest, RegisteredItselfWithItsInterfaceAtLoad) {
    EXPECT_EQ(85, Module().GetModuleNumber());
    EXPECT_EQ(0, Module().Reserved());
    auto* const pUtil =
        dynamic_cast<UtilIF*>(ModuleMgr::Instance()->QueryInterface("UtilIF", 0x1030001));
    ASSERT_NE(nullptr, pUtil);
    EXPECT_EQ("UtilIF", pUtil->GetInterfaceName());
    EXPECT_EQ(0x1030001, pUtil->GetInterfaceVersion());
    EXPECT_EQ(0U, pUtil->Reserved6(1, 2));
    EXPECT_EQ(0U, pUtil->Reserved7(1, 2));
    Set(true, false, false, false);
    EXPECT_TRUE(pUtil->IsInt3Enabled());
    Set(false, true, true, true);
    EXPECT_FALSE(pUtil->IsInt3Enabled());
}

TEST_F(ModuleTest, AnswersOnlyForItsExactInterface) {
    const struct {
        const char* szName;
        int nVersion;
        bool bFound;
    } arrCase[] = {{"UtilIF", 0x1030001, true},  {"UtilIF", 0x1030000, false},
                   {"utilif", 0x1030001, false}, {"UtilIF ", 0x1030001, false},
                   {"", 0x1030001, false},       {"UtilIF", INT_MIN, false}};
    for (const auto& test : arrCase)
        EXPECT_EQ(test.bFound, Module().QueryInterface(test.szName, test.nVersion) != nullptr)
            << test.szName;
    std::list<ModuleInterface*> listInterface = {nullptr};
    EXPECT_EQ(2, Module().ListInterfaces(listInterface)) << "the list's new size";
    EXPECT_EQ(Module().QueryInterface(UTILIF_NAME, UTILIF_VERSION), listInterface.back());
}

TEST_F(ModuleTest, OffersNothingAfterItsInterfacesWereReleased) {
    static tovelkarin another;  // registers itself too, so it must live on
    another.ReleaseInterfaces();
    EXPECT_EQ(nullptr, another.QueryInterface(UTILIF_NAME, UTILIF_VERSION));
    std::list<ModuleInterface*> listInterface = {nullptr};
    EXPECT_EQ(0, another.ListInterfaces(listInterface));
    EXPECT_EQ(1U, listInterface.size());
    another.ReleaseInterfaces();
}

TEST_F(ModuleTest, StartReadsTheSettingsThatAreThere) {
    m_folder.Write("etc/oss_cfg/ems.cfg",
                   "bEnableInt3 = 1\nbEnableLog=-7\nbEnableAsnLog = 0\novertime_low = 0x10\n"
                   "overtime_mid = many\n# overtime_high = 5\n");
    Set(false, false, true, true);
    WriteInterval("900");
    EXPECT_EQ(0, Module().Start());
    EXPECT_EQ(1, Module().started);
    EXPECT_THAT(Settings(), ElementsAre(1, 1, 0, 1, 16, 600, 1800, 900))
        << "what is missing or no number stays as it was";
    EXPECT_THAT(m_debug.Take(), ElementsAre("GetTNReadcfg_nolock  InitByFileName failed!"))
        << "a missing key is silent";
    EXPECT_EQ(0, Module().Stop());
    EXPECT_EQ(0, Module().started);
}

// What a start keeps and a stop forgets would add up: handlers, descriptors, memory (under asan).
TEST_F(ModuleTest, AThousandLivesAreLikeTheFirst) {
    const auto CountDescriptors = [] {
        const std::filesystem::directory_iterator it("/proc/self/fd");
        return std::distance(begin(it), end(it));
    };
    const auto nDescriptors = CountDescriptors();
    const int nHandlers = TEEventMgr::Instance()->SendEvent(51, nullptr);
    for (int i = 1; i <= 1000; ++i) {
        std::string strEms;
        for (const char* szKey : {"bEnableInt3", "bEnableLog", "bEnableAsnLog", "bEnableMmlTrace"})
            strEms += szKey + (" = " + std::to_string(i % 2)) + "\n";
        for (const char* szKey : {"overtime_low", "overtime_mid", "overtime_high"})
            strEms += szKey + (" = " + std::to_string(i)) + "\n";
        m_folder.Write("etc/oss_cfg/ems.cfg", strEms);
        WriteInterval(std::to_string(300 + i));
        ASSERT_EQ(0, Module().Start());
        ASSERT_EQ(1, Module().started);
        ASSERT_THAT(Settings(), ElementsAre(i % 2, i % 2, i % 2, i % 2, i, i, i, 300 + i));
        ASSERT_EQ(nHandlers + 1, TEEventMgr::Instance()->SendEvent(51, nullptr)) << i;
        ASSERT_EQ(0, Module().Stop());
        ASSERT_EQ(0, Module().started);
        ASSERT_EQ(nHandlers, TEEventMgr::Instance()->SendEvent(51, nullptr)) << i;
    }
    EXPECT_EQ(nDescriptors, CountDescriptors());
    EXPECT_EQ(0, ZembTaskCreator::Instance()->Count());
}

TEST_F(ModuleTest, TheEmsFileIsTheOneTheHostNamed) {
    m_folder.Write("etc/oss_cfg/ems.cfg", "overtime_low = 1\n");
    const std::string strOther = m_folder.Write("other.cfg", "overtime_low = 2\n");
    NSTE_util::emscfgfile = strOther.c_str();
    Module().Start();
    EXPECT_EQ(2, NSTN_util::g_OverTime_low);
    Module().Stop();
}

TEST_F(ModuleTest, RaisesSmallExportIntervalsOnly) {
    const std::pair<const char*, int> arrCase[] = {{"0", 0},
                                                   {"1", 300},
                                                   {"299", 300},
                                                   {"300", 300},
                                                   {"301", 301},
                                                   {"-1", -1},
                                                   {"-2147483648", INT_MIN}};
    for (const auto& [szInFile, nInterval] : arrCase) {
        WriteInterval(szInFile);
        Module().Start();
        EXPECT_EQ(nInterval, NSTN_util::g_nVCNExportTimerInterval) << szInFile;
        Module().Stop();
    }
    m_folder.Write("etc/oss_cfg/trans/core/conf/trans_ems.cfg", "");
    NSTN_util::g_nVCNExportTimerInterval = 7;
    Module().Start();
    EXPECT_EQ(300, NSTN_util::g_nVCNExportTimerInterval) << "a kept value is raised too";
    Module().Stop();
}

TEST_F(ModuleTest, StartsWithoutSettingsWhenTheRootIsUnusable) {
    const std::string strFile = m_folder.Write("ems.cfg", "overtime_low = 2\n");
    NSTE_util::emscfgfile = strFile.c_str();
    const std::pair<std::string, bool> arrCase[] = {{"", false},
                                                    {std::string(246, 'x'), false},
                                                    {std::string(245, 'x'), true},
                                                    {"/no/such/folder", true},
                                                    {strFile, true}};
    for (const auto& [strRoot, bUsable] : arrCase) {
        m_debug.Take();
        NSTN_util::g_OverTime_low = 300;
        NSTN_util::g_nVCNExportTimerInterval = 7;
        zemb::SetRootPath(strRoot);
        EXPECT_EQ(0, Module().Start());
        EXPECT_EQ(1, Module().started);
        EXPECT_EQ(bUsable ? 2 : 300, NSTN_util::g_OverTime_low) << strRoot;
        EXPECT_EQ(bUsable ? 300 : 7, NSTN_util::g_nVCNExportTimerInterval) << strRoot;
        if (bUsable)
            EXPECT_THAT(m_debug.Take(),
                        testing::Contains(" read bExplicityTrace failed! file = " + strRoot +
                                          "/etc/oss_cfg/e2e/nml_common/common.cfg"));
        else
            EXPECT_THAT(m_debug.TakeWhole(),
                        ElementsAre("tovelkarin 1 PrintAlarmInfo Can not find the Environment "
                                    "variant."));
        Module().Stop();
    }
}

TEST_F(ModuleTest, StopAnswersAsTheTaskCreatorDid) {
    Module().Start();
    {
        const zemb::ScopedFault fault(zemb::EFault::FAILS, 2);
        EXPECT_EQ(-1, Module().Stop());
        EXPECT_EQ("ZembTaskCreator::UnRegister", fault.Where());
    }
    EXPECT_EQ(0, Module().started);
    Module().Start();
    EXPECT_EQ(0, Module().Stop());
}

TEST_F(ModuleTest, WritesOperationLogEntriesBetweenStartAndStop) {
    zemb::SetStatePath(m_folder.Path("state"));
    ZembLogInfo info;
    info.nUserId = 7;
    // Those that other tests have started and not stopped.
    const int nBefore = TEEventMgr::Instance()->SendEvent(51, nullptr);
    const auto SendAndCount = [&] {
        std::filesystem::remove_all(m_folder.Path("state"));
        const int nHandled = TEEventMgr::Instance()->SendEvent(51, &info) - nBefore;
        return std::make_pair(nHandled, static_cast<int>(support::OperLogRows().size()) - nBefore);
    };
    EXPECT_EQ(std::make_pair(0, 0), SendAndCount());
    m_folder.Write("etc/oss_cfg/e2e/nml_common/common.cfg",
                   "AdvanceAsnTrace = 1\nbExplicityTrace = 5\n");
    EXPECT_EQ(0, Module().Start());
    EXPECT_TRUE(NSTN_util::IsExplicityTrace());
    EXPECT_EQ(std::make_pair(1, 1), SendAndCount());
    EXPECT_EQ(0, Module().Start());  // started again: a further handler beside the first
    EXPECT_EQ(std::make_pair(2, 2), SendAndCount());
    EXPECT_EQ(0, Module().Stop());
    EXPECT_EQ(std::make_pair(1, 1), SendAndCount());
    zemb::ResetStatePath();
}

}  // namespace
