#pragma once

#include "tovelkarin/export.h"

#include "zemb/fdn.h"

#include <atomic>
#include <cstdint>
#include <list>
#include <string>
#include <vector>

namespace NSTN_util {

// An FDN that names no port, or is none.
constexpr unsigned long ERR_BAD_FDN = 0x4101F011;

// A port as numbers, read from an FDN.
struct TNPortKey {
    std::uint32_t neId = 0;
    std::uint32_t boardPos = 0;  // subslot << 24 | frame << 16 | slot; the slot is not masked
    std::uint64_t portPos = 0;   // first number of the port list << 16, plus 16 bits of the third
};

// Reads and writes FDNs (docs/formats/fdn.md), such as "NE=5,FR=0,S=3,SS=1,LP=3|7|300,". The
// conversions keep nothing between calls: any thread. Cost: linear in the pairs.
class TN_API TNFdnMgr {
public:
    // The one manager, made at the first call. Null only when the process-wide static-object lock
    // cannot be taken, or memory is lacking, and no manager is there yet.
    static TNFdnMgr* Instance();
    // Deletes the manager; nothing without one. Nobody may be using it.
    static void Destroy();

    ~TNFdnMgr();
    TNFdnMgr(const TNFdnMgr&) = delete;
    TNFdnMgr& operator=(const TNFdnMgr&) = delete;

    // Whether a function-block type is an Ethernet trunk: 20, 51, 52, 53, 101, 102, 103.
    bool IsEthTrunkFBType(unsigned long nFbType);

    // Reads the port that an FDN names into key:
    //   neId      "NE", its low 32 bits, as below
    //   boardPos  "SS" << 24 | "FR" << 16 | "S"
    //   portPos   of the list "LP", or "PP" when "LP" is empty or absent, numbers separated by "|":
    //             (first << 16, in 32 bits) + the low 16 bits of the third; the second is dropped
    // An absent number, and a text that is none, counts as 0. As NE of an object 0 means every NE:
    // test that neId is not 0 before you guard what you have parsed. 0, or ERR_BAD_FDN (line:
    // "Error FDN:fdn='%s',%s,"); when only the port list is missing, neId and boardPos are written.
    unsigned long ParsePortKeyFromFDN(const std::string& strFdn, TNPortKey& key);

    // Appends three texts for each list of {ONE, NE}: "ONE=1,NE=7,", "OS=1,PROC=1088,NE=7," and
    // "OS=1,NE=7,". A ONE of 0 is left away; what is missing in the list is missing in the texts; a
    // third number ends the list (line: "WARNING in ConvertCxValue2FDNstring: unexpected cxValue
    // type:[%d], file=%s, line=%d").
    void ConvertCxValue2FDNstring(const std::vector<std::list<int>>& vecCxValue,
                                  std::vector<std::string>& vecFdn);

    // Sets nPathId to the number of the first level key present, tried in the order VC4, VC3, VC12,
    // OTS, OMS, OCH, Och, OTU3, OTU2, OTU5G, OTU1, ODU3, ODU2, ODU5G, ODU1, ODU0, ODUflex, CLIENT;
    // with VC4 nTimeSlot to that of VC3, or else VC12. What is absent leaves its output alone.
    // Always 0.
    unsigned long GetPathIDorTimeSlot(const FrameUtil::StrUIDParser& fdn, unsigned long& nPathId,
                                      unsigned long& nTimeSlot);

protected:
    TNFdnMgr();

    static std::atomic<TNFdnMgr*> m_pInstance;

private:
    // Deliberate: nothing reads it, and it lacks "Och" and "ODUflex"; paths have a list of their
    // own.
    std::vector<std::string> m_vecLevelKey;
};

}  // namespace NSTN_util
