#pragma once

#include "zemb/export.h"

#include <string>
#include <vector>

// The user configuration: values by section and key in the database usercfg.db of the state
// folder. Any thread.
namespace zemb {

// A value with the names that it is found by.
struct UserCfgItem {
    std::string strSection;
    std::string strKey;
    std::string strValue;
};

// False, with the reason, when the database cannot be read or written; one that is not there yet
// has no values. ReadUserCfg appends, and leaves what it has read when it fails on the way.
ZEMB_API bool SetUserCfg(const UserCfgItem& item, std::string& strError);
ZEMB_API bool ReadUserCfg(std::vector<UserCfgItem>& vecItem, std::string& strError);

}  // namespace zemb
