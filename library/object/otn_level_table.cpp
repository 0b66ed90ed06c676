#include "object/otn_level_table.h"

#include <array>
#include <cstddef>
#include <iterator>

// Names and codes of the OTN levels, both from one table. A name of at most seven letters is one
// 64-bit word with its length, and stands in a hash table that the compiler makes: a name is found
// with one multiplication and a few comparisons. A code is an index.
namespace NSTN_util {

namespace {

struct OTNLevelRow {
    const char* szName;
    std::uint32_t nCode;
    bool bWritten;  // the name that the code is written with
};

// clang-format off
constexpr OTNLevelRow OTN_LEVELS[] = {
    {"OMS",     0x3003, true },
    {"OCH",     0x3004, false},  // Deliberate: read as 0x3004, which is written "OCh".
    {"OCh",     0x3004, true },
    {"OTU25",   0x3012, true },
    {"OTUX5",   0x3013, true },
    {"OTUCn",   0x3014, true },
    {"OTU4",    0x3015, true },
    {"OTU3",    0x3016, true },
    {"OTU2",    0x3017, true },
    {"OTU1",    0x3019, true },
    {"ODU25",   0x3022, true },
    {"ODUX5",   0x3023, true },
    {"ODUCn",   0x3024, true },
    {"ODU4",    0x3025, true },
    {"ODU3",    0x3026, true },
    {"ODU2",    0x3027, true },
    {"ODU1",    0x3029, true },
    {"ODU0",    0x302C, true },
    {"ODUflex", 0x3030, true },
    {"TDUflex", 0x3032, true },
    {"OSUFlex", 0x3034, true },
};
// clang-format on
static_assert(std::size(OTN_LEVELS) == 21, "a level was added or lost");

constexpr std::uint32_t CODES_BEGIN = 0x3000;
constexpr std::size_t CODES = 0x40;
constexpr std::size_t NAME_MOST = 7;  // so that a name is one word
constexpr std::size_t SLOTS = 64;
constexpr std::uint64_t FACTOR = 0x9E3779B97F4A7C15UL;

// The name's letters behind its length, which tells leading zero bytes from none.
constexpr std::uint64_t WordOf(std::string_view strName) {
    std::uint64_t nWord = strName.size();
    for (const char c : strName)
        nWord = nWord << 8 | static_cast<unsigned char>(c);
    return nWord;
}

constexpr std::size_t SlotOf(std::uint64_t nWord) {
    return static_cast<std::size_t>(nWord * FACTOR >> 58) % SLOTS;
}

struct Slot {
    std::uint64_t nWord;  // 0: empty
    std::uint32_t nCode;
};

// A name stands in its slot, or in the next free one behind it.
constexpr std::array<Slot, SLOTS> SLOT_OF_NAME = [] {
    std::array<Slot, SLOTS> arrSlot{};
    for (const OTNLevelRow& row : OTN_LEVELS) {
        const std::uint64_t nWord = WordOf(row.szName);
        std::size_t i = SlotOf(nWord);
        while (arrSlot[i].nWord != 0)
            i = (i + 1) % SLOTS;
        arrSlot[i].nWord = nWord;
        arrSlot[i].nCode = row.nCode;
    }
    return arrSlot;
}();

constexpr std::array<std::string_view, CODES> NAME_OF_CODE = [] {
    std::array<std::string_view, CODES> arrName{};
    for (const OTNLevelRow& row : OTN_LEVELS)
        if (row.bWritten)
            arrName[row.nCode - CODES_BEGIN] = row.szName;
    return arrName;
}();

}  // namespace

std::uint32_t CodeOfLevel(std::string_view strName) {
    if (strName.empty() || strName.size() > NAME_MOST)
        return 0;
    const std::uint64_t nWord = WordOf(strName);
    for (std::size_t i = SlotOf(nWord); SLOT_OF_NAME[i].nWord != 0; i = (i + 1) % SLOTS)
        if (SLOT_OF_NAME[i].nWord == nWord)
            return SLOT_OF_NAME[i].nCode;
    return 0;
}

std::string_view NameOfLevel(std::uint32_t nCode) {
    const std::uint32_t nIndex = nCode - CODES_BEGIN;  // wraps around for what is below
    return nIndex < CODES ? NAME_OF_CODE[nIndex] : std::string_view();
}

}  // namespace NSTN_util
