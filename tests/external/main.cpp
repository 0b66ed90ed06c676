// A process of a site: the library over the double.
#include "double.h"

#include "tovelkarin/temutexoperguard.h"
#include "tovelkarin/tntrace.h"
#include "tovelkarin/utilif.h"

#include "zemb/event.h"
#include "zemb/module.h"

#include <cstdio>
#include <cstdlib>

namespace {

int g_nFailed = 0;

void Check(bool bHolds, const char* szWhat) {
    if (bHolds)
        return;
    std::fprintf(stderr, "external platform: %s\n", szWhat);
    ++g_nFailed;
}

bool LineIs(const char* szLine) {
    return !platform_double::Lines().empty() && platform_double::Lines().back() == szLine;
}

void CheckMutex() {
    using NSTE_util::TEMutexOperGuard;
    using NSTE_util::TEOperObject;
    NSTE_util::TEMutexOperMgr& mgr = *NSTE_util::TEMutexOperMgr::Instance();
    Check(!mgr.LoadMutexCfg("/absent.cfg"), "a file that the platform has not got is refused");
    platform_double::Files()["/table.cfg"] =
        "[MUTEX_TABLE]\n200:101:1\n[MUTEX_ERRORCODE]\n200:4711\n";
    Check(mgr.LoadMutexCfg("/table.cfg"), "a table from the platform's files");
    {
        const TEMutexOperGuard backup(200, TEOperObject{5, 0, 0});
        const TEMutexOperGuard create(101, TEOperObject{5, 7, 99});
        const TEMutexOperGuard elsewhere(101, TEOperObject{6, 7, 99});
        Check(backup.m_nResult == 0 && elsewhere.m_nResult == 0, "granted");
        Check(create.m_nResult == 4711, "refused with the code of the table");
    }
    Check(!mgr.HasRunningOper(), "all is given back");
}

}  // namespace

int main() {
    ModuleMgr& modules = *ModuleMgr::Instance();
    Check(modules.Modules().size() == 1 && ZembTaskCreator::Instance()->Count() == 1,
          "loading the library registers the module with the platform");
    Check(modules.QueryInterface(UTILIF_NAME, UTILIF_VERSION) != nullptr, "its interface is found");
    std::string strError;
    Check(modules.StartModules(strError), "start");
    Check(NSTN_util::g_OverTime_low == 77, "a setting of the platform arrives");
    CheckMutex();
    NSTN_util::TNTrace2LogFile("site", 3, "hello");
    Check(LineIs("site 3 hello"), "a trace line reaches the platform's channel");
    Check(TEEventMgr::Instance()->SendEvent(51, nullptr) == 1, "event 51 has its handler");
    Check(modules.StopModules(strError), "stop");
    Check(TEEventMgr::Instance()->SendEvent(51, nullptr) == 0, "and loses it");
    return g_nFailed == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
