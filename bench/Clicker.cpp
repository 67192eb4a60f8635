// SPDX-License-Identifier: MIT
// Vorrik's click engine on its own, as the paired benchmark runs it next to the reference:
// single left clicks at the cursor on $DISPLAY through the production ports, then a few facts
// on stdout for the benchmark to read ("key value" lines).
//   vorrik_bench_clicker --setting MS --clicks N [--idle-seconds S] [--no-spin] [--polled-main]
//                        [--no-hold] [--worker-release] [--worker-cpu N]

#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "MainThreadQueue.h"
#include "Processes.h"
#include "engine/ClickEngine.h"
#include "platform/posix/PosixServices.h"
#include "platform/x11/X11Input.h"

namespace vorrik::bench {
namespace {

struct Options {
  long settingMs = 50;
  long clicks = 0;
  long idleSeconds = 0;
  posix::WorkerTimer::Options timer;
  // How often the main thread looks for the engine's tasks when a post wakes nobody; 0: woken.
  std::chrono::milliseconds mainPoll{0};
  // Releases right after each press, as the reference does, instead of 8 ms later.
  bool hold = true;
  // Sends every release from the worker after the hold, instead of leaving it to the X server.
  bool workerRelease = false;
  // Keeps the timer's worker on this CPU: where it runs, against the X server and receiver.
  std::optional<long> workerCpu;
};

// Keeps every hold on the worker, as for an injector whose system cannot release by itself:
// what leaving the release to the X server changes, measured.
class WorkerReleases final : public EventInjector {
 public:
  explicit WorkerReleases(EventInjector& real) : real_(real) {}
  bool click(MouseButton button, std::optional<ClickPoint> at, int count,
             ClickPacing& pacing) override {
    struct Held final : ClickPacing {
      ClickPacing& inner;
      explicit Held(ClickPacing& outer) : inner(outer) {}
      std::optional<std::chrono::microseconds> press() override {
        inner.press();
        return std::nullopt;
      }
      void sent() override { inner.sent(); }
      void hold() override { inner.hold(); }
      void gap() override { inner.gap(); }
    } held(pacing);
    return real_.click(button, at, count, held);
  }
  void settle() override { real_.settle(); }

 private:
  EventInjector& real_;
};

// Skips the pauses inside a click, so that a press and its release go out in one wake: what the
// second wake per click costs, measured.
class NoPauses final : public Sleeper {
 public:
  explicit NoPauses(const Sleeper& clock) : clock_(clock) {}
  void sleepFor(std::chrono::microseconds /*duration*/) override {}
  [[nodiscard]] std::chrono::nanoseconds now() const override { return clock_.now(); }

 private:
  const Sleeper& clock_;
};

std::optional<long> number(const char* text) {
  char* end = nullptr;
  const long value = std::strtol(text, &end, 10);
  if (end == text || *end != '\0' || value < 0 || value > 1000000) {
    return std::nullopt;
  }
  return value;
}

std::optional<Options> parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string_view arg = argv[i];
    std::optional<long> value;
    if (arg == "--no-spin") {
      options.timer.spin = false;
    } else if (arg == "--no-hold") {
      options.hold = false;
    } else if (arg == "--worker-release") {
      options.workerRelease = true;
    } else if (arg == "--polled-main") {
      options.mainPoll = std::chrono::seconds(1);
    } else if (i + 1 < argc && (value = number(argv[i + 1]))) {
      ++i;
      if (arg == "--setting") {
        options.settingMs = *value;
      } else if (arg == "--clicks") {
        options.clicks = *value;
      } else if (arg == "--idle-seconds") {
        options.idleSeconds = *value;
      } else if (arg == "--worker-cpu") {
        options.workerCpu = *value;
      } else {
        return std::nullopt;
      }
    } else {
      return std::nullopt;
    }
  }
  return options.clicks > 0 ? std::optional(options) : std::nullopt;
}

const char* grantName(posix::RealtimeGrant grant) {
  switch (grant) {
    case posix::RealtimeGrant::direct:
      return "direct";
    case posix::RealtimeGrant::realtimeKit:
      return "RealtimeKit";
    case posix::RealtimeGrant::none:
      break;
  }
  return "none";
}

// Every thread but the main one: the timer's worker.
std::vector<pid_t> otherThreads() {
  std::vector<pid_t> tids;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
    const auto tid = static_cast<pid_t>(std::stol(task.path().filename().string()));
    if (tid != getpid()) {
      tids.push_back(tid);
    }
  }
  return tids;
}

