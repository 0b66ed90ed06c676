#pragma once

namespace zemb {

// As NowMicroseconds(), read from the system's coarse clock: some milliseconds late, and a quarter
// of the cost.
long long NowCoarseMicroseconds();

}  // namespace zemb
