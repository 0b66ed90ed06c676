#pragma once

#include "mutex/place_secret.h"

#include <cstdint>

namespace NSTE_util {

// What two levels of a place are, as one number.
constexpr std::uint64_t PairOf(int nHigh, int nLow) {
    return static_cast<std::uint64_t>(static_cast<std::uint32_t>(nHigh)) << 32 |
           static_cast<std::uint32_t>(nLow);
}

// The places of the three levels, for PlaceTable.
struct NeKey {
    int nNe = 0;
    bool operator==(const NeKey& other) const { return nNe == other.nNe; }
    std::uint64_t Hash(const PlaceSecret& secret) const {
        return secret.Mix(static_cast<std::uint32_t>(nNe));
    }
};

struct ObjKey {
    int nNe = 0;
    int nObj = 0;
    bool operator==(const ObjKey& other) const { return nNe == other.nNe && nObj == other.nObj; }
    std::uint64_t Hash(const PlaceSecret& secret) const { return secret.Mix(PairOf(nNe, nObj)); }
};

struct SubKey {
    int nNe = 0;
    int nObj = 0;
    long lSub = 0;
    bool operator==(const SubKey& other) const {
        return nNe == other.nNe && nObj == other.nObj && lSub == other.lSub;
    }
    std::uint64_t Hash(const PlaceSecret& secret) const {
        return secret.Mix(PairOf(nNe, nObj) * secret.nSub + static_cast<std::uint64_t>(lSub));
    }
};

}  // namespace NSTE_util
