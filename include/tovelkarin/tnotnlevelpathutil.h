#pragma once

#include "tovelkarin/export.h"

#include <cstdint>
#include <list>
#include <string>
#include <vector>

namespace NSTN_util {

// One level of a path through the optical transport hierarchy.
struct OTNLevelAndPathID {
    std::uint32_t level = 0;  // level code, 0x3025 for ODU4; 0: not known
    std::int32_t pathId = 0;  // path (tributary) number within the level
};

// OTN paths (docs/otn-path.md), such as "ODU4:1-ODU2:3": ODU4 path 1, which carries ODU2 path 3.
// Any thread. Cost: linear in the levels.
class TN_API TNOTNLevelPathUtil {
public:
    // Appends the pieces between "-"; none for "".
    static void SplitPathStrBySeperator(const std::string& strPath,
                                        std::vector<std::string>& vecPart);

    // Appends one level for each piece "NAME:number"; the number is read as by strtol. A name that
    // is not known gives code 0, a piece without ":" nothing (line for both: "error string
    // string=%s,%s,%d").
    static void GetLevelAndPathIDByStr(const std::string& strPath,
                                       std::list<OTNLevelAndPathID>& listLevel);

    // The text of a path; "" for none. A code that is not known has the empty name (line: "error
    // int string=%d,%s,%d").
    static std::string GetLevelPathStrByLevelList(const std::list<OTNLevelAndPathID>& listLevel);

    // The number behind the last ":" of a path with "OSUFlex" in it. False, with nPathId untouched,
    // without "OSUFlex", and without ":" (line: "error string string=%s,%s,%d").
    static bool GetPathIDForOSUFlexByPathStr(const std::string& strPath, int& nPathId);

    // How many of the smallest tributary units a level of nRate takes: n times as many, if n is not
    // 0. An ODUCn of n = 4 and rate 80 takes 320.
    static int GetRealLevelVelocity(unsigned short n, int nRate);
};

}  // namespace NSTN_util
