// SPDX-License-Identifier: MIT
#pragma once

// What differs between the systems the POSIX services run on: one source file per system,
// chosen by CMake (linux/ today), so the portable code never tests the OS.

#include <cstdint>

namespace vorrik::posix::system {

// Asks for the smallest timer slack the system allows, for the calling thread.
void minimiseTimerSlack();
// A uniform integer from 0 to upperBound - 1 from the system's CSPRNG; upperBound >= 2.
std::uint32_t secureUniform(std::uint32_t upperBound);

}  // namespace vorrik::posix::system
