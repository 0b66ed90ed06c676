#pragma once

#include "zemb/export.h"

#include <list>
#include <string>

// What one module offers to others. The order of the operations is fixed.
class ZEMB_API ModuleInterface {
public:
    virtual ~ModuleInterface();
    // What others find it by; the same at every call.
    virtual std::string GetInterfaceName() = 0;
    virtual int GetInterfaceVersion() = 0;
    // True when this is the interface of that name and version.
    virtual bool IsMatch(const std::string& strName, const int& nVersion) = 0;
};

// What the module manager holds for each module. The order of the operations is fixed. Start and
// stop are called on one thread.
class ZEMB_API ModuleObject {
public:
    virtual ~ModuleObject();
    // The same at every call.
    virtual std::string GetModuleName() = 0;
    virtual int GetModuleNumber() = 0;
    virtual int Start() = 0;  // 0: started
    virtual int Stop() = 0;   // 0: stopped
    // The interface of that name and version, or null. The module keeps owning it.
    virtual ModuleInterface* QueryInterface(const std::string& strName, int nVersion) = 0;
    // Appends the module's interfaces; returns the list's new size, 0 when the module has none.
    virtual int ListInterfaces(std::list<ModuleInterface*>& listInterface) = 0;
    // Deletes the module's interfaces; pointers given out before are dead.
    virtual void ReleaseInterfaces() = 0;
    // Kept for the order of the operations.
    virtual int Reserved() = 0;
};

// The modules of this process. Modules register themselves while they are loaded and stay until
// the process ends: none is ever unloaded. Any thread; no lock is held while a module is called.
class ZEMB_API ModuleMgr {
public:
    static ModuleMgr* Instance();  // never null; lives to the end of the process

    virtual ~ModuleMgr();
    // Keeps pModule for the life of the process. False for null or an object that is already
    // there. Third slot of the interface.
    virtual bool RegisterModule(ModuleObject* pModule) = 0;
    // Loads a shared object whose static objects register a module. False, with the reason in
    // strError, when it cannot be loaded or registers none.
    virtual bool LoadModule(const std::string& strFile, std::string& strError) = 0;
    // First loads what the root names in root + "/etc/oss_cfg/trans/core/conf/trans_ems.cfg", as in
    // "modules = liba.so, /opt/site/libb.so": a plain name is found as the loader finds libraries,
    // any other that does not begin with "/" stands under the root. What has registered its module
    // before is left as it is. Then starts what is not started, in the order of registration, and
    // ends at the first that answers anything but 0 or throws. False, with the reason in strError;
    // nothing has been started when an object that is named cannot be loaded or registers no
    // module.
    virtual bool StartModules(std::string& strError) = 0;
    // Stops what was started here, in reverse order; all are stopped, the first failure is told.
    virtual bool StopModules(std::string& strError) = 0;
    virtual bool IsStarted(const ModuleObject* pModule) const = 0;
    virtual std::list<ModuleObject*> Modules() const = 0;  // in the order of registration
    // The first interface of that name and version among all modules, or null.
    virtual ModuleInterface* QueryInterface(const std::string& strName, int nVersion) = 0;
};

// What a module hands to the task creator to be known to it. The words belong to the task creator;
// a module gives it zeroed and never looks inside.
struct ZembTaskCreatorRecord {
    void* pOwner;
    void* pContext;
};

// Knows which modules may create tasks. Any thread.
class ZEMB_API ZembTaskCreator {
public:
    static ZembTaskCreator* Instance();  // never null; lives to the end of the process

    virtual ~ZembTaskCreator();
    // Whether the record is kept.
    virtual bool IsRegistered(const ZembTaskCreatorRecord* pRecord) const = 0;
    // Keeps the record until it is unregistered; 0, also when it is already there; -1 for null.
    // Fourth slot of the interface.
    virtual int Register(ZembTaskCreatorRecord* pRecord) = 0;
    virtual int Count() const = 0;  // how many records are kept
    // Forgets the record; 0, also when it is not known. Sixth slot of the interface.
    virtual int UnRegister(ZembTaskCreatorRecord* pRecord) = 0;
};
