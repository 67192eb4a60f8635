// SPDX-License-Identifier: MIT
// Click timing on a real X server: how evenly the engine's clicks arrive at a receiving client,
// next to a reference clicker measured by the same receiver in the same run, with the engine's
// CPU time, memory and idle wake-ups. Run it through scripts/bench, which provides the server.

#include <X11/Xlib.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "Floor.h"
#include "Instruments.h"
#include "MainThreadQueue.h"
#include "PressReceiver.h"
#include "Processes.h"
#include "Report.h"
#include "Stats.h"
#include "engine/ClickEngine.h"
#include "platform/posix/PosixServices.h"
#include "platform/x11/X11Input.h"

namespace vorrik::bench {
namespace {

using namespace std::chrono_literals;
using Ms = std::chrono::duration<double, std::milli>;

// The time one single click holds the button down, which every tick adds to the delay.
constexpr double kClickMs =
    std::chrono::duration<double, std::milli>(ClickEngine::kDownToUp).count();
constexpr const char* kReferenceTool = "xdotool";

struct Options {
  std::size_t ticks = 300;
  bool referenceBusy = false;
  std::string jsonPath;
  // Runs the X server and the receiving thread at real-time priority, above the engine's worker,
  // so that the measuring path adds as little noise as it can on a shared machine.
  bool realtimeMeasure = true;
  // Experiments on the engine's ports, to size a proposed change before it is made.
  bool steadyTimeline = false;
  bool cachedPointer = false;
};

void usage() {
  std::cerr << "usage: vorrik_click_timing [--ticks N] [--reference-busy] [--json FILE]\n"
               "         [--plain-priority] [--steady-timeline] [--cached-pointer]\n"
               "  Needs DISPLAY to name a private X server with XTEST and XInput 2.2.\n"
               "  --plain-priority    leave the X server and receiver at normal priority\n"
               "  --steady-timeline   experiment: deadlines from the previous deadline\n"
               "  --cached-pointer    experiment: no pointer round trip per click\n";
}

std::optional<Options> parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string_view arg = argv[i];
    if (arg == "--ticks" && i + 1 < argc) {
      char* end = nullptr;
      const long ticks = std::strtol(argv[++i], &end, 10);
      if (end == nullptr || *end != '\0' || ticks < 2 || ticks > 100000) {
        return std::nullopt;
      }
      options.ticks = static_cast<std::size_t>(ticks);
    } else if (arg == "--reference-busy") {
      options.referenceBusy = true;
    } else if (arg == "--steady-timeline") {
      options.steadyTimeline = true;
    } else if (arg == "--cached-pointer") {
      options.cachedPointer = true;
    } else if (arg == "--plain-priority") {
      options.realtimeMeasure = false;
    } else if (arg == "--json" && i + 1 < argc) {
      options.jsonPath = argv[++i];
    } else {
      return std::nullopt;
    }
  }
  return options;
}

// Generous enough for a loaded machine, short enough that a lost click does not hang the run.
std::chrono::steady_clock::time_point deadlineFor(std::size_t presses, double nominalMs) {
  const auto expected = Ms(nominalMs * static_cast<double>(presses) * 1.5);
  return std::chrono::steady_clock::now() +
         std::chrono::duration_cast<std::chrono::steady_clock::duration>(expected) + 5s;
}

class Bench {
 public:
  Bench(Options options, PressReceiver& receiver)
      : options_(std::move(options)),
        receiver_(receiver),
        timedInjector_(injector_, recorder_),
        timedPointer_(pointer_, recorder_, options_.cachedPointer),
        engine_(
            ClickEngine::Ports{queue_, trust_, timedInjector_, timedPointer_, sleeper_, random_},
            makeTimer()) {
    engine_.onStop = [this](const std::optional<std::string>&) { stopped_ = true; };
  }

  bool ready() {
    if (!trust_.isTrusted(false) || !injector_.connected()) {
      std::cerr << "vorrik_click_timing: the X server offers no XTEST\n";
      return false;
    }
    return true;
  }

