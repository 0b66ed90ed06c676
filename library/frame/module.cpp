#include "frame/module.h"

#include "frame/settings.h"
#include "task/operlog_handler.h"
#include "trace/trace_line.h"

#include "zemb/event.h"
#include "zemb/settings.h"

// The module "tovelkarin" and its interface. It registers itself while the library is loaded, which
// must be when all other static objects exist: this is the last source that is linked, and the
// module is its last object. A handler of events is never deleted, because an event may still be on
// its way to it.

UtilIF::~UtilIF() = default;

std::string UtilIFImpl::GetInterfaceName() {
    return UTILIF_NAME;
}

int UtilIFImpl::GetInterfaceVersion() {
    return UTILIF_VERSION;
}

bool UtilIFImpl::IsMatch(const std::string& strName, const int& nVersion) {
    return strName == UTILIF_NAME && nVersion == UTILIF_VERSION;
}

bool UtilIFImpl::IsInt3Enabled() {
    return NSTE_util::g_bEnableInt3;
}

unsigned long UtilIFImpl::Reserved6(unsigned long /*nFirst*/, unsigned long /*nSecond*/) {
    return 0;
}

unsigned long UtilIFImpl::Reserved7(unsigned long /*nFirst*/, unsigned long /*nSecond*/) {
    return 0;
}

namespace {

// Null until the first start; each start makes another one, and none is deleted.
NSTN_util::TNWriteOperLogHandler* g_pOperLogHandler = nullptr;

constexpr int HANDLED_EVENTS[] = {NSTN_util::EVENT_WRITE_OPERLOG};
constexpr int REGISTER_FLAG = 1;

void RegisterOperLogHandler() {
    g_pOperLogHandler = new NSTN_util::TNWriteOperLogHandler(g_pOperLogHandler);
    for (const int nEvent : HANDLED_EVENTS)
        TEEventMgr::Instance()->RegisterHandler(g_pOperLogHandler, nEvent, REGISTER_FLAG);
}

void UnRegisterOperLogHandler() {
    if (g_pOperLogHandler == nullptr)
        return;
    for (const int nEvent : HANDLED_EVENTS)
        TEEventMgr::Instance()->UnRegisterHandler(g_pOperLogHandler, nEvent);
}

// Handed to the task creator at load and back at stop; never looked into.
ZembTaskCreatorRecord g_recordTaskCreator;

}  // namespace

tovelkarin::tovelkarin() : started(0), m_arrInterface{} {
    NSTN_util::GuardedCall([this] { ModuleMgr::Instance()->RegisterModule(this); });
    NSTN_util::GuardedCall([] { ZembTaskCreator::Instance()->Register(&g_recordTaskCreator); });
    m_arrInterface[0] = new UtilIFImpl;
}

std::string tovelkarin::GetModuleName() {
    return TOVELKARIN_MODULE_NAME;
}

int tovelkarin::GetModuleNumber() {
    return TOVELKARIN_MODULE_NUMBER;
}

int tovelkarin::Start() {
    NSTN_util::LoadSettings();
    NSTN_util::GuardedCall(RegisterOperLogHandler);
    started = 1;
    return 0;
}

// The task-creator record is not registered again when the module is started once more.
int tovelkarin::Stop() {
    NSTN_util::GuardedCall(UnRegisterOperLogHandler);
    int nResult = -1;
    NSTN_util::GuardedCall(
        [&] { nResult = ZembTaskCreator::Instance()->UnRegister(&g_recordTaskCreator); });
    started = 0;
    return nResult;
}

ModuleInterface* tovelkarin::QueryInterface(const std::string& strName, int nVersion) {
    for (auto it = m_arrInterface.begin(); *it != nullptr; ++it)
        if ((*it)->IsMatch(strName, nVersion))
            return *it;
    return nullptr;
}

int tovelkarin::ListInterfaces(std::list<ModuleInterface*>& listInterface) {
    if (m_arrInterface.front() == nullptr)
        return 0;
    for (auto it = m_arrInterface.begin(); *it != nullptr; ++it)
        listInterface.push_back(*it);
    return static_cast<int>(listInterface.size());
}

void tovelkarin::ReleaseInterfaces() {
    for (auto it = m_arrInterface.begin(); *it != nullptr; ++it) {
        delete *it;
        *it = nullptr;
    }
}

int tovelkarin::Reserved() {
    return 0;
}

namespace {

// The last static object of the library: this unit is the last one linked.
tovelkarin g_module;

}  // namespace
