// SPDX-License-Identifier: MIT
#include "Report.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <functional>
#include <utility>

namespace vorrik::bench {

namespace {

// printf-style formatting into a std::string (no <format> in the toolchain we support).
[[gnu::format(printf, 1, 2)]] std::string fmt(const char* format, ...) {
  va_list args;
  va_start(args, format);
  va_list copy;
  va_copy(copy, args);
  const int length = std::vsnprintf(nullptr, 0, format, copy);
  va_end(copy);
  std::string out(static_cast<std::size_t>(std::max(length, 0)), '\0');
  std::vsnprintf(out.data(), out.size() + 1, format, args);
  va_end(args);
  return out;
}

std::string ratioText(std::optional<double> ratio) {
  return ratio ? fmt("%.2f", *ratio) : std::string("n/a");
}

std::string loadName(bool busyCore) {
  return busyCore ? "busy core" : "idle";
}

const char* const kRowFormat =
    "%-5s %7s %-9s %-8s %-8s %6s %9s %7s %6s %6s %6s %7s %6s %7s %6s %9s %9s\n";

std::string header() {
  return fmt(kRowFormat, "round", "nominal", "load", "clicker", "at", "presses", "median", "bias",
             "jit50", "jit99", "jitmax", "hold", "hjit99", "gap", "gjit99", "shortest",
             "cpu/click");
}

std::string row(const std::string& round, double nominalMs, const std::string& load,
                const char* clicker, const char* at, const Series& s, std::optional<double> cpuUs) {
  const Jitter period = s.periodJitter();
  return fmt(kRowFormat, round.c_str(), fmt("%.0f", nominalMs).c_str(), load.c_str(), clicker, at,
             fmt("%zu", s.presses).c_str(), fmt("%.3f", s.medianPeriodMs).c_str(),
             fmt("%+.3f", s.biasMs()).c_str(), fmt("%.3f", period.p50Ms).c_str(),
             fmt("%.3f", period.p99Ms).c_str(), fmt("%.3f", period.maxMs).c_str(),
             fmt("%.3f", s.medianHoldMs).c_str(), fmt("%.3f", s.holdJitter().p99Ms).c_str(),
             fmt("%.3f", s.medianGapMs).c_str(), fmt("%.3f", s.gapJitter().p99Ms).c_str(),
             fmt("%.3f", s.shortestMs()).c_str(), cpuUs ? fmt("%.0f us", *cpuUs).c_str() : "n/a");
}

// The four rows of one round or pool: each clicker at the source and at the receiver.
std::string rows(const std::string& round, double nominalMs, const std::string& load,
                 const ClickerRun& vorrik, const ClickerRun& reference) {
  return row(round, nominalMs, load, "Vorrik", "source", vorrik.source, vorrik.cpuUsPerClick) +
         row(round, nominalMs, load, "ref", "source", reference.source, reference.cpuUsPerClick) +
         row(round, nominalMs, load, "Vorrik", "receiver", vorrik.receiver, std::nullopt) +
         row(round, nominalMs, load, "ref", "receiver", reference.receiver, std::nullopt);
}

using RoundFilter = std::function<bool(const PairedRound&)>;

// Pools the matching rounds; the CPU figure is the mean over the rounds that have one.
ClickerRun pooled(const std::vector<PairedRound>& rounds, const RoundFilter& keep,
                  ClickerRun PairedRound::*clicker) {
  std::vector<const Series*> sources;
  std::vector<const Series*> receivers;
  double cpu = 0;
  int cpuRounds = 0;
  for (const PairedRound& r : rounds) {
    if (!keep(r)) {
      continue;
    }
    const ClickerRun& run = r.*clicker;
    sources.push_back(&run.source);
    receivers.push_back(&run.receiver);
    if (run.cpuUsPerClick) {
      cpu += *run.cpuUsPerClick;
      ++cpuRounds;
    }
  }
  ClickerRun out;
  out.source = pool(sources);
  out.receiver = pool(receivers);
  if (cpuRounds > 0) {
    out.cpuUsPerClick = cpu / cpuRounds;
  }
  return out;
}

std::string metOrMissed(bool met) {
  return met ? "met" : "MISSED";
}

}  // namespace

std::optional<double> p99Ratio(const Series& reference, const Series& vorrik) {
  const double ours = vorrik.periodJitter().p99Ms;
  if (reference.periods.empty() || vorrik.periods.empty() || ours <= 0) {
    return std::nullopt;
  }
  return reference.periodJitter().p99Ms / ours;
}

std::string formatRounds(const PairedResults& results) {
  std::string out =
      "Paired rounds: both clickers at once, each on its own X server; times in ms. 'source' is\n"
      "when each event left the program (its flush returned), 'receiver' when a client read it.\n"
      "Jitter is each period's distance from the round's median period; hold runs from a press\n"
      "to its release, gap from the release to the next press.\n";
  out += header();
  for (const PairedRound& r : results.rounds) {
    out += rows(std::to_string(r.round), r.nominalMs, loadName(r.busyCore), r.vorrik, r.reference);
  }
  out += "\np99 ratio (reference / Vorrik) per round:\n";
  for (const PairedRound& r : results.rounds) {
    out += fmt("  round %d, %3.0f ms, %-9s: source %s, receiver %s\n", r.round, r.nominalMs,
               loadName(r.busyCore).c_str(),
               ratioText(p99Ratio(r.reference.source, r.vorrik.source)).c_str(),
               ratioText(p99Ratio(r.reference.receiver, r.vorrik.receiver)).c_str());
  }
  return out;
}

std::string formatPooled(const PairedResults& results, const Targets& targets) {
  std::string out = "Pooled over the rounds (" + results.setup + "):\n" + header();
  struct Condition {
    double nominalMs;
    bool busyCore;
  };
  std::vector<Condition> conditions;
  for (const PairedRound& r : results.rounds) {
    bool seen = false;
    for (const Condition& c : conditions) {
      seen = seen || (c.nominalMs == r.nominalMs && c.busyCore == r.busyCore);
    }
    if (!seen) {
      conditions.push_back({r.nominalMs, r.busyCore});
    }
  }
  std::string verdicts;
  bool biasMet = true;
  bool shortAtSource = true;
  bool shortAtReceiver = true;
  for (const Condition& c : conditions) {
    const RoundFilter keep = [c](const PairedRound& r) {
      return r.nominalMs == c.nominalMs && r.busyCore == c.busyCore;
    };
    const ClickerRun vorrik = pooled(results.rounds, keep, &PairedRound::vorrik);
    const ClickerRun reference = pooled(results.rounds, keep, &PairedRound::reference);
    out += rows("all", c.nominalMs, loadName(c.busyCore), vorrik, reference);
    int met = 0;
    int rounds = 0;
    for (const PairedRound& r : results.rounds) {
      if (keep(r)) {
        ++rounds;
        const auto ratio = p99Ratio(r.reference.source, r.vorrik.source);
        met += ratio && *ratio >= targets.minSourceRatio ? 1 : 0;
      }
    }
    const auto receiverRatio = p99Ratio(reference.receiver, vorrik.receiver);
    verdicts +=
        fmt("  %3.0f ms, %-9s: source p99 ratio >= %.0f in %d of %d rounds (%s); receiver pooled "
            "ratio %s\n",
            c.nominalMs, loadName(c.busyCore).c_str(), targets.minSourceRatio, met, rounds,
            metOrMissed(met >= std::min(targets.roundsNeeded, rounds)).c_str(),
            ratioText(receiverRatio).c_str());
    for (const Series* s : {&vorrik.source, &vorrik.receiver}) {
      biasMet = biasMet && std::abs(s->biasMs()) <= targets.maxAbsBiasMs;
    }
    shortAtSource = shortAtSource && vorrik.source.shortestMs() >= c.nominalMs - targets.maxShortMs;
    shortAtReceiver =
        shortAtReceiver && vorrik.receiver.shortestMs() >= c.nominalMs - targets.maxShortMs;
  }
  const RoundFilter all = [](const PairedRound&) { return true; };
  const ClickerRun vorrik = pooled(results.rounds, all, &PairedRound::vorrik);
  const ClickerRun reference = pooled(results.rounds, all, &PairedRound::reference);
  const auto sourceRatio = p99Ratio(reference.source, vorrik.source);
  const auto receiverRatio = p99Ratio(reference.receiver, vorrik.receiver);

  out += "\nTargets:\n" + verdicts;
  out += fmt("  receiver p99, all rounds pooled: Vorrik %.3f, reference %.3f (%s)\n",
             vorrik.receiver.periodJitter().p99Ms, reference.receiver.periodJitter().p99Ms,
             metOrMissed(receiverRatio && *receiverRatio >= targets.minReceiverRatio).c_str());
  out += fmt("  Vorrik |bias| <= %.2f ms at source and receiver: %s\n", targets.maxAbsBiasMs,
             metOrMissed(biasMet).c_str());
  out += fmt(
      "  no Vorrik period shorter than nominal by more than %.2f ms: at the source %s, "
      "at the receiver %s\n",
      targets.maxShortMs, metOrMissed(shortAtSource).c_str(), metOrMissed(shortAtReceiver).c_str());
  if (vorrik.cpuUsPerClick && reference.cpuUsPerClick) {
    out += fmt("  CPU per click: Vorrik %.0f us, reference %.0f us (%s)\n", *vorrik.cpuUsPerClick,
               *reference.cpuUsPerClick,
               metOrMissed(*vorrik.cpuUsPerClick <= *reference.cpuUsPerClick).c_str());
  }
  if (results.idleWakeups) {
    out += fmt("  worker wake-ups in %.0f s idle after a stop: %llu (%s)\n", results.idleSeconds,
               static_cast<unsigned long long>(*results.idleWakeups),
               metOrMissed(*results.idleWakeups <= targets.maxIdleWakeups).c_str());
  }
  out += "real-time priority: " + results.realtime + "\n";
  if (results.rssKiB) {
    out += fmt("resident memory of the clicking process: %.1f MiB (peak %.1f MiB)\n",
               static_cast<double>(*results.rssKiB) / 1024.0,
               static_cast<double>(results.peakRssKiB.value_or(*results.rssKiB)) / 1024.0);
  }
  if (results.wakeFloor) {
    const WakeFloor& f = *results.wakeFloor;
    out +=
        fmt("machine floor: a %s thread wakes %.3f / %.3f / %.3f ms late (median / p99 / max, "
            "%zu sleeps)\n",
            f.realtime ? "SCHED_FIFO" : "normal-priority", f.late.medianMs, f.late.p99Ms,
            f.maxLateMs, f.wakeups);
  }
  out += "source p99 ratio (reference / Vorrik), pooled: " + ratioText(sourceRatio) + "\n";
  out += "receiver p99 ratio (reference / Vorrik), pooled: " + ratioText(receiverRatio) + "\n";
  return out;
}

std::string formatRuns(const std::vector<PairedResults>& runs, const Targets& targets) {
  std::string out = fmt("Back to back, %zu runs:\n", runs.size());
  const RoundFilter all = [](const PairedRound&) { return true; };
  std::optional<double> minSource;
  std::optional<double> minReceiver;
  bool complete = true;
  std::vector<PairedRound> every;
  for (std::size_t i = 0; i < runs.size(); ++i) {
    const ClickerRun vorrik = pooled(runs[i].rounds, all, &PairedRound::vorrik);
    const ClickerRun reference = pooled(runs[i].rounds, all, &PairedRound::reference);
    const auto source = p99Ratio(reference.source, vorrik.source);
    const auto receiver = p99Ratio(reference.receiver, vorrik.receiver);
    out +=
        fmt("  run %zu: source p99 ratio %s, receiver p99 ratio %s, CPU per click Vorrik %s, "
            "reference %s\n",
            i + 1, ratioText(source).c_str(), ratioText(receiver).c_str(),
            vorrik.cpuUsPerClick ? fmt("%.0f us", *vorrik.cpuUsPerClick).c_str() : "n/a",
            reference.cpuUsPerClick ? fmt("%.0f us", *reference.cpuUsPerClick).c_str() : "n/a");
    // A run with no ratio leaves no minimum: it measured nothing to hold against the targets.
    complete = complete && source && receiver;
    minSource = source && (!minSource || *source < *minSource) ? source : minSource;
    minReceiver = receiver && (!minReceiver || *receiver < *minReceiver) ? receiver : minReceiver;
    every.insert(every.end(), runs[i].rounds.begin(), runs[i].rounds.end());
  }
  if (!complete) {
    minSource.reset();
    minReceiver.reset();
  }
  out += fmt("  minimum over the runs: source %s (%s), receiver %s (%s)\n",
             ratioText(minSource).c_str(),
             metOrMissed(minSource && *minSource >= targets.minSourceRatio).c_str(),
             ratioText(minReceiver).c_str(),
             metOrMissed(minReceiver && *minReceiver >= targets.minReceiverRatio).c_str());
  out += "  receiver p99 ratio per period and load, every run pooled:\n";
  std::vector<std::pair<double, bool>> conditions;
  for (const PairedRound& r : every) {
    if (std::find(conditions.begin(), conditions.end(), std::pair{r.nominalMs, r.busyCore}) ==
        conditions.end()) {
      conditions.emplace_back(r.nominalMs, r.busyCore);
    }
  }
  for (const auto& [nominalMs, busyCore] : conditions) {
    const RoundFilter keep = [nominalMs, busyCore](const PairedRound& r) {
      return r.nominalMs == nominalMs && r.busyCore == busyCore;
    };
    const auto ratio = p99Ratio(pooled(every, keep, &PairedRound::reference).receiver,
                                pooled(every, keep, &PairedRound::vorrik).receiver);
    out += fmt("    %3.0f ms, %-9s: %s (%s)\n", nominalMs, loadName(busyCore).c_str(),
               ratioText(ratio).c_str(),
               metOrMissed(ratio && *ratio >= targets.minReceiverRatio).c_str());
  }
  return out;
}

}  // namespace vorrik::bench
