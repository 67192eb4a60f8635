// SPDX-License-Identifier: MIT
// The paired click-timing benchmark: Vorrik's engine (vorrik_bench_clicker) and the reference
// (`xdotool click --repeat`) click at the same time, each on its own private X server with its
// own receiver, so that both meet the same moment's noise. Both run as an unprivileged user at
// normal priority, with the flush shim preloaded to record when each event leaves the program.
// Run it through scripts/bench, which provides the servers and a world-readable copy of the
// programs.

#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "Floor.h"
#include "PressReceiver.h"
#include "Processes.h"
#include "Report.h"
#include "Stats.h"

namespace vorrik::bench {
namespace {

using namespace std::chrono_literals;

// The engine holds each click's button down this long, within the period.
constexpr long kPressMs = 8;
constexpr const char* kReferenceTool = "xdotool";
// The unprivileged user the clickers run as when the benchmark runs as root.
constexpr const char* kNobody = "65534";

struct Options {
  std::string vorrikDisplay;
  std::string referenceDisplay;
  std::string clicker;  // vorrik_bench_clicker, readable by the unprivileged user
  std::string shim;     // the flush shim, likewise
  std::string workDir;  // writable by that user
  int rounds = 5;
  int runs = 1;  // back to back, each of `rounds` rounds
  std::size_t periods = 300;
  std::vector<std::string> clickerFlags;
  std::optional<int> busyCpu;  // where the busy-core rounds' load runs; any CPU when unset
};

void usage() {
  std::cerr
      << "usage: vorrik_click_timing --vorrik-display D --reference-display D\n"
         "         --clicker PATH --shim PATH --work DIR [--rounds N] [--periods N]\n"
         "         [--runs N] [--no-spin] [--polled-main] [--no-hold] [--worker-release]\n"
         "         [--busy-cpu N] [--worker-cpu N]\n"
         "  --runs N    N runs back to back, then each run's pooled ratios and their minimum\n"
         "  --no-spin   the engine's timer without its early wake and final spin\n"
         "  --polled-main  no main-thread wake-up per click: it looks for the count once a "
         "second\n"
         "  --no-hold   each release right after its press, as the reference clicks, not 8 ms "
         "later\n"
         "  --worker-release  each release sent by the worker after the hold, not left to the "
         "X server\n"
         "  --busy-cpu N    the busy-core rounds' load on CPU N only\n"
         "  --worker-cpu N  Vorrik's clicking thread on CPU N only\n";
}

std::optional<Options> parse(int argc, char** argv) {
  Options o;
  for (int i = 1; i < argc; ++i) {
    const std::string_view arg = argv[i];
    const bool hasValue = i + 1 < argc;
    if (arg == "--no-spin" || arg == "--polled-main" || arg == "--no-hold" ||
        arg == "--worker-release") {
      o.clickerFlags.emplace_back(arg);
    } else if (hasValue && arg == "--vorrik-display") {
      o.vorrikDisplay = argv[++i];
    } else if (hasValue && arg == "--reference-display") {
      o.referenceDisplay = argv[++i];
    } else if (hasValue && arg == "--clicker") {
      o.clicker = argv[++i];
    } else if (hasValue && arg == "--shim") {
      o.shim = argv[++i];
    } else if (hasValue && arg == "--work") {
      o.workDir = argv[++i];
    } else if (hasValue && (arg == "--busy-cpu" || arg == "--worker-cpu")) {
      char* end = nullptr;
      const long cpu = std::strtol(argv[++i], &end, 10);
      if (*end != '\0' || cpu < 0 || cpu >= sysconf(_SC_NPROCESSORS_ONLN)) {
        return std::nullopt;
      }
      if (arg == "--busy-cpu") {
        o.busyCpu = static_cast<int>(cpu);
      } else {
        o.clickerFlags.insert(o.clickerFlags.end(), {std::string(arg), std::to_string(cpu)});
      }
    } else if (hasValue && (arg == "--rounds" || arg == "--periods" || arg == "--runs")) {
      char* end = nullptr;
      const long n = std::strtol(argv[++i], &end, 10);
      if (*end != '\0' || n < 1 || n > 100000 || (arg == "--periods" && n < 2)) {
        return std::nullopt;
      }
      if (arg == "--rounds") {
        o.rounds = static_cast<int>(n);
      } else if (arg == "--runs") {
        o.runs = static_cast<int>(n);
      } else {
        o.periods = static_cast<std::size_t>(n);
      }
    } else {
      return std::nullopt;
    }
  }
  if (o.vorrikDisplay.empty() || o.referenceDisplay.empty() || o.clicker.empty() ||
      o.shim.empty() || o.workDir.empty()) {
    return std::nullopt;
  }
  return o;
}

// What the flush shim recorded in one clicker process.
struct FlushLog {
  std::vector<std::chrono::nanoseconds> presses;
  std::vector<int> pressCpus;
  std::vector<std::chrono::nanoseconds> releases;
  std::optional<std::chrono::nanoseconds> cpu;  // from the first button event to exit
};

FlushLog readFlushLog(const std::string& path) {
  FlushLog log;
  std::ifstream file(path);
  std::string line;
  while (std::getline(file, line)) {
    std::istringstream fields(line);
    std::string kind;
    long long a = 0;
    long long b = -1;
    if (!(fields >> kind >> a)) {
      continue;
    }
    const bool hasB = static_cast<bool>(fields >> b);
    if (kind == "press") {
      log.presses.emplace_back(a);
      log.pressCpus.push_back(hasB ? static_cast<int>(b) : -1);
    } else if (kind == "release") {
      log.releases.emplace_back(a);
    } else if (kind == "cpu" && hasB && a >= 0 && b >= a) {
      log.cpu = std::chrono::nanoseconds(b - a);
    }
  }
  return log;
}

// The clicker's "key value" lines.
std::map<std::string, std::string> readFacts(const std::string& path) {
  std::map<std::string, std::string> facts;
  std::ifstream file(path);
  std::string line;
  while (std::getline(file, line)) {
    const auto space = line.find(' ');
    if (space != std::string::npos) {
      facts[line.substr(0, space)] = line.substr(space + 1);
    }
  }
  return facts;
}

class PairedBench {
 public:
  PairedBench(Options options, PressReceiver& vorrik, PressReceiver& reference)
      : o_(std::move(options)), vorrikReceiver_(vorrik), referenceReceiver_(reference) {}

