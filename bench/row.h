#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace bench {

// Registers "row/who[/size]": what is measured is one call of call(i) with a rising i.
template <class Call>
benchmark::internal::Benchmark* Row(const std::string& strRow, const char* szWho, Call call,
                                    std::int64_t nSize = 0) {
    auto* const pBenchmark = benchmark::RegisterBenchmark(
        (strRow + "/" + szWho).c_str(), [call](benchmark::State& state) mutable {
            std::size_t i = 0;
            for (auto _ : state)
                benchmark::DoNotOptimize(call(i++));
        });
    if (nSize != 0)
        pBenchmark->Arg(nSize);
    return pBenchmark;
}

// 1,024 numbers of every length.
template <class Number>
std::vector<Number> Numbers() {
    std::mt19937_64 random(42);
    std::vector<Number> vecNumber(1024);
    for (Number& nValue : vecNumber)
        nValue = static_cast<Number>(random() >>
                                     (random() % (8 * sizeof(Number)) + 64 - 8 * sizeof(Number)));
    return vecNumber;
}

}  // namespace bench
