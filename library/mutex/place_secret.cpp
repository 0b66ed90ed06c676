#include "mutex/place_secret.h"

#include <sys/auxv.h>
#include <sys/random.h>

#include <array>
#include <cstring>

namespace NSTE_util {

namespace {

// A one-to-one step in which every bit of the result depends on every bit that goes in.
std::uint64_t Scramble(std::uint64_t nValue) {
    nValue = (nValue ^ nValue >> 30) * 0xBF58476D1CE4E5B9U;
    nValue = (nValue ^ nValue >> 27) * 0x94D049BB133111EBU;
    return nValue ^ nValue >> 31;
}

PlaceSecret FromSystem() noexcept {
    std::array<std::uint64_t, 2> arrSeed{};
    if (getrandom(arrSeed.data(), sizeof arrSeed, GRND_NONBLOCK) != sizeof arrSeed)
        // The 16 random bytes that the kernel gives every process at its start, by their address.
        // NOLINTNEXTLINE(performance-no-int-to-ptr)
        if (const auto* const pBytes = reinterpret_cast<const void*>(getauxval(AT_RANDOM)))
            std::memcpy(arrSeed.data(), pBytes, sizeof arrSeed);
    return PlaceSecret::From(arrSeed[0], arrSeed[1]);
}

}  // namespace

PlaceSecret PlaceSecret::From(std::uint64_t nSeed, std::uint64_t nOther) {
    const std::uint64_t nFirst = Scramble(nSeed) ^ nOther;
    const std::uint64_t nSecond = Scramble(nFirst) ^ nSeed;
    return {Scramble(nFirst) | 1, Scramble(nSecond) | 1, Scramble(nFirst + nSecond) | 1};
}

const PlaceSecret& PlaceSecret::OfProcess() noexcept {
    static const PlaceSecret s_secret = FromSystem();
    return s_secret;
}

std::uint64_t PlaceSecret::Random(std::uint64_t n) const {
    return Scramble(Scramble(n ^ nSub) + nFirst) ^ nSecond;
}

}  // namespace NSTE_util
