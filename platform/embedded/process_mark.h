#pragma once

#include <cstdint>
#include <string>

namespace zemb {

// How a process is told from another one that gets its number later.
enum class EProcess { ALIVE, STOPPED, GONE };

// When it was started, in the system's ticks since its own start; 0: there is no such process. May
// also tell whether it is stopped; one that has ended and was not waited for is gone.
std::uint64_t StartTicksOf(std::uint32_t nProcess, EProcess& eState);

// Which start of the system this is; "" when it does not tell.
std::string BootOfSystem();

}  // namespace zemb
