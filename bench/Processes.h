// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vorrik::bench {

// A child process that keeps one core busy from construction to destruction: any the
// scheduler picks, or the given CPU only.
class BusyCore {
 public:
  explicit BusyCore(std::optional<int> cpu = std::nullopt);
  // Kills and reaps the child.
  ~BusyCore();
  BusyCore(const BusyCore&) = delete;
  BusyCore& operator=(const BusyCore&) = delete;

 private:
  pid_t pid_ = -1;
};

// How a finished child process went.
struct ChildRun {
  int exitCode = -1;
  std::chrono::nanoseconds cpuTime{0};
};

// Starts argv (the program looked up on PATH) with this process's environment plus extraEnv
// ("NAME=value", overriding), its stdout and stderr into outputPath when that is not empty;
// nothing when it could not start.
std::optional<pid_t> spawnChild(const std::vector<std::string>& argv,
                                const std::vector<std::string>& extraEnv = {},
                                const std::string& outputPath = {});
// Waits for a child from spawnChild to end; nothing when it cannot be waited for.
std::optional<ChildRun> waitChild(pid_t pid);
// Runs argv (the program looked up on PATH) to completion; nothing when it could not start.
std::optional<ChildRun> runChild(const std::vector<std::string>& argv);

// CPU time (user + system) this process has used so far, all its threads together.
std::chrono::nanoseconds processCpuTime();

// A line of /proc/self/status such as VmRSS, in KiB; nothing when it cannot be read.
std::optional<long> statusKiB(const std::string& field);

// What the scheduler counted for a task: time on a CPU, time runnable but waiting for one, and
// how often it was switched in (/proc/.../schedstat).
struct SchedStat {
  std::chrono::nanoseconds run{0};
  std::chrono::nanoseconds wait{0};
  std::uint64_t slices = 0;
  SchedStat& operator+=(const SchedStat& other);
  SchedStat operator-(const SchedStat& earlier) const;
};
// One thread's counts (tid 0: the process's main thread); zero when it cannot be read.
SchedStat threadSchedStat(pid_t pid, pid_t tid = 0);

}  // namespace vorrik::bench
