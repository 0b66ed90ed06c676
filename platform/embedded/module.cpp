#include "zemb/module.h"

#include "base/cancel_hold.h"
#include "base/immortal.h"
#include "base/root_files.h"
#include "base/trim.h"
#include "embedded/black_box.h"
#include "embedded/fault_point.h"
#include "embedded/item_line.h"
#include "embedded/thrown.h"
#include "zemb/settings.h"
#include "zemb/text.h"

#include <dlfcn.h>

#include <algorithm>
#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <string_view>
#include <typeinfo>
#include <vector>

// Loads, starts and stops modules. A module registers itself while its shared object is loaded; an
// object that brought none is told from one that is there already by looking where the classes of
// the known modules come from. Nothing is ever unloaded, as threads may still run in it, and no
// lock is held while a module works.

ModuleInterface::~ModuleInterface() = default;
ModuleObject::~ModuleObject() = default;
ModuleMgr::~ModuleMgr() = default;
ZembTaskCreator::~ZembTaskCreator() = default;

namespace {

// Calls one operation of a module; what it throws becomes an error text.
bool CallModule(ModuleObject& module, const char* szWhat, int (ModuleObject::*pfn)(),
                std::string& strError) {
    const base::CancelHold hold;
    std::string strName = "?";
    try {
        strName = module.GetModuleName();
        const int nResult = (module.*pfn)();
        if (nResult == 0)
            return true;
        strError = "module " + strName + ": " + szWhat + " answered " + std::to_string(nResult);
    } catch (...) {
        strError = zemb::ThrownText("module " + strName + ": " + szWhat + " threw");
    }
    return false;
}

// What to load for a name: a plain one is for the loader to find, any other that does not begin
// with "/" is under the root.
std::string ObjectOf(std::string_view strName, const std::string& strRoot) {
    if (strName.find('/') == std::string_view::npos || strName.front() == '/')
        return std::string(strName);
    return strRoot + "/" + std::string(strName);
}

// Loads a shared object; null, with the reason. The handle is kept: a module stays until the
// process ends.
void* Open(const std::string& strFile, std::string& strError) {
    const base::CancelHold hold;
    void* const pHandle = dlopen(strFile.c_str(), RTLD_NOW | RTLD_GLOBAL);
    if (pHandle == nullptr) {
        const char* const szReason = dlerror();
        strError = szReason == nullptr ? strFile + ": cannot be loaded" : szReason;
    }
    return pHandle;
}

// Whether the class of a module is part of a loaded object.
bool IsFrom(void* pHandle, const ModuleObject& module) {
    Dl_info info;
    void* pOfClass = nullptr;
    void* pOfHandle = nullptr;
    return dladdr1(&typeid(module), &info, &pOfClass, RTLD_DL_LINKMAP) != 0 &&
           dlinfo(pHandle, RTLD_DI_LINKMAP, &pOfHandle) == 0 && pOfClass == pOfHandle;
}

class ModuleMgrImpl final : public ModuleMgr {
public:
    bool RegisterModule(ModuleObject* pModule) override {
        std::lock_guard<std::mutex> guard(m_lock);
        if (pModule == nullptr ||
            std::find(m_listModule.begin(), m_listModule.end(), pModule) != m_listModule.end())
            return false;
        m_listModule.push_back(pModule);
        return true;
    }

    bool LoadModule(const std::string& strFile, std::string& strError) override {
        const std::size_t nBefore = Modules().size();
        if (Open(strFile, strError) == nullptr)
            return false;
        if (Modules().size() == nBefore) {
            strError = strFile + ": registered no module that was not there before";
            return false;
        }
        return true;
    }

    bool StartModules(std::string& strError) override {
        if (!LoadNamed(strError))
            return false;
        zemb::BeginBlackBox();
        for (ModuleObject* pModule : Modules()) {
            if (IsStarted(pModule))
                continue;
            if (!CallModule(*pModule, "start", &ModuleObject::Start, strError))
                return false;
            std::lock_guard<std::mutex> guard(m_lock);
            m_setStarted.insert(pModule);
        }
        return true;
    }

