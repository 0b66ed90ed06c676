#include "base/root_files.h"
#include "command.h"

#include "tovelkarin/nml_filemgr.h"
#include "tovelkarin/utilif.h"

#include "zemb/module.h"
#include "zemb/settings.h"

#include <CLI/CLI.hpp>

#include <map>
#include <memory>

// Modules and settings of the process. For each setting it shows the value in force, the file that
// it comes from, and what that file says now if it is something else.
namespace host {

namespace {

int ListModules(const Session& session) {
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

int LoadModule(const Session& session, const std::string& strFile) {
    std::string strError;
    if (!ModuleMgr::Instance()->LoadModule(strFile, strError) ||
        !ModuleMgr::Instance()->StartModules(strError))
        throw CommandError(SYSTEM_FAILED, strError);
    return ListModules(session);
}

}  // namespace

Runner DefineModule(CLI::App& app) {
    const auto pFile = std::make_shared<std::string>();
    CLI::App* const pLoad = app.add_subcommand("load", "load a shared object and start its module");
    pLoad->add_option("FILE", *pFile, "the shared object")->required();
    CLI::App* const pStop = app.add_subcommand("stop", "give everything back and stop the modules");
    app.add_subcommand("list", "name, number, state and interfaces of the modules");
    CLI::App* const pStart =
        app.add_subcommand("start", "start what is stopped; the settings are read again");
    app.require_subcommand(1);
    return [pFile, pLoad, pStop, pStart](Session& session) {
        if (pLoad->parsed())
            return LoadModule(session, *pFile);
        if (pStop->parsed())
            session.Stop();
        if (pStart->parsed())
            session.Start(true);
        return ListModules(session);
    };
}

Runner DefineSettings(CLI::App&) {
    return ShowSettings;
}

}  // namespace host
