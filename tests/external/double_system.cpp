// Modules, channels, events, files, settings and time of the double.
#include "double.h"

#include "zemb/debug.h"
#include "zemb/event.h"
#include "zemb/live.h"
#include "zemb/module.h"
#include "zemb/os.h"
#include "zemb/settings.h"
#include "zemb/time.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>

namespace platform_double {

// Never deleted: the library uses the platform after main, too.
std::map<std::string, std::string>& Files() {
    static auto& map = *new std::map<std::string, std::string>;
    return map;
}

std::vector<std::string>& Lines() {
    static auto& vec = *new std::vector<std::string>;
    return vec;
}

}  // namespace platform_double

using platform_double::Files;
using platform_double::Lines;

ModuleInterface::~ModuleInterface() = default;
ModuleObject::~ModuleObject() = default;
ModuleMgr::~ModuleMgr() = default;
ZembTaskCreator::~ZembTaskCreator() = default;
TEDebugInterface::~TEDebugInterface() = default;
TEDebugCommand::~TEDebugCommand() = default;
TEEventHandler::~TEEventHandler() = default;
TEEventMgr::~TEEventMgr() = default;

namespace {

class Registry final : public ModuleMgr {
public:
    bool RegisterModule(ModuleObject* pModule) override {
        m_listModule.push_back(pModule);
        return true;
    }
    bool LoadModule(const std::string&, std::string&) override { return false; }
    bool StartModules(std::string&) override {
        m_bStarted = std::all_of(m_listModule.begin(), m_listModule.end(),
                                 [](ModuleObject* pModule) { return pModule->Start() == 0; });
        return m_bStarted;
    }
    bool StopModules(std::string&) override {
        m_bStarted = false;
        return std::all_of(m_listModule.begin(), m_listModule.end(),
                           [](ModuleObject* pModule) { return pModule->Stop() == 0; });
    }
    bool IsStarted(const ModuleObject*) const override { return m_bStarted; }
    std::list<ModuleObject*> Modules() const override { return m_listModule; }
    ModuleInterface* QueryInterface(const std::string& strName, int nVersion) override {
        for (ModuleObject* const pModule : m_listModule)
            if (ModuleInterface* const pFound = pModule->QueryInterface(strName, nVersion))
                return pFound;
        return nullptr;
    }

private:
    std::list<ModuleObject*> m_listModule;
    bool m_bStarted = false;
};

class TaskCreator final : public ZembTaskCreator {
public:
    bool IsRegistered(const ZembTaskCreatorRecord* pRecord) const override {
        return std::find(m_list.begin(), m_list.end(), pRecord) != m_list.end();
    }
    int Register(ZembTaskCreatorRecord* pRecord) override {
        m_list.push_back(pRecord);
        return 0;
    }
    int Count() const override { return static_cast<int>(m_list.size()); }
    int UnRegister(ZembTaskCreatorRecord* pRecord) override {
        m_list.remove(pRecord);
        return 0;
    }

private:
    std::list<ZembTaskCreatorRecord*> m_list;
};

class Channel final : public TEDebugInterface {
public:
    explicit Channel(std::string strModule) : m_strModule(std::move(strModule)) {}
    void Trace(int nLevel, const char* szText) override {
        Lines().push_back(m_strModule + ' ' + std::to_string(nLevel) + ' ' + szText);
    }
    void Assert(const char* szText) override { Lines().push_back(m_strModule + " A " + szText); }
    int Printf(const char* szFormat, ...) override {
        char szText[1024];
        va_list args;
        va_start(args, szFormat);
        const int nSize = std::vsnprintf(szText, sizeof szText, szFormat, args);
        va_end(args);
        Lines().push_back(m_strModule + " P " + szText);
        return nSize;
    }

private:
    std::string m_strModule;
};

class Events final : public TEEventMgr {
public:
    int RegisterHandler(TEEventHandler* pHandler, int nEvent, int) override {
        m_map[nEvent].push_back(pHandler);
        return 0;
    }
    int UnRegisterHandler(TEEventHandler* pHandler, int nEvent) override {
        m_map[nEvent].remove(pHandler);
        return 0;
    }
    int SendEvent(int nEvent, void* pData) override {
        int nHandled = 0;
        for (TEEventHandler* const pHandler : m_map[nEvent])
            nHandled += pHandler->HandleEvent(nEvent, pData) == 0;
        return nHandled;
    }

private:
    std::map<int, std::list<TEEventHandler*>> m_map;
};

}  // namespace

ModuleMgr* ModuleMgr::Instance() {
    static auto* const p = new Registry;
    return p;
}

ZembTaskCreator* ZembTaskCreator::Instance() {
    static auto* const p = new TaskCreator;
    return p;
}