    bool StopModules(std::string& strError) override {
        std::list<ModuleObject*> listModule = Modules();
        listModule.reverse();
        bool bAll = true;
        for (ModuleObject* pModule : listModule) {
            {
                std::lock_guard<std::mutex> guard(m_lock);
                if (m_setStarted.erase(pModule) == 0)
                    continue;
            }
            std::string strReason;
            if (!CallModule(*pModule, "stop", &ModuleObject::Stop, strReason)) {
                if (bAll)
                    strError = strReason;
                bAll = false;
            }
        }
        zemb::EndBlackBox();
        return bAll;
    }

    bool IsStarted(const ModuleObject* pModule) const override {
        std::lock_guard<std::mutex> guard(m_lock);
        return m_setStarted.count(pModule) != 0;
    }

    std::list<ModuleObject*> Modules() const override {
        std::lock_guard<std::mutex> guard(m_lock);
        return m_listModule;
    }

    ModuleInterface* QueryInterface(const std::string& strName, int nVersion) override {
        for (ModuleObject* pModule : Modules())
            if (ModuleInterface* pFound = pModule->QueryInterface(strName, nVersion))
                return pFound;
        return nullptr;
    }

private:
    // Loads what the root names, in that order.
    bool LoadNamed(std::string& strError) {
        const std::string strRoot = NSTE_util::GetZEMBRootPath();
        const std::string strFile = strRoot + base::TRANS_EMS_UNDER_ROOT;
        const auto strNames =
            strRoot.empty() ? std::nullopt : zemb::FindItem(base::KEY_MODULES, strFile);
        if (!strNames)
            return true;
        const std::vector<std::string> vecPiece = NSTE_util::Token(*strNames, ',');
        std::string strReason;
        if (std::all_of(vecPiece.begin(), vecPiece.end(), [&](const std::string& strPiece) {
                const std::string strObject = ObjectOf(base::Trim(strPiece), strRoot);
                return strObject.empty() || LoadOnce(strObject, strReason);
            }))
            return true;
        strError = strFile + ": " + base::KEY_MODULES + ": " + strReason;
        return false;
    }

    // Loads an object, unless a module of it is there already: linked, or loaded before.
    bool LoadOnce(const std::string& strFile, std::string& strError) {
        const std::size_t nBefore = Modules().size();
        void* const pHandle = Open(strFile, strError);
        if (pHandle == nullptr)
            return false;
        const std::list<ModuleObject*> listModule = Modules();
        if (listModule.size() != nBefore ||
            std::any_of(listModule.begin(), listModule.end(),
                        [pHandle](const ModuleObject* p) { return IsFrom(pHandle, *p); }))
            return true;
        strError = strFile + ": registered no module";
        return false;
    }

    mutable std::mutex m_lock;
    std::list<ModuleObject*> m_listModule;
    std::set<const ModuleObject*, std::less<>> m_setStarted;
};

class ZembTaskCreatorImpl final : public ZembTaskCreator {
public:
    bool IsRegistered(const ZembTaskCreatorRecord* pRecord) const override {
        std::lock_guard<std::mutex> guard(m_lock);
        return m_setRecord.count(pRecord) != 0;
    }

    int Register(ZembTaskCreatorRecord* pRecord) override {
        if (pRecord == nullptr || zemb::IsFaulty("ZembTaskCreator::Register"))
            return -1;
        std::lock_guard<std::mutex> guard(m_lock);
        m_setRecord.insert(pRecord);
        return 0;
    }

    int Count() const override {
        std::lock_guard<std::mutex> guard(m_lock);
        return static_cast<int>(m_setRecord.size());
    }

    int UnRegister(ZembTaskCreatorRecord* pRecord) override {
        if (zemb::IsFaulty("ZembTaskCreator::UnRegister"))
            return -1;
        std::lock_guard<std::mutex> guard(m_lock);
        m_setRecord.erase(pRecord);
        return 0;
    }

private:
    mutable std::mutex m_lock;
    std::set<const ZembTaskCreatorRecord*, std::less<>> m_setRecord;
};

}  // namespace

// Neither is ever destroyed: modules register before main and may ask after it.
ModuleMgr* ModuleMgr::Instance() {
    static base::Immortal<ModuleMgrImpl> manager;
    return &*manager;
}

ZembTaskCreator* ZembTaskCreator::Instance() {
    static base::Immortal<ZembTaskCreatorImpl> creator;
    return &*creator;
}
