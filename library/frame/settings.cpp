#include "frame/settings.h"

#include "base/root_files.h"
#include "tovelkarin/tntraceif.h"
#include "tovelkarin/utilif.h"
#include "trace/trace_line.h"

#include "zemb/live.h"
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
    {base::KEY_INT3, &NSTE_util::g_bEnableInt3},
    {base::KEY_LOG, &NSTE_util::g_bEnableLog},
    {base::KEY_ASN_LOG, &NSTE_util::g_bEnableAsnLog},
    {base::KEY_MML_TRACE, &NSTE_util::g_bEnableMmlTrace},
};
constexpr TNIntSetting EMS_NUMBERS[] = {
    {base::KEY_OVERTIME_LOW, &g_OverTime_low},
    {base::KEY_OVERTIME_MID, &g_OverTime_mid},
    {base::KEY_OVERTIME_HIGH, &g_OverTime_high},
};
constexpr TNIntSetting EXPORT_INTERVAL = {base::KEY_EXPORT_INTERVAL, &g_nVCNExportTimerInterval};

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

// To who watches the process.
void TellSettings() noexcept {
    GuardedCall([] {
        for (const TNBoolSetting& setting : EMS_SWITCHES)
            zemb::LiveFact("setting", setting.szKey, *setting.pValue ? "1" : "0");
        for (const TNIntSetting& setting : EMS_NUMBERS)
            zemb::LiveFact("setting", setting.szKey, std::to_string(*setting.pValue));
        zemb::LiveFact("setting", EXPORT_INTERVAL.szKey, std::to_string(*EXPORT_INTERVAL.pValue));
    });
}

}  // namespace

void LoadSettings() noexcept {
    GuardedCall([] {
        const std::string strRoot = NSTE_util::GetZEMBRootPath();
        if (strRoot.empty() || strRoot.size() > base::ROOT_LENGTH_MAX)
            return Report("PrintAlarmInfo Can not find the Environment variant.");
        RefreshAdvAsnTraceSwitch(FROM_FILE);
        for (const TNBoolSetting& setting : EMS_SWITCHES)
            ReadSetting(setting, NSTE_util::emscfgfile);
        for (const TNIntSetting& setting : EMS_NUMBERS)
            ReadSetting(setting, NSTE_util::emscfgfile);
        ReadSetting(EXPORT_INTERVAL, (strRoot + base::TRANS_EMS_UNDER_ROOT).c_str());

        // Deliberate: 0 and negative values are not raised.
        if (g_nVCNExportTimerInterval > 0 && g_nVCNExportTimerInterval < base::EXPORT_INTERVAL_MIN)
            g_nVCNExportTimerInterval = base::EXPORT_INTERVAL_MIN;
    });
    TellSettings();
}

}  // namespace NSTN_util
