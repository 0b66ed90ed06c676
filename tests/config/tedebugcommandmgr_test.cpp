#include "tovelkarin/tedebugcommandmgr.h"

#include "tests/support.h"
#include "zemb/debug.h"

#include <stdexcept>

namespace {

using NSTN_util::TEDebugCommandMgr;
using testing::ElementsAre;
using testing::IsEmpty;

class Command : public TEDebugCommand {
public:
    Command(std::string strName, int& nDeleted)
        : m_strName(std::move(strName)), m_nDeleted(nDeleted) {}
    ~Command() override { ++m_nDeleted; }
    std::string GetName() override {
        if (m_strName == "throws")
            throw std::runtime_error("no name");
        return m_strName;
    }

private:
    std::string m_strName;
    int& m_nDeleted;
};

// A registry that has something in it.
class FilledMgr : public TEDebugCommandMgr {
public:
    void Put(TEDebugCommand* pCommand) { m_listCommand.push_back(pCommand); }
    std::size_t Size() const { return m_listCommand.size(); }
};

TEST(DebugCommandMgrTest, IsInert) {
    TEDebugCommandMgr::Destroy();
    TEDebugCommandMgr& mgr = *TEDebugCommandMgr::Instance();
    EXPECT_EQ(&mgr, TEDebugCommandMgr::Instance());
    EXPECT_EQ(0, mgr.Init());
    int nDeleted = 0;
    Command command("show", nDeleted);
    EXPECT_EQ(0, mgr.AddDebugCommand(&command));
    EXPECT_EQ(0, mgr.AddDebugCommand(nullptr));
    EXPECT_EQ("", mgr.Excute("show"));
    mgr.RemoveDebugCommand("show");
    mgr.RemoveDebugCommand(&command);
    EXPECT_EQ(0, nDeleted);
    TEDebugCommandMgr::Destroy();
    TEDebugCommandMgr::Destroy();
}

TEST(DebugCommandMgrTest, RemovesTheFirstOfAName) {
    support::DebugCapture debug;
    FilledMgr mgr;
    int nFirst = 0;
    int nOthers = 0;
    int nUnnamed = 0;
    mgr.Put(new Command("show", nFirst));
    mgr.Put(new Command("", nUnnamed));
    mgr.Put(new Command("show", nOthers));
    mgr.RemoveDebugCommand("Show");
    mgr.RemoveDebugCommand(static_cast<TEDebugCommand*>(nullptr));
    EXPECT_EQ(3U, mgr.Size());
    Command same("show", nOthers);  // its name counts, not itself
    mgr.RemoveDebugCommand(&same);
    EXPECT_EQ(1, nFirst);
    mgr.RemoveDebugCommand(std::string());
    EXPECT_EQ(1, nUnnamed);
    EXPECT_THAT(debug.Take(), IsEmpty());
    Command bad("throws", nOthers);
    mgr.RemoveDebugCommand(&bad);
    EXPECT_THAT(debug.Take(), ElementsAre("Log Info::Exception c style format!"));
    mgr.RemoveDebugCommand(&same);  // the lock was given back
    EXPECT_EQ(0U, mgr.Size());
    EXPECT_EQ(1, nOthers);
}

}  // namespace
