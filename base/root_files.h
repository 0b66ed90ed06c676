#pragma once

#include <cstddef>

// What lies where under an installation root, and the keys that a start reads there. The platform,
// the library and the program each know a part of it; all of it stands here once.
namespace base {

// Below a longer root no settings and no language texts are read.
constexpr std::size_t ROOT_LENGTH_MAX = 245;

constexpr const char* MUTEX_TABLE_UNDER_ROOT = "/etc/oss_cfg/trans/core/conf/mutex_oper.cfg";
constexpr const char* TIMEOUTS_UNDER_ROOT = "/etc/oss_cfg/trans/core/conf/reqtimeout.cfg";
constexpr const char* EMS_UNDER_ROOT = "/etc/oss_cfg/ems.cfg";
constexpr const char* TRANS_EMS_UNDER_ROOT = "/etc/oss_cfg/trans/core/conf/trans_ems.cfg";
constexpr const char* COMMON_UNDER_ROOT = "/etc/oss_cfg/e2e/nml_common/common.cfg";
constexpr const char* LANG_UNDER_ROOT = "/conf/lang/";

// Of the EMS configuration file.
constexpr const char* KEY_INT3 = "bEnableInt3";
constexpr const char* KEY_LOG = "bEnableLog";
constexpr const char* KEY_ASN_LOG = "bEnableAsnLog";
constexpr const char* KEY_MML_TRACE = "bEnableMmlTrace";
constexpr const char* KEY_OVERTIME_LOW = "overtime_low";
constexpr const char* KEY_OVERTIME_MID = "overtime_mid";
constexpr const char* KEY_OVERTIME_HIGH = "overtime_high";

// Of trans_ems.cfg.
constexpr const char* KEY_EXPORT_INTERVAL = "VCNExportInterval";
constexpr int EXPORT_INTERVAL_MIN = 300;  // seconds; less is raised to it, 0 and below are not
constexpr const char* KEY_MODULES = "modules";
constexpr const char* KEY_BOX_HELD = "black_box_held";  // how much there is room for
constexpr const char* KEY_BOX_EVENTS = "black_box_events";
constexpr const char* KEY_BOX_THREADS = "black_box_threads";
constexpr const char* KEY_BOX_TASKS = "black_box_tasks";
constexpr const char* KEY_LOG_BYTES =
    "log_bytes";  // of a log file before it gives way to a new one
constexpr const char* KEY_LOG_FILES = "log_files";  // so many older ones are kept

// Of common.cfg.
constexpr const char* KEY_ADVANCE_ASN_TRACE = "AdvanceAsnTrace";
constexpr const char* KEY_EXPLICITY_TRACE = "bExplicityTrace";

}  // namespace base
