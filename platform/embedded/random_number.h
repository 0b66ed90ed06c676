#pragma once

#include <sys/random.h>

#include <cstdint>
#include <random>

namespace zemb {

// A number that nobody outside can guess; without the system's, one of the C++ library.
inline std::uint64_t RandomNumber() {
    std::uint64_t nNumber = 0;
    if (getrandom(&nNumber, sizeof nNumber, GRND_NONBLOCK) == sizeof nNumber)
        return nNumber;
    std::random_device device;
    return static_cast<std::uint64_t>(device()) << 32 | device();
}

}  // namespace zemb