// The scheduler's counts of the main thread and of the others (the timer's worker) together.
struct Sched {
  SchedStat main;
  SchedStat others;
  Sched operator-(const Sched& earlier) const {
    return {main - earlier.main, others - earlier.others};
  }
};

Sched sched() {
  Sched now{threadSchedStat(getpid()), {}};
  for (const pid_t tid : otherThreads()) {
    now.others += threadSchedStat(getpid(), tid);
  }
  return now;
}

bool pinWorker(long cpu) {
  cpu_set_t set;
  CPU_ZERO(&set);
  CPU_SET(static_cast<int>(cpu), &set);
  const auto tids = otherThreads();
  return !tids.empty() && std::all_of(tids.begin(), tids.end(), [&](pid_t tid) {
    return sched_setaffinity(tid, sizeof set, &set) == 0;
  });
}

int run(const Options& options) {
  MainThreadQueue queue(options.mainPoll);
  x11::X11Trust trust;
  x11::X11Injector x11;
  WorkerReleases workerReleases(x11);
  EventInjector& injector =
      options.workerRelease ? static_cast<EventInjector&>(workerReleases) : x11;
  posix::MonotonicSleeper monotonic;
  NoPauses noPauses(monotonic);
  Sleeper& sleeper = options.hold ? static_cast<Sleeper&>(monotonic) : noPauses;
  posix::SystemRandom random;
  auto timer = std::make_unique<posix::WorkerTimer>(options.timer);
  posix::WorkerTimer& worker = *timer;
  if (!trust.isTrusted(false) || !x11.connected()) {
    std::fprintf(stderr, "vorrik_bench_clicker: the X server offers no XTEST\n");
    return 2;
  }
  ClickEngine engine(ClickEngine::Ports{queue, trust, injector, sleeper, random}, std::move(timer));
  std::int64_t shown = 0;
  bool stopped = false;
  engine.onTick = [&](std::int64_t count) { shown = count; };
  engine.onStop = [&](const std::optional<std::string>&) { stopped = true; };
  engine.intervalMs = options.settingMs;
  engine.maxClicks = options.clicks;
  std::printf("realtime %s\n", grantName(worker.realtime()));
  if (options.workerCpu && !pinWorker(*options.workerCpu)) {
    std::fprintf(stderr, "vorrik_bench_clicker: cannot keep the worker on CPU %ld\n",
                 *options.workerCpu);
    return 2;
  }
  // From here on: the threads' start-up is no click's cost.
  const Sched before = sched();
  engine.start();
  const auto limit = std::chrono::steady_clock::now() +
                     std::chrono::milliseconds((options.settingMs + 8) * options.clicks * 2) +
                     std::chrono::seconds(10);
  if (!queue.runUntil([&] { return stopped; }, limit)) {
    engine.stop(std::nullopt);
  }
  std::printf("clicks %lld\nshown %lld\n", static_cast<long long>(engine.sessionClicks()),
              static_cast<long long>(shown));
  // The main thread runs the count reports; the timer's worker, the only other thread, clicks.
  const auto [main, others] = sched() - before;
  std::printf(
      "sched_main %lld %lld %llu\nsched_worker %lld %lld %llu\n",
      static_cast<long long>(main.run.count()), static_cast<long long>(main.wait.count()),
      static_cast<unsigned long long>(main.slices), static_cast<long long>(others.run.count()),
      static_cast<long long>(others.wait.count()), static_cast<unsigned long long>(others.slices));
  if (options.idleSeconds > 0) {
    // The stop's own cancel wakes the worker once; let that pass before counting.
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const auto before = worker.wakeups();
    std::this_thread::sleep_for(std::chrono::seconds(options.idleSeconds));
    std::printf("idle_wakeups %llu\nidle_seconds %ld\n",
                static_cast<unsigned long long>(worker.wakeups() - before), options.idleSeconds);
  }
  std::printf("rss_kib %ld\npeak_rss_kib %ld\n", statusKiB("VmRSS").value_or(0),
              statusKiB("VmHWM").value_or(0));
  return engine.sessionClicks() == options.clicks ? 0 : 1;
}

}  // namespace
}  // namespace vorrik::bench

int main(int argc, char** argv) {
  const auto options = vorrik::bench::parse(argc, argv);
  if (!options) {
    std::fprintf(stderr,
                 "usage: vorrik_bench_clicker --setting MS --clicks N [--idle-seconds S] "
                 "[--no-spin] [--polled-main] [--no-hold] [--worker-release] [--worker-cpu N]\n");
    return 2;
  }
  return vorrik::bench::run(*options);
}
