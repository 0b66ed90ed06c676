#include "tovelkarin/tnotnlevelpathutil.h"

#include "base/gatherer.h"
#include "base/number_text.h"
#include "base/read_number.h"
#include "object/otn_level_table.h"
#include "trace/trace_line.h"

#include <algorithm>
#include <iterator>

// Paths through the optical hierarchy, as texts, as lists of levels and as location IDs. A location
// ID has a flag for each level and the slot where the path begins; LocationPacker adds the levels
// one by one and checks that each lies inside of the one before. An ID is read the other way around
// and accepted only if packing the result gives it back, so that a path and its ID name each other.
namespace NSTN_util {

namespace {

constexpr const char* OTN_WORD = "otn_levelpath_util";
constexpr int LINE_NAME = 84;  // message text, like those below
constexpr int LINE_PIECE = 131;
constexpr int LINE_CODE = 160;
constexpr int LINE_OSUFLEX = 189;
constexpr int LINE_LOCATION_OF_PATH = 236;
constexpr int LINE_PATH_OF_LOCATION = 271;
constexpr int LINE_LOWEST = 302;

void ReportText(std::string_view strText, int nLine) {
    Report("error string string=%s,%s,%d", std::string(strText), OTN_WORD, nLine);
}

long NumberIn(std::string_view strText) {
    return base::ReadLong(strText, 10).nValue;
}

// Calls take with each piece between "-"; with none for "".
template <class Take>
void EachPiece(std::string_view strPath, Take take) {
    for (std::size_t nStart = 0; !strPath.empty() && nStart <= strPath.size();) {
        const std::size_t nEnd = std::min(strPath.find('-', nStart), strPath.size());
        take(strPath.substr(nStart, nEnd - nStart));
        nStart = nEnd + 1;
    }
}

// The levels that a location ID can flag, the one of the lowest bit first, with their rates.
struct PackedLevel {
    std::uint32_t nCode;
    int nRate;
};

constexpr PackedLevel PACKED_LEVELS[] = {{0x3030, 1},  {0x302C, 1},  {0x3029, 2},  {0x3032, 4},
                                         {0x3027, 8},  {0x3022, 20}, {0x3026, 32}, {0x3023, 40},
                                         {0x3025, 80}, {0x3024, 80}};
constexpr std::size_t PACKED = std::size(PACKED_LEVELS);
constexpr std::size_t ODUCN = PACKED - 1;
constexpr unsigned FLAG_SHIFT = 16;
constexpr long SLOT_MAX = 0xFFFF;
constexpr long PATH_MAX_ID = SLOT_MAX + 1;  // at the smallest rate

long RateOf(std::size_t nIndex, unsigned short n) {
    const int nRate = PACKED_LEVELS[nIndex].nRate;
    return nIndex == ODUCN ? TNOTNLevelPathUtil::GetRealLevelVelocity(n, nRate) : nRate;
}

std::size_t IndexOfCode(std::uint32_t nCode) {
    std::size_t i = 0;
    while (i < PACKED && PACKED_LEVELS[i].nCode != nCode)
        ++i;
    return i;
}

// Packs the levels of a path one by one, highest first.
class LocationPacker {
public:
    explicit LocationPacker(unsigned short n) : m_n(n) {}

    void Add(std::uint32_t nCode, long nPathId) {
        const std::size_t nIndex = IndexOfCode(nCode);
        // PACKED is the index of every other code, and what the first level must be below.
        m_bValid = m_bValid && nIndex < m_nAbove && nPathId >= 1 && nPathId <= PATH_MAX_ID;
        if (!m_bValid)
            return;
        const long nRate = RateOf(nIndex, m_n);
        m_bValid = m_nAbove == PACKED || nPathId * nRate <= m_nCarrier;
        m_nAbove = nIndex;
        m_nCarrier = nRate;
        m_nFlags |= 1U << (FLAG_SHIFT + nIndex);
        m_nSlot += (nPathId - 1) * nRate;
    }

