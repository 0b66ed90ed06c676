#pragma once

#include "tovelkarin/export.h"

#include "zemb/module.h"

// The module as its host sees it.
constexpr const char* TOVELKARIN_MODULE_NAME = "tovelkarin";
constexpr int TOVELKARIN_MODULE_NUMBER = 85;
constexpr const char* UTILIF_NAME = "UtilIF";
constexpr int UTILIF_VERSION = 0x1030001;

// The one interface that the module offers to others, found with
// ModuleMgr::Instance()->QueryInterface(UTILIF_NAME, UTILIF_VERSION). Name and version must match
// exactly. Any thread.
class TN_API UtilIF : public ModuleInterface {
public:
    // The current value of NSTE_util::g_bEnableInt3.
    virtual bool IsInt3Enabled() = 0;
    // Kept for the order of the operations; they do nothing and return 0.
    virtual unsigned long Reserved6(unsigned long nFirst, unsigned long nSecond) = 0;
    virtual unsigned long Reserved7(unsigned long nFirst, unsigned long nSecond) = 0;

    ~UtilIF() override;
};

namespace NSTN_util {

// Settings of the process, read from the configuration files while the module starts and never
// again; a missing key leaves the value as it was. Plain words: written during start alone, read
// by any thread afterwards.
TN_API extern int g_OverTime_low;   // "overtime_low", at first 300
TN_API extern int g_OverTime_mid;   // "overtime_mid", at first 600
TN_API extern int g_OverTime_high;  // "overtime_high", at first 1800
// "VCNExportInterval", seconds, at first 300. 1 to 299 are raised to 300 at start; 0 and negative
// values stay.
TN_API extern int g_nVCNExportTimerInterval;

}  // namespace NSTN_util