  // One engine series of single left clicks at setting ms; its CPU time leaves the receiver out.
  TimingCase engineCase(std::int64_t settingMs, bool busyCore) {
    const std::size_t presses = options_.ticks + 1;
    const double nominalMs = static_cast<double>(settingMs) + kClickMs;
    announce("Vorrik", settingMs, busyCore, presses, nominalMs);
    std::optional<BusyCore> load;
    if (busyCore) {
      load.emplace();
    }

    engine_.intervalMs = settingMs;
    engine_.clickType = ClickType::left;
    engine_.jitterMs = 0;
    engine_.burst = 0;
    engine_.maxClicks = static_cast<std::int64_t>(presses);
    stopped_ = false;
    receiver_.reset();
    recorder_.clear();
    timedPointer_.forget();
    const auto cpuBefore = processCpuTime() - receiver_.threadCpuTime();
    engine_.start();
    if (!queue_.runUntil([this] { return stopped_; }, deadlineFor(presses, nominalMs))) {
      engine_.stop(std::nullopt);
    }
    const auto cpu = processCpuTime() - receiver_.threadCpuTime() - cpuBefore;
    receiver_.waitFor(presses, 2s);

    TimingCase timing;
    timing.clicker = "Vorrik";
    timing.settingMs = settingMs;
    timing.busyCore = busyCore;
    timing.expectedPresses = presses;
    const auto pressTimes = receiver_.presses();
    timing.summary = summarisePresses(pressTimes, nominalMs);
    const PortTimes ports = recorder_.take();
    timing.breakdown = breakDown(ports.timerLateness, ports.pointerQuery, ports.downPosted,
                                 ports.upPosted, pressTimes, nominalMs);
    const auto clicks = engine_.sessionClicks();
    if (clicks > 0) {
      timing.cpuMsPer1000 = Ms(cpu).count() * 1000.0 / static_cast<double>(clicks);
    }
    return timing;
  }

  // The reference tool clicking the same number of times at the same nominal period.
  TimingCase referenceCase(std::int64_t periodMs, bool busyCore) {
    const std::size_t presses = options_.ticks + 1;
    const auto nominalMs = static_cast<double>(periodMs);
    announce(kReferenceTool, periodMs, busyCore, presses, nominalMs);
    std::optional<BusyCore> load;
    if (busyCore) {
      load.emplace();
    }

    receiver_.reset();
    const auto run = runChild({kReferenceTool, "click", "--repeat", std::to_string(presses),
                               "--delay", std::to_string(periodMs), "1"});
    TimingCase timing;
    timing.clicker = kReferenceTool;
    timing.reference = true;
    timing.settingMs = periodMs;
    timing.busyCore = busyCore;
    timing.expectedPresses = presses;
    if (!run || run->exitCode != 0) {
      std::cerr << "  " << kReferenceTool << " did not run to the end\n";
    } else {
      receiver_.waitFor(presses, 2s);
      timing.cpuMsPer1000 = Ms(run->cpuTime).count() * 1000.0 / static_cast<double>(presses);
    }
    timing.summary = summarisePresses(receiver_.presses(), nominalMs);
    return timing;
  }

  // Starts counting the timer worker's wake-ups; the engine must be idle from here on.
  void beginIdleWatch() {
    // The stop's own cancel wakes the worker once; let that pass before counting.
    std::this_thread::sleep_for(100ms);
    idleSince_ = std::chrono::steady_clock::now();
    idleWakeupsBefore_ = timer_->wakeups();
  }
  void endIdleWatch(BenchResults& results) const {
    results.idleWakeups = timer_->wakeups() - idleWakeupsBefore_;
    results.idleSeconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - idleSince_).count();
  }

 private:
  std::unique_ptr<OneShotTimer> makeTimer() {
    auto timer = std::make_unique<posix::WorkerTimer>();
    timer_ = timer.get();
    std::optional<std::chrono::nanoseconds> steady;
    if (options_.steadyTimeline) {
      steady = ClickEngine::kDownToUp;
    }
    return std::make_unique<TimedTimer>(std::move(timer), recorder_, steady);
  }

  static void announce(const char* clicker, std::int64_t settingMs, bool busyCore,
                       std::size_t presses, double nominalMs) {
    std::fprintf(stderr, "  %-8s %4lld ms, %-9s: %zu presses, ~%.0f s\n", clicker,
                 static_cast<long long>(settingMs), busyCore ? "busy core" : "idle", presses,
                 nominalMs * static_cast<double>(presses) / 1000.0);
  }

  Options options_;
  PressReceiver& receiver_;
  MainThreadQueue queue_;
  x11::X11Trust trust_;
  x11::X11Injector injector_;
  x11::X11Pointer pointer_;
  PortRecorder recorder_;
  TimedInjector timedInjector_;
  TimedPointer timedPointer_;
  posix::MonotonicSleeper sleeper_;
  posix::SystemRandom random_;
  posix::WorkerTimer* timer_ = nullptr;
  ClickEngine engine_;
  bool stopped_ = false;
  std::uint64_t idleWakeupsBefore_ = 0;
  std::chrono::steady_clock::time_point idleSince_;
};

