#include "zemb/module.h"

#include "tests/support.h"

#include <stdexcept>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// A module whose start and stop do as they are told; registered modules live to the end.
class FakeModule : public ModuleObject {
public:
    explicit FakeModule(const std::string& strName) : m_strName(strName) {}
    std::string GetModuleName() override { return m_strName; }
    int GetModuleNumber() override { return 1; }
    int Start() override { return Answer("start"); }
    int Stop() override { return Answer("stop"); }
    ModuleInterface* QueryInterface(const std::string&, int) override { return nullptr; }
    int ListInterfaces(std::list<ModuleInterface*>&) override { return 0; }
    void ReleaseInterfaces() override {}
    int Reserved() override { return 0; }

    int nAnswer = 0;
    bool bThrow = false;
    std::vector<std::string>* pCalls = nullptr;

private:
    int Answer(const char* szWhat) {
        if (pCalls != nullptr)
            pCalls->push_back(m_strName + " " + szWhat);
        if (bThrow)
            throw std::runtime_error("broken");
        return nAnswer;
    }

    const std::string m_strName;
};

TEST(ModuleMgrTest, StartsInOrderStopsInReverseAndTellsWhatFailed) {
    static FakeModule first("first");
    static FakeModule second("second");
    ModuleMgr& mgr = *ModuleMgr::Instance();
    EXPECT_FALSE(mgr.RegisterModule(nullptr));
    EXPECT_TRUE(mgr.RegisterModule(&first));
    EXPECT_TRUE(mgr.RegisterModule(&second));
    EXPECT_FALSE(mgr.RegisterModule(&first));
    std::vector<std::string> vecCall;
    first.pCalls = second.pCalls = &vecCall;

    support::DebugCapture debug;
    std::string strError;
    second.nAnswer = 5;
    EXPECT_FALSE(mgr.StartModules(strError));
    EXPECT_EQ("module second: start answered 5", strError);
    EXPECT_TRUE(mgr.IsStarted(&first));
    EXPECT_FALSE(mgr.IsStarted(&second));
    second.nAnswer = 0;
    EXPECT_TRUE(mgr.StartModules(strError));
    first.bThrow = true;
    EXPECT_FALSE(mgr.StopModules(strError));
    EXPECT_EQ("module first: stop threw: broken", strError);
    EXPECT_THAT(vecCall, ElementsAre("first start", "second start", "second start", "second stop",
                                     "first stop"));
    first.bThrow = false;
    EXPECT_TRUE(mgr.StartModules(strError));
    first.nAnswer = 3;
    second.nAnswer = 4;
    EXPECT_FALSE(mgr.StopModules(strError));
    EXPECT_EQ("module second: stop answered 4", strError) << "of several the one that came first";
    first.nAnswer = second.nAnswer = 0;
    first.pCalls = second.pCalls = nullptr;
}

TEST(ModuleMgrTest, LoadingTellsWhyItFailed) {
    std::string strError;
    EXPECT_FALSE(ModuleMgr::Instance()->LoadModule("/no/such/module.so", strError));
    EXPECT_THAT(strError, HasSubstr("/no/such/module.so"));
    EXPECT_FALSE(ModuleMgr::Instance()->LoadModule("libm.so.6", strError));
    EXPECT_THAT(strError, HasSubstr("registered no module"));
}

TEST(TaskCreatorTest, KnowsItsRecords) {
    ZembTaskCreator& creator = *ZembTaskCreator::Instance();
    static ZembTaskCreatorRecord record{};
    EXPECT_EQ(-1, creator.Register(nullptr));
    EXPECT_EQ(0, creator.UnRegister(&record)) << "an unknown record is no failure";
    EXPECT_EQ(0, creator.Register(&record));
    EXPECT_EQ(0, creator.Register(&record));
    EXPECT_TRUE(creator.IsRegistered(&record));
    EXPECT_EQ(0, creator.UnRegister(&record));
    EXPECT_FALSE(creator.IsRegistered(&record));
}

}  // namespace
