#pragma once

#include <cstdint>

namespace NSTE_util {

// Odd numbers that nobody outside the process knows. They are the factors of the hash of a place:
// of a product with an odd factor that is not known, nobody can foretell which keys meet in the
// upper bits, so identifiers that were chosen to collide spread like any others.
struct PlaceSecret {
    std::uint64_t nFirst;
    std::uint64_t nSecond;
    std::uint64_t nSub;

    // Made of anything random, even if it is little.
    static PlaceSecret From(std::uint64_t nSeed, std::uint64_t nOther);
    // That of the process, taken from the system once.
    static const PlaceSecret& OfProcess() noexcept;

    // Spreads every bit of nValue over the result.
    std::uint64_t Mix(std::uint64_t nValue) const {
        nValue *= nFirst;
        nValue ^= nValue >> 32;
        return nValue * nSecond;
    }
    // The n-th of a row of random numbers.
    std::uint64_t Random(std::uint64_t n) const;
};

}  // namespace NSTE_util