  // Prefixes that run a clicker without real-time rights, as an ordinary user when we are root.
  [[nodiscard]] std::vector<std::string> unprivileged() const {
    std::vector<std::string> prefix{"prlimit", "--rtprio=0:0"};
    if (geteuid() == 0) {
      prefix.insert(prefix.end(), {"setpriv", std::string("--reuid=") + kNobody,
                                   std::string("--regid=") + kNobody, "--clear-groups"});
    }
    return prefix;
  }

  [[nodiscard]] std::string setup() const {
    return geteuid() == 0 ? "clickers as uid 65534 with RLIMIT_RTPRIO 0, X servers and "
                            "clickers at normal priority"
                          : "clickers as the calling user with RLIMIT_RTPRIO 0, X servers and "
                            "clickers at normal priority";
  }

  std::optional<PairedRound> round(int number, long nominalMs, bool busyCore, bool idleWatch) {
    const std::size_t clicks = o_.periods + 1;
    std::fprintf(stderr, "  round %d, %ld ms, %-9s: %zu clicks each, ~%.0f s\n", number, nominalMs,
                 busyCore ? "busy core" : "idle", clicks,
                 static_cast<double>(nominalMs * static_cast<long>(clicks)) / 1000.0);
    const std::string tag = o_.workDir + "/" + std::to_string(number) + "-" +
                            std::to_string(nominalMs) + (busyCore ? "-busy" : "-idle");
    std::vector<std::string> vorrikArgv = unprivileged();
    vorrikArgv.insert(vorrikArgv.end(),
                      {o_.clicker, "--setting", std::to_string(nominalMs - kPressMs), "--clicks",
                       std::to_string(clicks)});
    if (idleWatch) {
      vorrikArgv.insert(vorrikArgv.end(), {"--idle-seconds", "3"});
    }
    vorrikArgv.insert(vorrikArgv.end(), o_.clickerFlags.begin(), o_.clickerFlags.end());
    std::vector<std::string> referenceArgv = unprivileged();
    referenceArgv.insert(referenceArgv.end(),
                         {kReferenceTool, "click", "--repeat", std::to_string(clicks), "--delay",
                          std::to_string(nominalMs), "1"});

    std::optional<BusyCore> load;
    if (busyCore) {
      load.emplace(o_.busyCpu);
    }
    vorrikReceiver_.reset();
    referenceReceiver_.reset();
    const Waits vorrikBefore = waits(vorrikReceiver_);
    const Waits referenceBefore = waits(referenceReceiver_);
    const auto env = [&](const std::string& display, const std::string& log) {
      return std::vector<std::string>{"DISPLAY=" + display, "LD_PRELOAD=" + o_.shim,
                                      "VORRIK_FLUSH_LOG=" + log};
    };
    const auto vorrikPid =
        spawnChild(vorrikArgv, env(o_.vorrikDisplay, tag + "-vorrik.flush"), tag + "-vorrik.out");
    const auto referencePid = spawnChild(
        referenceArgv, env(o_.referenceDisplay, tag + "-reference.flush"), tag + "-reference.out");
    const auto vorrikRun = vorrikPid ? waitChild(*vorrikPid) : std::nullopt;
    const auto referenceRun = referencePid ? waitChild(*referencePid) : std::nullopt;
    load.reset();
    if (!vorrikRun || vorrikRun->exitCode != 0 || !referenceRun || referenceRun->exitCode != 0) {
      std::fprintf(stderr, "  a clicker failed; see %s-*.out\n", tag.c_str());
      return std::nullopt;
    }
    vorrikReceiver_.waitFor(clicks, 2s);
    referenceReceiver_.waitFor(clicks, 2s);
    const Waits vorrikWaits = waits(vorrikReceiver_) - vorrikBefore;
    const Waits referenceWaits = waits(referenceReceiver_) - referenceBefore;

    PairedRound r;
    r.round = number;
    r.nominalMs = static_cast<double>(nominalMs);
    r.busyCore = busyCore;
    r.vorrik = side(tag + "-vorrik.flush", vorrikReceiver_, clicks, r.nominalMs);
    r.reference = side(tag + "-reference.flush", referenceReceiver_, clicks, r.nominalMs);
    facts_ = readFacts(tag + "-vorrik.out");
    const auto perClick = [&](std::chrono::nanoseconds wait) {
      return std::chrono::duration<double, std::micro>(wait).count() / static_cast<double>(clicks);
    };
    for (const auto& [side, w] :
         {std::pair{&r.vorrik, vorrikWaits}, {&r.reference, referenceWaits}}) {
      side->waitUsPerClick["X server"] = perClick(w.server.wait);
      side->waitUsPerClick["receiver"] = perClick(w.receiver.wait);
    }
    for (const char* thread : {"main", "worker"}) {
      std::istringstream counts(facts_["sched_" + std::string(thread)]);
      long long run = 0;
      long long wait = 0;
      if (counts >> run >> wait) {
        r.vorrik.waitUsPerClick[thread] = perClick(std::chrono::nanoseconds(wait));
        r.vorrik.waitUsPerClick[thread + std::string(" ran")] =
            perClick(std::chrono::nanoseconds(run));
      }
    }
    return r;
  }