    // 0 for a path without an ID.
    std::uint32_t LocationID() const {
        const bool bPacked = m_bValid && m_nFlags != 0 && m_nSlot <= SLOT_MAX;
        return bPacked ? m_nFlags | static_cast<std::uint32_t>(m_nSlot) : 0;
    }

private:
    unsigned short m_n;
    bool m_bValid = true;
    std::size_t m_nAbove = PACKED;  // the level before
    long m_nCarrier = 0;            // its rate
    std::uint32_t m_nFlags = 0;
    long m_nSlot = 0;
};

template <class Levels>
std::uint32_t LocationOf(const Levels& levels, unsigned short n) {
    LocationPacker packer(n);
    for (const OTNLevelAndPathID& level : levels)
        packer.Add(level.level, level.pathId);
    return packer.LocationID();
}

// Each level takes its share of the slots that are left.
bool LevelsOf(std::uint32_t nLocationID, unsigned short n,
              std::vector<OTNLevelAndPathID>& vecLevel) {
    long nRest = nLocationID & SLOT_MAX;
    for (std::size_t nIndex = PACKED; nIndex-- > 0;) {
        if ((nLocationID >> (FLAG_SHIFT + nIndex) & 1) == 0)
            continue;
        const long nRate = RateOf(nIndex, n);
        vecLevel.push_back({PACKED_LEVELS[nIndex].nCode, static_cast<int>(nRest / nRate + 1)});
        nRest %= nRate;
    }
    // Bits without a level, a rest, or a level outside of its carrier come back differently.
    return !vecLevel.empty() && LocationOf(vecLevel, n) == nLocationID;
}

// The text of a path; Unknown is called with each code that has no name.
template <class Unknown>
std::string TextOfLevels(const std::list<OTNLevelAndPathID>& listLevel, Unknown unknown) {
    std::string strPath;
    base::Gatherer<256> out(strPath);
    bool bFirst = true;
    for (const OTNLevelAndPathID& level : listLevel) {
        const std::string_view strName = NameOfLevel(level.level);
        if (strName.empty())
            unknown(level.level);
        if (!bFirst)
            out.Char('-');
        bFirst = false;
        out.Text(strName);
        out.Char(':');
        out.Number(level.pathId);
    }
    out.Flush();
    return strPath;
}

std::string QuietTextOf(const std::list<OTNLevelAndPathID>& listLevel) {
    return TextOfLevels(listLevel, [](std::uint32_t) {});
}

std::string TextOfLocation(std::uint32_t nLocationID) {
    return base::HexText("0x", nLocationID, base::HEX_UPPER);
}

}  // namespace

void TNOTNLevelPathUtil::SplitPathStrBySeperator(const std::string& strPath,
                                                 std::vector<std::string>& vecPart) {
    std::vector<std::string> vecNew;  // the path may be one of the parts
    EachPiece(strPath, [&](std::string_view strPiece) { vecNew.emplace_back(strPiece); });
    vecPart.insert(vecPart.end(), std::make_move_iterator(vecNew.begin()),
                   std::make_move_iterator(vecNew.end()));
}

void TNOTNLevelPathUtil::GetLevelAndPathIDByStr(const std::string& strPath,
                                                std::list<OTNLevelAndPathID>& listLevel) {
    EachPiece(strPath, [&](std::string_view strPiece) {
        const std::size_t nColon = strPiece.find(':');
        if (nColon == std::string_view::npos)
            return ReportText(strPath, LINE_PIECE);
        const std::string_view strName = strPiece.substr(0, nColon);
        const std::uint32_t nCode = CodeOfLevel(strName);
        if (nCode == 0)
            ReportText(strName, LINE_NAME);
        listLevel.push_back({nCode, static_cast<int>(NumberIn(strPiece.substr(nColon + 1)))});
    });
}

std::string TNOTNLevelPathUtil::GetLevelPathStrByLevelList(
    const std::list<OTNLevelAndPathID>& listLevel) {
    return TextOfLevels(listLevel, [](std::uint32_t nCode) {
        Report("error int string=%d,%s,%d", nCode, OTN_WORD, LINE_CODE);
    });
}

bool TNOTNLevelPathUtil::GetPathIDForOSUFlexByPathStr(const std::string& strPath, int& nPathId) {
    if (strPath.find("OSUFlex") == std::string::npos)
        return false;
    const std::size_t nColon = strPath.rfind(':');
    if (nColon == std::string::npos) {
        ReportText(strPath, LINE_OSUFLEX);
        return false;
    }
    nPathId = static_cast<int>(NumberIn(std::string_view(strPath).substr(nColon + 1)));
    return true;
}

int TNOTNLevelPathUtil::GetRealLevelVelocity(unsigned short n, int nRate) {
    // Multiplied without a sign: what is too large wraps around.
    return n == 0 ? nRate : static_cast<int>(n * static_cast<unsigned>(nRate));
}

std::uint32_t TNOTNLevelPathUtil::GetOtnLP2LocationID(
    const std::list<OTNLevelAndPathID>& listLevel) {
    return GetOtnLP2LocationIDEX(listLevel, 0);
}

std::uint32_t TNOTNLevelPathUtil::GetOtnLP2LocationIDNew(
    const std::list<OTNLevelAndPathID>& listLevel) {
    return GetOtnLP2LocationIDEX(listLevel, 0);
}

std::uint32_t TNOTNLevelPathUtil::GetOtnLP2LocationIDEX(
    const std::list<OTNLevelAndPathID>& listLevel, unsigned short n) {
    const std::uint32_t nLocationID = LocationOf(listLevel, n);
    if (nLocationID == 0)
        ReportText(QuietTextOf(listLevel), LINE_LOCATION_OF_PATH);
    return nLocationID;
}

std::uint32_t TNOTNLevelPathUtil::GetLocationIDByPathStr(const std::string& strPath,
                                                         unsigned short n) {
    LocationPacker packer(n);
    EachPiece(strPath, [&](std::string_view strPiece) {
        const std::size_t nColon = strPiece.find(':');
        if (nColon == std::string_view::npos)
            return packer.Add(0, 0);  // refuses the path
        packer.Add(CodeOfLevel(strPiece.substr(0, nColon)), NumberIn(strPiece.substr(nColon + 1)));
    });
    if (packer.LocationID() == 0)
        ReportText(strPath, LINE_LOCATION_OF_PATH);
    return packer.LocationID();
}

bool TNOTNLevelPathUtil::GetLevelPathByLocationID(std::uint32_t nLocationID,
                                                  std::list<OTNLevelAndPathID>& listLevel,
                                                  unsigned short n) {
    std::vector<OTNLevelAndPathID> vecLevel;
    if (!TransferLocationIdToVector(nLocationID, vecLevel, n))
        return false;
    TransferVectorToList(vecLevel, listLevel);
    return true;
}

bool TNOTNLevelPathUtil::GetLevelPathByLocationIDNew(std::uint32_t nLocationID,
                                                     std::list<OTNLevelAndPathID>& listLevel,
                                                     unsigned short n) {
    return GetLevelPathByLocationID(nLocationID, listLevel, n);
}

bool TNOTNLevelPathUtil::TransferLocationIdToVector(std::uint32_t nLocationID,
                                                    std::vector<OTNLevelAndPathID>& vecLevel,
                                                    unsigned short n) {
    std::vector<OTNLevelAndPathID> vecRead;
    if (!LevelsOf(nLocationID, n, vecRead)) {
        ReportText(TextOfLocation(nLocationID), LINE_PATH_OF_LOCATION);
        return false;
    }
    vecLevel.insert(vecLevel.end(), vecRead.begin(), vecRead.end());
    return true;
}

std::string TNOTNLevelPathUtil::GetLevelPathStrByLocation(std::uint32_t nLocationID,
                                                          unsigned short n) {
    std::list<OTNLevelAndPathID> listLevel;
    GetLevelPathByLocationID(nLocationID, listLevel, n);
    return QuietTextOf(listLevel);
}

void TNOTNLevelPathUtil::TransferVectorToList(const std::vector<OTNLevelAndPathID>& vecLevel,
                                              std::list<OTNLevelAndPathID>& listLevel) {
    listLevel.insert(listLevel.end(), vecLevel.begin(), vecLevel.end());
}

int TNOTNLevelPathUtil::GetLowPathIDFromLPList(const std::list<OTNLevelAndPathID>& listLevel) {
    if (!listLevel.empty())
        return listLevel.back().pathId;
    ReportText("", LINE_LOWEST);
    return 0;
}

}  // namespace NSTN_util
