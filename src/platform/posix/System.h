// SPDX-License-Identifier: MIT
#pragma once

// What differs between the systems the POSIX services run on: one source file per system,
// chosen by CMake (linux/ today), so the portable code never tests the OS.

#include <atomic>
#include <chrono>
#include <cstdint>

namespace vorrik::posix::system {

// Asks for the smallest timer slack the system allows, for the calling thread.
void minimiseTimerSlack();
// A uniform integer from 0 to upperBound - 1 from the system's CSPRNG; upperBound >= 2.
std::uint32_t secureUniform(std::uint32_t upperBound);
// Sleeps while word holds seen, until wakeWaiter(word) or until `until` on the steady clock
// (time_point::max(): no limit); it may return early, so callers check what they wait for.
void waitWhile(const std::atomic<std::uint32_t>& word, std::uint32_t seen,
               std::chrono::steady_clock::time_point until);
// Wakes the thread sleeping in waitWhile on word, if there is one.
void wakeWaiter(const std::atomic<std::uint32_t>& word);

}  // namespace vorrik::posix::system
