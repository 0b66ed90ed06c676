#include "tovelkarin/temutexoperguard.h"
#include "tovelkarin/tntrace.h"
#include "tovelkarin/utilif.h"

#include "zemb/control.h"
#include "zemb/module.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

void Require(bool bHolds, const char* szWhat) {
    if (bHolds)
        return;
    std::fprintf(stderr, "outside: %s\n", szWhat);
    std::exit(1);
}

// Uses library and platform after main, when static objects of this program are gone or going.
struct LateUser {
    ~LateUser() {
        NSTN_util::TNTrace2LogFile("outside", 1, "after main");
        Require(ModuleMgr::Instance()->Modules().size() == 1, "modules after main");
        Require(NSTE_util::TEMutexOperMgr::Instance()->HasRunningOper(), "manager after main");
        std::filesystem::remove_all(zemb::GetStatePath());
    }
} g_late;

// And before it: the line must reach the sink although nothing was set up yet.
std::vector<std::string> g_vecEarly;
struct EarlyUser {
    EarlyUser() {
        const zemb::ScopedDebugSink sink(
            [](const zemb::DebugLine& line) { g_vecEarly.push_back(line.strText); });
        NSTE_util::TEMutexOperMgr::Instance()->AcquireMutexOper(1, NSTE_util::TEOperObject{});
    }
} g_early;

}  // namespace

int main() {
    Require(g_vecEarly.size() == 1 && g_vecEarly[0] == "No Mutex Operations Register for: 1",
            "line before main");
    Require(ModuleMgr::Instance()->Modules().size() == 1, "the module registered itself");
    Require(ZembTaskCreator::Instance()->Count() == 1, "and its task-creator record");
    Require(!ModuleMgr::Instance()->IsStarted(ModuleMgr::Instance()->Modules().front()),
            "not started by itself");
    ModuleInterface* const pFound =
        ModuleMgr::Instance()->QueryInterface(UTILIF_NAME, UTILIF_VERSION);
    Require(dynamic_cast<UtilIF*>(pFound) != nullptr, "the interface is found across libraries");
    zemb::SetRootPath("/");
    char szState[] = "/tmp/outside.XXXXXX";
    zemb::SetStatePath(mkdtemp(szState));
    const zemb::ScopedDebugSink sink([](const zemb::DebugLine&) {});
    std::string strError;
    Require(ModuleMgr::Instance()->StartModules(strError), "start");
    const NSTE_util::TEMutexOperGuard guard(7, NSTE_util::TEOperObject{5, 0, 0});
    Require(guard.m_nResult == 0, "guard");
    Require(ModuleMgr::Instance()->StopModules(strError), "stop");
    return 0;
}
