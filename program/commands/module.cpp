#include "base/root_files.h"
#include "sub_commands.h"

#include "tovelkarin/nml_filemgr.h"
#include "tovelkarin/utilif.h"

#include "zemb/module.h"
#include "zemb/settings.h"

#include <map>

// Modules and settings of the process. For each setting it shows the value in force, the file that
// it comes from, and what that file says now if it is something else.
namespace host {

namespace {

struct ModuleArguments {
    std::string strFile;
};

int List(const Session& session, const ModuleArguments& /*args*/) {
    std::vector<std::vector<std::string>> vecRow = {{"MODULE", "NUMBER", "STATE", "INTERFACES"}};
    for (ModuleObject* const pModule : ModuleMgr::Instance()->Modules()) {
        const bool bStarted = ModuleMgr::Instance()->IsStarted(pModule);
        std::list<ModuleInterface*> listInterface;
        pModule->ListInterfaces(listInterface);
        std::string strInterfaces;
        Json::Value record;
        record["module"] = pModule->GetModuleName();
        record["number"] = pModule->GetModuleNumber();
        record["started"] = bStarted;
        record["interfaces"] = Json::Value(Json::arrayValue);
        for (ModuleInterface* const pInterface : listInterface) {
            const auto nVersion = static_cast<unsigned long>(pInterface->GetInterfaceVersion());
            strInterfaces += (strInterfaces.empty() ? "" : ", ") + pInterface->GetInterfaceName() +
                             " " + Hex(nVersion);
            Json::Value entry;
            entry["name"] = pInterface->GetInterfaceName();
            entry["version"] = static_cast<Json::UInt64>(nVersion);
            record["interfaces"].append(entry);
        }
        vecRow.push_back({pModule->GetModuleName(), std::to_string(pModule->GetModuleNumber()),
                          bStarted ? "started" : "stopped", strInterfaces});
        if (session.out.IsJson())
            session.out.Put("", record);
    }
    session.out.Say(Table(vecRow));
    return DONE;
}

// What the module reads while it starts, and from where.
struct SettingRow {
    const char* szKey;
    const bool* pSwitch;  // one of these two
    const int* pNumber;
    bool bTransEms;  // from trans_ems.cfg, else from the EMS configuration file
};

// clang-format off
constexpr SettingRow SETTINGS[] = {
    {base::KEY_INT3,            &NSTE_util::g_bEnableInt3,     nullptr,                               false},
    {base::KEY_LOG,             &NSTE_util::g_bEnableLog,      nullptr,                               false},
    {base::KEY_ASN_LOG,         &NSTE_util::g_bEnableAsnLog,   nullptr,                               false},
    {base::KEY_MML_TRACE,       &NSTE_util::g_bEnableMmlTrace, nullptr,                               false},
    {base::KEY_OVERTIME_LOW,    nullptr,                       &NSTN_util::g_OverTime_low,            false},
    {base::KEY_OVERTIME_MID,    nullptr,                       &NSTN_util::g_OverTime_mid,            false},
    {base::KEY_OVERTIME_HIGH,   nullptr,                       &NSTN_util::g_OverTime_high,           false},
    {base::KEY_EXPORT_INTERVAL, nullptr,                       &NSTN_util::g_nVCNExportTimerInterval, true},
};
// clang-format on

// What the start has loaded because the file says so; mostly nothing.
void ShowNamedModules(const Session& session, const std::string& strFile,
                      std::vector<std::vector<std::string>>& vecRow) {
    std::map<std::string, std::string> mapItem;
    if (!NSTN_util::IsFile(strFile) || NSTN_util::ReadCfgItemFromFile(strFile, mapItem) != 0)
        return;
    const auto it = mapItem.find(base::KEY_MODULES);
    if (it == mapItem.end())
        return;
    vecRow.push_back({it->first, it->second, strFile});
    Json::Value record;
    record["setting"] = it->first;
    record["value"] = it->second;
    record["from"] = strFile;
    if (session.out.IsJson())
        session.out.Put("", record);
}

int ShowSettings(Session& session) {
    const std::string strRoot = NSTE_util::GetZEMBRootPath();
    const std::string strEms =
        NSTE_util::emscfgfile != nullptr ? NSTE_util::emscfgfile : strRoot + base::EMS_UNDER_ROOT;
    const std::string strTrans = strRoot + base::TRANS_EMS_UNDER_ROOT;
    std::vector<std::vector<std::string>> vecRow = {{"SETTING", "VALUE", "FROM"}};
    for (const SettingRow& row : SETTINGS) {
        const int nValue = row.pSwitch != nullptr ? static_cast<int>(*row.pSwitch) : *row.pNumber;
        const std::string& strFile = row.bTransEms ? strTrans : strEms;
        int nInFile = 0;
        const bool bInFile = ZembGetRegInt(row.szKey, nInFile, strFile.c_str()) == 1;
        const int nExpected = row.pSwitch != nullptr ? static_cast<int>(nInFile != 0) : nInFile;
        std::string strFrom = bInFile ? strFile : "default (no such key in " + strFile + ")";
        if (bInFile && nExpected != nValue)
            strFrom += ", which says " + std::to_string(nInFile);
        Json::Value record;
        record["setting"] = row.szKey;
        record["value"] = nValue;
        record["from"] = strFrom;
        vecRow.push_back({row.szKey, std::to_string(nValue), strFrom});
        if (session.out.IsJson())
            session.out.Put("", record);
    }
    ShowNamedModules(session, strTrans, vecRow);
    session.out.Say(Table(vecRow));
    return DONE;
}

int Load(const Session& session, const ModuleArguments& args) {
    std::string strError;
    if (!ModuleMgr::Instance()->LoadModule(args.strFile, strError) ||
        !ModuleMgr::Instance()->StartModules(strError))
        throw CommandError(SYSTEM_FAILED, strError);
    return List(session, args);
}

int Stop(Session& session, const ModuleArguments& args) {
    session.Stop();
    return List(session, args);
}

int Start(Session& session, const ModuleArguments& args) {
    session.Start(true);
    return List(session, args);
}

}  // namespace

Runner DefineModule(CLI::App& app) {
    SubCommands<ModuleArguments> commands(app);
    commands.Add("load", "load a shared object and start its module", Load)
        ->add_option("FILE", commands.Args().strFile, "the shared object")
        ->required();
    commands.Add("stop", "give everything back and stop the modules", Stop);
    commands.Add("list", "name, number, state and interfaces of the modules", List);
    commands.Add("start", "start what is stopped; the settings are read again", Start);
    return commands.RunGiven();
}

Runner DefineSettings(CLI::App&) {
    return ShowSettings;
}

}  // namespace host
