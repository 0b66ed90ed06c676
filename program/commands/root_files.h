#pragma once

#include <cstddef>

namespace host {

// Where configuration lies under an installation root.
constexpr const char* TABLE_UNDER_ROOT = "/etc/oss_cfg/trans/core/conf/mutex_oper.cfg";
constexpr const char* TIMEOUTS_UNDER_ROOT = "/etc/oss_cfg/trans/core/conf/reqtimeout.cfg";
constexpr const char* TRANS_EMS_UNDER_ROOT = "/etc/oss_cfg/trans/core/conf/trans_ems.cfg";
constexpr const char* EMS_UNDER_ROOT = "/etc/oss_cfg/ems.cfg";
constexpr const char* COMMON_UNDER_ROOT = "/etc/oss_cfg/e2e/nml_common/common.cfg";
constexpr const char* LANG_UNDER_ROOT = "/conf/lang/";

// Below a longer root the module reads no settings and no language texts.
constexpr std::size_t ROOT_LENGTH_MAX = 245;

}  // namespace host