  [[nodiscard]] const std::map<std::string, std::string>& lastFacts() const { return facts_; }

 private:
  // The scheduler's counts of a display's X server and of its receiving thread.
  struct Waits {
    SchedStat server;
    SchedStat receiver;
    Waits operator-(const Waits& earlier) const {
      return {server - earlier.server, receiver - earlier.receiver};
    }
  };
  static Waits waits(const PressReceiver& receiver) {
    return {receiver.serverPid() > 0 ? threadSchedStat(receiver.serverPid()) : SchedStat{},
            threadSchedStat(getpid(), receiver.threadId())};
  }

  static ClickerRun side(const std::string& flushLog, const PressReceiver& receiver,
                         std::size_t clicks, double nominal) {
    const FlushLog log = readFlushLog(flushLog);
    ClickerRun run;
    run.source = summarise(log.presses, log.releases, nominal);
    const auto presses = receiver.presses();
    const auto releases = receiver.releases();
    run.receiver = summarise(presses, releases, nominal);
    const auto cpus = receiver.pressCpus();
    if (log.presses.size() == presses.size()) {
      for (std::size_t i = 0; i < presses.size(); ++i) {
        run.deliveryMs.push_back(
            std::chrono::duration<double, std::milli>(presses[i] - log.presses[i]).count());
        run.sameCpu.push_back(i < cpus.size() && cpus[i] == log.pressCpus[i]);
      }
    }
    if (log.cpu && !log.presses.empty()) {
      run.cpuUsPerClick =
          std::chrono::duration<double, std::micro>(*log.cpu).count() / static_cast<double>(clicks);
    }
    return run;
  }

