// SPDX-License-Identifier: MIT
#include "Processes.h"

#include <fcntl.h>
#include <sched.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string_view>

namespace vorrik::bench {

namespace {

std::chrono::nanoseconds cpuOf(const rusage& usage) {
  auto of = [](const timeval& t) {
    return std::chrono::seconds(t.tv_sec) + std::chrono::microseconds(t.tv_usec);
  };
  return of(usage.ru_utime) + of(usage.ru_stime);
}

}  // namespace

BusyCore::BusyCore(std::optional<int> cpu) {
  const pid_t parent = getpid();
  pid_ = fork();
  if (pid_ != 0) {
    return;
  }
  // Child: die with the benchmark however it ends, then spin. Only async-signal-safe calls
  // here, since the parent has threads.
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) {
    _exit(0);
  }
  if (cpu) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(*cpu, &set);
    if (sched_setaffinity(0, sizeof set, &set) != 0) {
      _exit(1);
    }
  }
  volatile std::uint64_t spins = 0;
  for (;;) {
    spins = spins + 1;
  }
}

BusyCore::~BusyCore() {
  if (pid_ <= 0) {
    return;
  }
  kill(pid_, SIGKILL);
  waitpid(pid_, nullptr, 0);
}

std::optional<pid_t> spawnChild(const std::vector<std::string>& argv,
                                const std::vector<std::string>& extraEnv,
                                const std::string& outputPath) {
  std::vector<char*> args;
  args.reserve(argv.size() + 1);
  for (const auto& arg : argv) {
    args.push_back(const_cast<char*>(arg.c_str()));
  }
  args.push_back(nullptr);
  std::vector<char*> env;
  for (char** e = environ; *e != nullptr; ++e) {
    const std::string_view entry(*e);
    bool overridden = false;
    for (const auto& extra : extraEnv) {
      const auto name = extra.substr(0, extra.find('=') + 1);
      overridden = overridden || entry.starts_with(name);
    }
    if (!overridden) {
      env.push_back(*e);
    }
  }
  for (const auto& extra : extraEnv) {
    env.push_back(const_cast<char*>(extra.c_str()));
  }
  env.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  if (!outputPath.empty()) {
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outputPath.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
  }
  pid_t pid = -1;
  const int failed = posix_spawnp(&pid, args[0], &actions, nullptr, args.data(), env.data());
  posix_spawn_file_actions_destroy(&actions);
  if (failed != 0) {
    return std::nullopt;
  }
  return pid;
}

std::optional<ChildRun> waitChild(pid_t pid) {
  int status = 0;
  rusage usage{};
  if (wait4(pid, &status, 0, &usage) != pid) {
    return std::nullopt;
  }
  ChildRun run;
  run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  run.cpuTime = cpuOf(usage);
  return run;
}

std::optional<ChildRun> runChild(const std::vector<std::string>& argv) {
  const auto pid = spawnChild(argv);
  return pid ? waitChild(*pid) : std::nullopt;
}

std::chrono::nanoseconds processCpuTime() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return cpuOf(usage);
}

std::optional<long> statusKiB(const std::string& field) {
  std::ifstream status("/proc/self/status");
  std::string line;
  const std::string prefix = field + ":";
  while (std::getline(status, line)) {
    if (line.rfind(prefix, 0) != 0) {
      continue;
    }
    std::istringstream rest(line.substr(prefix.size()));
    long kib = 0;
    if (rest >> kib) {
      return kib;
    }
    return std::nullopt;
  }
  return std::nullopt;
}

SchedStat& SchedStat::operator+=(const SchedStat& other) {
  run += other.run;
  wait += other.wait;
  slices += other.slices;
  return *this;
}

SchedStat SchedStat::operator-(const SchedStat& earlier) const {
  return {run - earlier.run, wait - earlier.wait, slices - earlier.slices};
}

SchedStat threadSchedStat(pid_t pid, pid_t tid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/task/" +
                     std::to_string(tid == 0 ? pid : tid) + "/schedstat");
  long long run = 0;
  long long wait = 0;
  unsigned long long slices = 0;
  if (!(file >> run >> wait >> slices)) {
    return {};
  }
  return {std::chrono::nanoseconds(run), std::chrono::nanoseconds(wait), slices};
}

}  // namespace vorrik::bench