int run(const Options& options) {
  // Read before any thread of ours exists.
  const char* display = std::getenv("DISPLAY");  // NOLINT(concurrency-mt-unsafe)
  if (display == nullptr || *display == '\0') {
    std::cerr << "vorrik_click_timing: DISPLAY is not set; run it through scripts/bench\n";
    return 2;
  }
  // Before any other Xlib call: the receiver, the engine's worker and the main thread each
  // hold a connection.
  XInitThreads();
  std::string error;
  auto receiver = PressReceiver::open(display, error);
  if (!receiver) {
    std::cerr << "vorrik_click_timing: " << error << "\n";
    return 2;
  }
  bool realtime = false;
  if (options.realtimeMeasure) {
    std::string why;
    realtime = receiver->raisePriority(why);
    if (!realtime) {
      std::cerr << "vorrik_click_timing: " << why << "\n";
    }
  }
  Bench bench(options, *receiver);
  if (!bench.ready()) {
    return 2;
  }

  BenchResults results;
  results.display = display;
  results.measuringPath = realtime ? "X server and receiver at SCHED_FIFO 2, above the engine"
                                   : "X server and receiver at normal priority";
  if (options.steadyTimeline) {
    results.variants.emplace_back("steady-timeline");
  }
  if (options.cachedPointer) {
    results.variants.emplace_back("cached-pointer");
  }
  std::cerr << "Measuring (cases run one after another):\n  machine floor: 300 sleeps, ~3 s\n";
  results.wakeFloor = measureWakeFloor(300, 10ms);
  // Busy-core cases first, so that each idle engine case sits right next to the reference case
  // it is compared with, and the engine stays idle through the last, longest reference case.
  results.cases.push_back(bench.engineCase(50, true));
  results.cases.push_back(bench.engineCase(120, true));
  results.cases.push_back(bench.engineCase(50, false));
  results.cases.push_back(bench.referenceCase(50 + static_cast<std::int64_t>(kClickMs), false));
  results.cases.push_back(bench.engineCase(120, false));
  results.rssKiB = statusKiB("VmRSS");
  results.peakRssKiB = statusKiB("VmHWM");
  bench.beginIdleWatch();
  results.cases.push_back(bench.referenceCase(120 + static_cast<std::int64_t>(kClickMs), false));
  if (options.referenceBusy) {
    results.cases.push_back(bench.referenceCase(50 + static_cast<std::int64_t>(kClickMs), true));
    results.cases.push_back(bench.referenceCase(120 + static_cast<std::int64_t>(kClickMs), true));
  }
  bench.endIdleWatch(results);

  const Targets targets;
  const std::string json = formatJson(results, targets);
  std::cout << "\n" << formatTable(results, targets) << "\n" << json;
  if (!options.jsonPath.empty()) {
    std::ofstream file(options.jsonPath);
    file << json;
    if (!file) {
      std::cerr << "vorrik_click_timing: cannot write " << options.jsonPath << "\n";
    }
  }
  std::cout << formatRatioLine(results, 120 + kClickMs) << std::endl;

  for (const auto& timing : results.cases) {
    if (timing.summary.presses < timing.expectedPresses) {
      return 1;
    }
  }
  return 0;
}

}  // namespace
}  // namespace vorrik::bench

int main(int argc, char** argv) {
  const auto options = vorrik::bench::parse(argc, argv);
  if (!options) {
    vorrik::bench::usage();
    return 2;
  }
  return vorrik::bench::run(*options);
}
