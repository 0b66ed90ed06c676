#pragma once

#include <cstdint>
#include <string>

// Benchmarks are named "row/who" or "row/who/size": who is "ours" or a peer on the same work. The
// program prints each row's ratio (our time by that of the fastest peer) beside its goal, and for
// rows with sizes how the time per item grows from the smallest to the largest.
namespace bench {

// Ratio to reach; 0: the row has no such goal.
struct Goal {
    const char* szRow;  // "row" or "row/size"
    double fRatio;
};

// How the time per call may grow over the sizes of a row.
struct Growth {
    const char* szRow;
    const char* szKind;  // "flat", "linear"
    double fFactor;      // largest per smallest: of the time (flat), of the time per item (linear)
    std::int64_t nFrom;  // the smallest size that counts
};

// Bytes of the heap that are in use.
std::int64_t HeapBytes();

// Where the benchmarks may write; gone when the program ends.
const std::string& ScratchFolder();

}  // namespace bench
