#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace support {

// Runs a check against a naive model on random inputs of up to nMost bytes, always the same ones.
inline void CheckRandomly(void (*check)(const std::uint8_t*, std::size_t), int nInputs,
                          std::size_t nMost) {
    std::mt19937 random(1);
    for (int i = 0; i < nInputs; ++i) {
        std::vector<std::uint8_t> vecByte(random() % nMost);
        for (std::uint8_t& nByte : vecByte)
            nByte = static_cast<std::uint8_t>(random());
        ASSERT_NO_THROW(check(vecByte.data(), vecByte.size())) << i;
    }
}

}  // namespace support
