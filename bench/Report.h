// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Floor.h"
#include "Stats.h"

namespace vorrik::bench {

// One timed series of clicks from one clicker, under one load.
struct TimingCase {
  std::string clicker;  // "Vorrik" or the reference tool's name
  bool reference = false;
  // The interval the clicker was given (engine intervalMs, or the reference's --delay).
  std::int64_t settingMs = 0;
  bool busyCore = false;
  std::size_t expectedPresses = 0;
  PeriodSummary summary;
  // CPU time per 1000 clicks, when it could be measured.
  std::optional<double> cpuMsPer1000;
  // For the engine's cases: where the time went.
  std::optional<Breakdown> breakdown;
};

// What the figures are held against.
struct Targets {
  double maxAbsBiasMs = 0.3;
  double maxP99IdleMs = 0.5;
  double maxP99BusyMs = 1.0;
  double minRatio = 2.0;
  std::uint64_t maxIdleWakeups = 0;
};

// Everything one benchmark run measured.
struct BenchResults {
  std::string display;
  // How the X server and the receiver were scheduled.
  std::string measuringPath;
  // Departures from the plain run (measuring set-up or experiments), empty for the real figures.
  std::vector<std::string> variants;
  std::vector<TimingCase> cases;
  std::optional<WakeFloor> wakeFloor;
  std::optional<long> rssKiB;
  std::optional<long> peakRssKiB;
  std::optional<std::uint64_t> idleWakeups;
  double idleSeconds = 0;
};

// The shortcomings of an engine case against the targets ("bias", "p99", "presses"), empty when
// it meets them all.
std::vector<std::string> shortfalls(const TimingCase& timing, const Targets& targets);

// Reference p99 jitter over Vorrik's, for the cases at that nominal period and load; nothing
// when either is missing or Vorrik's p99 is zero.
std::optional<double> jitterRatio(const BenchResults& results, double nominalMs, bool busyCore);

// The figures as an aligned plain-text table with a few summary lines below it.
std::string formatTable(const BenchResults& results, const Targets& targets);
// The figures as a JSON document.
std::string formatJson(const BenchResults& results, const Targets& targets);
// The closing line: the ratio for the idle case at nominalMs, two decimals, or "n/a".
std::string formatRatioLine(const BenchResults& results, double nominalMs);

}  // namespace vorrik::bench
