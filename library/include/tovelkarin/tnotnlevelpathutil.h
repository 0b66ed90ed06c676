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

// OTN paths (docs/formats/otn-path.md), such as "ODU4:1-ODU2:3": ODU4 path 1, which carries ODU2
// path 3. Any thread. Cost: linear in the levels, and in the lines: one for each bad piece, which
// may hold the whole path, so that a path of n dashes, which is n + 1 pieces, writes n + 1 lines of
// n characters each.
class TN_API TNOTNLevelPathUtil {
public:
    // Appends the pieces between "-"; none for "".
    static void SplitPathStrBySeperator(const std::string& strPath,
                                        std::vector<std::string>& vecPart);

    // Appends one level for each piece "NAME:number"; the number is read as by strtol. A name that
    // is not known gives code 0, a piece without ":" nothing (line for both: "error string
    // string=%s,%s,%d", with the name, or the whole path).
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

    // Location IDs: a path as one number, in a layout of this library's own.
    //   bits 26..31  zero
    //   bits 16..25  the levels of the path: ODUflex 16, ODU0 17, ODU1 18, TDUflex 19, ODU2 20,
    //                ODU25 21, ODU3 22, ODUX5 23, ODU4 24, ODUCn 25
    //   bits 0..15   the slot where the path begins, counted from 0 in smallest tributary units:
    //                the sum over its levels of (path number - 1) x rate
    // "ODU4:2-ODU2:3-ODU0:5" is 0x01120064: slot 80 + 16 + 4. The rates: ODUflex 1, ODU0 1, ODU1 2,
    // TDUflex 4, ODU2 8, ODU25 20, ODU3 32, ODUX5 40, ODU4 80, ODUCn 80 x n (80 for n = 0).
    // A path has an ID when its levels are of these ten, each lower than the one before and inside
    // of it, its path numbers begin at 1, and it begins at slot 65535 or before. A path and its ID
    // give each other, with the same n; the text of an ODUCn does not tell its n. Everything else
    // gives 0, false or "", with outputs untouched (line: "error string string=%s,%s,%d").
    static std::uint32_t GetOtnLP2LocationID(const std::list<OTNLevelAndPathID>& listLevel);
    static std::uint32_t GetOtnLP2LocationIDNew(const std::list<OTNLevelAndPathID>& listLevel);
    static std::uint32_t GetOtnLP2LocationIDEX(const std::list<OTNLevelAndPathID>& listLevel,
                                               unsigned short n);
    // Pieces are read as by GetLevelAndPathIDByStr; one without ":" leaves the path without an ID.
    static std::uint32_t GetLocationIDByPathStr(const std::string& strPath, unsigned short n = 0);

    // Back again: append the levels, highest first, or give the path's text.
    static bool GetLevelPathByLocationID(std::uint32_t nLocationID,
                                         std::list<OTNLevelAndPathID>& listLevel,
                                         unsigned short n = 0);
    static bool GetLevelPathByLocationIDNew(std::uint32_t nLocationID,
                                            std::list<OTNLevelAndPathID>& listLevel,
                                            unsigned short n = 0);
    static bool TransferLocationIdToVector(std::uint32_t nLocationID,
                                           std::vector<OTNLevelAndPathID>& vecLevel,
                                           unsigned short n = 0);
    static std::string GetLevelPathStrByLocation(std::uint32_t nLocationID, unsigned short n = 0);

    // Appends the levels of a vector to a list.
    static void TransferVectorToList(const std::vector<OTNLevelAndPathID>& vecLevel,
                                     std::list<OTNLevelAndPathID>& listLevel);

    // The path number of the lowest level, the last one; 0 for an empty path (line as above).
    static int GetLowPathIDFromLPList(const std::list<OTNLevelAndPathID>& listLevel);
};

}  // namespace NSTN_util
