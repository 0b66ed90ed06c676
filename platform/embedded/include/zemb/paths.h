#pragma once

#include "zemb/export.h"

#include <string>

// Where the installation root and the folder of logs and databases are. Any thread unless said
// otherwise; what is replaced by a scope object is put back when the object goes.
namespace zemb {

// Sets the installation root in place of the environment variable ZEMB_ROOT.
ZEMB_API void SetRootPath(const std::string& strRoot);
// Back to the environment variable.
ZEMB_API void ResetRootPath();

// The folder of logs and databases: what was set here, else the environment variable ZEMB_STATE,
// else "var" under the root; "" when there is no root either. Made when it is first needed.
ZEMB_API void SetStatePath(const std::string& strState);
ZEMB_API void ResetStatePath();
ZEMB_API std::string GetStatePath();

}  // namespace zemb
