// A server process that nobody has looked after: what it writes stands in
// docs/guide/when-nothing-starts.md.

#include "tovelkarin/temutexopermgr.h"
#include "tovelkarin/tnreqtimeout.h"

#include "zemb/module.h"

#include <iostream>

int main() {
    std::string strError;
    if (!ModuleMgr::Instance()->StartModules(strError))
        std::cerr << strError << std::endl;
    NSTE_util::TEMutexOperMgr::Instance()->LoadMutexCfg("root/missing.cfg");
    NSTE_util::TNReqTimeoutIF::Instance()->LoadTimeoutCfgFile("root/missing.cfg");
    return 0;
}
