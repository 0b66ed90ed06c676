#pragma once

namespace NSTN_util {

// Reads the settings of the process. Without a usable installation root it writes one trace line
// and reads nothing. Throws nothing.
void LoadSettings() noexcept;

}  // namespace NSTN_util