  Options o_;
  PressReceiver& vorrikReceiver_;
  PressReceiver& referenceReceiver_;
  std::map<std::string, std::string> facts_;
};

// How long presses took from leaving each clicker to reaching its receiver, per load, pooled:
// what the X server and the receiver add, which no clicker controls.
std::string formatDelivery(const std::vector<PairedRound>& rounds) {
  std::ostringstream out;
  out << "Delivery, from a press leaving the program to its receiver, pooled (median / p99 / "
         "max, ms):\n";
  for (const bool busy : {false, true}) {
    std::vector<double> vorrik;
    std::vector<double> reference;
    for (const PairedRound& r : rounds) {
      if (r.busyCore == busy) {
        vorrik.insert(vorrik.end(), r.vorrik.deliveryMs.begin(), r.vorrik.deliveryMs.end());
        reference.insert(reference.end(), r.reference.deliveryMs.begin(),
                         r.reference.deliveryMs.end());
      }
    }
    const auto spread = [](const std::vector<double>& ms) {
      char text[64];
      std::snprintf(text, sizeof text, "%.3f / %.3f / %.3f", median(ms), percentile(ms, 99),
                    ms.empty() ? 0.0 : *std::max_element(ms.begin(), ms.end()));
      return std::string(text);
    };
    out << "  " << (busy ? "busy core" : "idle     ") << ": Vorrik " << spread(vorrik)
        << ", reference " << spread(reference) << "\n";
  }
  return out.str();
}

// Where the time after a flush went, per load, pooled: which CPU the receiver read each press
// on against the one the clicker flushed it from, delivery split by that, and how long the X
// server, the receiving thread and Vorrik's own threads waited for a CPU, per click.
std::string formatPlacement(const std::vector<PairedRound>& rounds) {
  std::ostringstream out;
  out << "Placement and run-queue waits, pooled (same CPU: presses read on the CPU they were "
         "flushed from;\ndelivery p99 on the same / another CPU, ms; waits for a CPU, and "
         "what Vorrik's threads ran, in us per click):\n";
  for (const bool busy : {false, true}) {
    for (const bool vorrikSide : {true, false}) {
      std::vector<double> same;
      std::vector<double> other;
      std::map<std::string, double> waits;
      int counted = 0;
      for (const PairedRound& r : rounds) {
        if (r.busyCore != busy) {
          continue;
        }
        const ClickerRun& c = vorrikSide ? r.vorrik : r.reference;
        for (std::size_t i = 0; i < c.sameCpu.size(); ++i) {
          (c.sameCpu[i] ? same : other).push_back(c.deliveryMs[i]);
        }
        for (const auto& [task, us] : c.waitUsPerClick) {
          waits[task] += us;
        }
        ++counted;
      }
      if (counted == 0) {
        continue;
      }
      char line[256];
      const double total = static_cast<double>(same.size() + other.size());
      std::snprintf(line, sizeof line, "  %-9s %-9s same CPU %5.1f%%, delivery p99 %.3f / %.3f;",
                    busy ? "busy core" : "idle", vorrikSide ? "Vorrik" : "reference",
                    total > 0 ? 100.0 * static_cast<double>(same.size()) / total : 0.0,
                    percentile(same, 99), percentile(other, 99));
      out << line;
      for (const auto& [task, us] : waits) {
        std::snprintf(line, sizeof line, " %s %.1f", task.c_str(), us / counted);
        out << line;
      }
      out << "\n";
    }
  }
  return out.str();
}

std::string machine() {
  utsname name{};
  uname(&name);
  return std::string(name.nodename) + ", " + name.machine + ", " +
         std::to_string(sysconf(_SC_NPROCESSORS_ONLN)) + " CPUs";
}

int run(const Options& options) {
  // Before any thread of ours exists: the two receivers each hold a connection.
  std::string error;
  auto vorrikReceiver = PressReceiver::open(options.vorrikDisplay.c_str(), error);
  auto referenceReceiver =
      vorrikReceiver ? PressReceiver::open(options.referenceDisplay.c_str(), error) : nullptr;
  if (!vorrikReceiver || !referenceReceiver) {
    std::cerr << "vorrik_click_timing: " << error << "\n";
    return 2;
  }
  PairedBench bench(options, *vorrikReceiver, *referenceReceiver);
  std::cerr << "Measuring on " << machine() << ", " << options.runs << " x " << options.rounds
            << " rounds (both clickers at once in each):\n  machine floor: 300 sleeps, ~3 s\n";
  const std::optional<WakeFloor> floor = measureWakeFloor(300, 10ms);

  bool complete = true;
  std::vector<PairedResults> runs;
  for (int run = 1; run <= options.runs; ++run) {
    PairedResults& results = runs.emplace_back();
    results.setup = bench.setup();
    results.wakeFloor = floor;
    for (int number = 1; number <= options.rounds; ++number) {
      for (const long nominal : {58L, 128L}) {
        for (const bool busy : {false, true}) {
          const bool idleWatch = number == 1 && nominal == 58 && !busy;
          auto r = bench.round(number, nominal, busy, idleWatch);
          if (!r) {
            complete = false;
            continue;
          }
          results.rounds.push_back(std::move(*r));
          const auto& facts = bench.lastFacts();
          if (idleWatch && facts.contains("idle_wakeups")) {
            results.idleWakeups = std::stoull(facts.at("idle_wakeups"));
            results.idleSeconds = std::stod(facts.at("idle_seconds"));
          }
          if (facts.contains("rss_kib")) {
            results.rssKiB = std::stol(facts.at("rss_kib"));
            results.peakRssKiB = std::stol(facts.at("peak_rss_kib"));
          }
          if (facts.contains("realtime")) {
            const std::string& grant = facts.at("realtime");
            results.realtime = grant == "none" ? "not granted (SCHED_FIFO and RealtimeKit both "
                                                 "refused); Vorrik ran at normal priority"
                               : grant == "RealtimeKit" ? "granted by RealtimeKit"
                                                        : "granted directly (SCHED_FIFO)";
          }
        }
      }
    }
    if (options.runs > 1) {
      std::cout << "\n=== Run " << run << " of " << options.runs << "\n";
    }
    std::cout << "\n"
              << formatRounds(results) << "\n"
              << formatDelivery(results.rounds) << "\n"
              << formatPlacement(results.rounds) << "\n"
              << formatPooled(results, Targets{});
    std::cout.flush();
    for (const PairedRound& r : results.rounds) {
      for (const ClickerRun* clicker : {&r.vorrik, &r.reference}) {
        complete = complete && clicker->source.presses == options.periods + 1 &&
                   clicker->receiver.presses == options.periods + 1;
      }
    }
  }
  if (options.runs > 1) {
    std::cout << "\n" << formatRuns(runs, Targets{});
  }
  return complete ? 0 : 1;
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
