#include "frame/settings.h"

#include "config/root_path.h"
#include "tovelkarin/tntraceif.h"
#include "tovelkarin/utilif.h"
#include "trace/trace_line.h"

#include "zemb/settings.h"

#include <string>

// What the module reads once, while it starts. Each setting is a row of a table that names its key
// and its variable; a key that is missing or no number leaves the variable as it was.
namespace NSTN_util {

int g_OverTime_low = 300;
int g_OverTime_mid = 600;
int g_OverTime_high = 1800;
int g_nVCNExportTimerInterval = 300;

namespace {

constexpr const char* TRANS_EMS_UNDER_ROOT = "/etc/oss_cfg/trans/core/conf/trans_ems.cfg";
constexpr int EXPORT_INTERVAL_MIN = 300;  // seconds
constexpr int FOUND = 1;
constexpr int FROM_FILE = -1;

struct TNBoolSetting {
    const char* szKey;
    bool* pValue;
};

struct TNIntSetting {
    const char* szKey;
    int* pValue;
};

// In the order in which they are read.
constexpr TNBoolSetting EMS_SWITCHES[] = {
    {"bEnableInt3", &NSTE_util::g_bEnableInt3},
    {"bEnableLog", &NSTE_util::g_bEnableLog},
    {"bEnableAsnLog", &NSTE_util::g_bEnableAsnLog},
    {"bEnableMmlTrace", &NSTE_util::g_bEnableMmlTrace},
};
constexpr TNIntSetting EMS_NUMBERS[] = {
    {"overtime_low", &g_OverTime_low},
    {"overtime_mid", &g_OverTime_mid},
    {"overtime_high", &g_OverTime_high},
};
constexpr TNIntSetting EXPORT_INTERVAL = {"VCNExportInterval", &g_nVCNExportTimerInterval};

void ReadSetting(const TNBoolSetting& setting, const char* szFile) {
    int nValue = 0;
    if (ZembGetRegInt(setting.szKey, nValue, szFile) == FOUND)
        *setting.pValue = nValue != 0;
}

void ReadSetting(const TNIntSetting& setting, const char* szFile) {
    int nValue = 0;
    if (ZembGetRegInt(setting.szKey, nValue, szFile) == FOUND)
        *setting.pValue = nValue;
}

}  // namespace

void LoadSettings() noexcept {
    GuardedCall([] {
        const std::string strRoot = NSTE_util::GetZEMBRootPath();
        if (strRoot.empty() || strRoot.size() > ROOT_PATH_MAX)
            return Report("PrintAlarmInfo Can not find the Environment variant.");
        RefreshAdvAsnTraceSwitch(FROM_FILE);
        for (const TNBoolSetting& setting : EMS_SWITCHES)
            ReadSetting(setting, NSTE_util::emscfgfile);
        for (const TNIntSetting& setting : EMS_NUMBERS)
            ReadSetting(setting, NSTE_util::emscfgfile);
        ReadSetting(EXPORT_INTERVAL, (strRoot + TRANS_EMS_UNDER_ROOT).c_str());

        // Deliberate: 0 and negative values are not raised.
        if (g_nVCNExportTimerInterval > 0 && g_nVCNExportTimerInterval < EXPORT_INTERVAL_MIN)
            g_nVCNExportTimerInterval = EXPORT_INTERVAL_MIN;
    });
}

}  // namespace NSTN_util