TEEventMgr* TEEventMgr::Instance() {
    static auto* const p = new Events;
    return p;
}

bool ZembIsExit() {
    return false;
}

namespace NSTE_util {

TEDebugInterface* GetDebugInterface(const char* szModule) {
    static auto& map = *new std::map<std::string, Channel>;
    return &map.try_emplace(szModule, szModule).first->second;
}

TEDebugInterface* GetDefaultDebugInterface() {
    return GetDebugInterface("");
}

void WriteException(const char* szText) noexcept {
    GetDefaultDebugInterface()->Trace(0, szText);
}

std::string GetZEMBRootPath() {
    return "/double";
}

const char* emscfgfile = nullptr;
bool g_bEnableInt3 = false;
bool g_bEnableLog = false;
bool g_bEnableAsnLog = false;
bool g_bEnableMmlTrace = false;

void TELOCAL2UTC(const std::tm& local, std::tm& utc) {
    utc = local;
}

void TEUTC2UTC(const std::tm& utc, long& nSeconds) {
    std::tm parts = utc;
    nSeconds = timegm(&parts);
}

}  // namespace NSTE_util

void EmfGetServerPath(std::string& strPath) {
    strPath = NSTE_util::GetZEMBRootPath() + '/';
}

int ZembGetLangType() {
    return ZEMB_LANG_TYPE_WESTERN;
}

int ZembGetLine(char*, char*, std::FILE*) {
    return 0;
}

// One setting of a start, so that the test sees it arrive.
int ZembGetRegInt(const char* szKey, int& nValue, const char*) {
    if (std::string(szKey) != "overtime_low")
        return 0;
    nValue = 77;
    return 1;
}

Zembcommon::ZembMsg* Zembcommon::ZembMsg::instance() {
    static auto* const p = new ZembMsg;
    return p;
}

std::string Zembcommon::ZembMsg::getLanguage() const {
    return "en";
}

bool FrameUtil::GetUserCfgInfo(const std::string&, const std::string&, std::string&) noexcept {
    return false;
}

namespace ZEMB_OS {

std::time_t time() {
    return 1000;
}

int stat(const char* szPath, struct ::stat* pStat, const char*) {
    *pStat = {};
    const auto it = Files().find(szPath);
    errno = ENOENT;
    if (it == Files().end())
        return -1;
    pStat->st_mode = S_IFREG;
    pStat->st_size = static_cast<off_t>(it->second.size());
    return 0;
}

// The library reads through the descriptor of the stream, so that there must be one.
std::FILE* fopen(const char* szPath, const char* szMode, const char*) {
    const auto it = Files().find(szPath);
    errno = ENOENT;
    if (it == Files().end() || *szMode != 'r')
        return nullptr;
    const int nFile = memfd_create("double", MFD_CLOEXEC);
    const auto nSize = static_cast<ssize_t>(it->second.size());
    if (write(nFile, it->second.data(), it->second.size()) != nSize)
        return nullptr;
    lseek(nFile, 0, SEEK_SET);
    return fdopen(nFile, "r");
}

long filesize(const char* szPath, const char* szCodeSet) {
    struct ::stat info;
    return stat(szPath, &info, szCodeSet) == 0 ? info.st_size : -1;
}

int mkdir(const char*, mode_t, const char*) {
    return -1;
}

int rename(const char*, const char*, int, const char*) {
    return -1;
}

int unlink(const char*, const char*) {
    return -1;
}

}  // namespace ZEMB_OS

int ZembFileUtil::getFileList(const char*, std::vector<ZembFileEntry>&, const char*) {
    return ENOENT;
}

int ZembFileUtil::walkTree(const char*, const std::function<bool(const ZembFileEntry&)>&,
                           const char*) {
    return ENOENT;
}

bool ZembFileUtil::isDir(const char*, const char*) {
    return false;
}

int ZembFileUtil::delDir(const char*, const char*) {
    return ENOENT;
}

// Nobody watches.
std::atomic<zemb::LiveWatcher*> zemb::g_pLiveWatcher{nullptr};

void zemb::LiveFact(const std::string&, const std::string&, const std::string&) noexcept {}

ZembTime ZembTZone::toZembTime(long nSeconds) {
    std::tm parts;
    gmtime_r(&nSeconds, &parts);
    return {parts.tm_year + 1900L,
            parts.tm_mon + 1,
            parts.tm_mday,
            parts.tm_hour,
            parts.tm_min,
            parts.tm_sec,
            parts.tm_wday,
            0,
            false,
            "UTC"};
}

void ZembTZone::ZembTimeTotm(const ZembTime&, std::tm& parts) {
    parts = {};
}
