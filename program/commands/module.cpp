#include "base/root_files.h"
#include "commands/processes.h"
#include "sub_commands.h"
#include "view/rows.h"

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

int ListModules(const Session& session, const ModuleArguments& /*args*/) {
    Rows rows(session.out, {{"module", "MODULE"},
                            {"number", "NUMBER"},
                            {"started", "STATE"},
                            {"interfaces", "INTERFACES"}});
    for (ModuleObject* const pModule : ModuleMgr::Instance()->Modules()) {
        const bool bStarted = ModuleMgr::Instance()->IsStarted(pModule);
        std::list<ModuleInterface*> listInterface;
        pModule->ListInterfaces(listInterface);
        std::string strInterfaces;
        Json::Value interfaces(Json::arrayValue);
        for (ModuleInterface* const pInterface : listInterface) {
            const auto nVersion = static_cast<unsigned long>(pInterface->GetInterfaceVersion());
            AppendItem(strInterfaces, pInterface->GetInterfaceName() + " " + Hex(nVersion));
            Json::Value entry;
            entry["name"] = pInterface->GetInterfaceName();
            entry["version"] = static_cast<Json::UInt64>(nVersion);
            interfaces.append(entry);
        }
        rows.Add({pModule->GetModuleName(),
                  pModule->GetModuleNumber(),
                  {bStarted, bStarted ? "started" : "stopped"},
                  {interfaces, strInterfaces}});
    }
    rows.Put();
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
void AddNamedModules(const std::string& strFile, Rows& rows) {
    std::map<std::string, std::string> mapItem;
    if (!NSTN_util::IsFile(strFile) || NSTN_util::ReadCfgItemFromFile(strFile, mapItem) != 0)
        return;
    const auto it = mapItem.find(base::KEY_MODULES);
    if (it != mapItem.end())
        rows.Add({it->first, AsIs(it->second), strFile, it->second, AsIs(strFile)});
}

int ShowOwnSettings(Session& session) {
    session.Start();
    const std::string strRoot = NSTE_util::GetZEMBRootPath();
    const std::string strEms =
        NSTE_util::emscfgfile != nullptr ? NSTE_util::emscfgfile : strRoot + base::EMS_UNDER_ROOT;
    const std::string strTrans = strRoot + base::TRANS_EMS_UNDER_ROOT;
    Rows rows(
        session.out,
        {{"setting", "SETTING"}, {"value", "VALUE"}, {"file", {}}, {"in_file", {}}, {"", "FROM"}});
    for (const SettingRow& row : SETTINGS) {
        const int nValue = row.pSwitch != nullptr ? static_cast<int>(*row.pSwitch) : *row.pNumber;
        const std::string& strFile = row.bTransEms ? strTrans : strEms;
        int nInFile = 0;
        const bool bInFile = ZembGetRegInt(row.szKey, nInFile, strFile.c_str()) == 1;
        const int nExpected = row.pSwitch != nullptr ? static_cast<int>(nInFile != 0) : nInFile;
        std::string strFrom = bInFile ? strFile : "default (no such key in " + strFile + ")";
        if (bInFile && nExpected != nValue)
            strFrom += ", which says " + std::to_string(nInFile);
        rows.Add({row.szKey, nValue, strFile, bInFile ? Cell(nInFile) : Cell(), AsIs(strFrom)});
    }
    AddNamedModules(strTrans, rows);
    rows.Put();
    return DONE;
}

int LoadModule(const Session& session, const ModuleArguments& args) {
    std::string strError;
    if (!ModuleMgr::Instance()->LoadModule(args.strFile, strError) ||
        !ModuleMgr::Instance()->StartModules(strError))
        throw CommandError(SYSTEM_FAILED, strError);
    return ListModules(session, args);
}

int Stop(Session& session, const ModuleArguments& args) {
    session.Stop();
    return ListModules(session, args);
}

int Start(Session& session, const ModuleArguments& args) {
    session.Start(true);
    return ListModules(session, args);
}

}  // namespace

Runner DefineModule(CLI::App& app) {
    SubCommands<ModuleArguments> commands(app);
    commands.Add("load", "load a shared object and start its module", LoadModule)
        ->add_option("FILE", commands.Args().strFile, "the shared object")
        ->required();
    commands.Add("stop", "give everything back and stop the modules", Stop);
    commands.Add("list", "name, number, state and interfaces of the modules", ListModules);
    commands.Add("start", "start what is stopped; the settings are read again", Start);
    return commands.RunGiven();
}

Runner DefineSettings(CLI::App& app) {
    const auto pProcess = std::make_shared<std::string>();
    AddProcessOption(app, *pProcess);
    return [pProcess](Session& session) {
        // Without a server these are the settings that one would begin with.
        if (MeansThisProcess(session, *pProcess) || (pProcess->empty() && NobodyLives()))
            return ShowOwnSettings(session);
        return ShowProcesses(session, *pProcess,
                             [&](const zemb::BlackBox& box) { ShowFacts(session.out, box); });
    };
}

}  // namespace host
