// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <string>
#include <vector>

#include "Report.h"

namespace vorrik::bench {
namespace {

using std::chrono::microseconds;
using std::chrono::nanoseconds;

// A series of 101 presses whose periods are nominal plus bias, with every tenth off by spike.
Series series(double nominalMs, double biasMs, double spikeMs) {
  std::vector<nanoseconds> presses{nanoseconds(1'000'000'000)};
  std::vector<nanoseconds> releases;
  for (int i = 0; i < 100; ++i) {
    const double period = nominalMs + biasMs + (i % 10 == 0 ? spikeMs : 0);
    presses.push_back(presses.back() + microseconds(std::lround(period * 1000)));
  }
  for (nanoseconds p : presses) {
    releases.push_back(p + microseconds(8000));
  }
  return summarise(presses, releases, nominalMs);
}

PairedRound round(int number, double nominalMs, bool busy, double vorrikSpike,
                  double referenceSpike, double vorrikBias = 0.05) {
  PairedRound r;
  r.round = number;
  r.nominalMs = nominalMs;
  r.busyCore = busy;
  r.vorrik.source = series(nominalMs, vorrikBias, vorrikSpike);
  r.vorrik.receiver = series(nominalMs, vorrikBias, vorrikSpike * 2);
  r.vorrik.cpuUsPerClick = 100;
  r.reference.source = series(nominalMs, 0.3, referenceSpike);
  r.reference.receiver = series(nominalMs, 0.3, referenceSpike * 2);
  r.reference.cpuUsPerClick = 120;
  return r;
}

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> out;
  std::size_t start = 0;
  for (std::size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
    out.push_back(text.substr(start, end - start));
  }
  return out;
}

TEST(P99Ratio, IsReferenceOverVorrikAndAbsentRatherThanInfinite) {
  EXPECT_NEAR(*p99Ratio(series(58, 0, 0.9), series(58, 0, 0.3)), 3.0, 0.01);
  EXPECT_FALSE(p99Ratio(series(58, 0, 0.9), series(58, 0, 0)));
  EXPECT_FALSE(p99Ratio(Series{}, series(58, 0, 0.3)));
}

TEST(Pooled, EndsWithBothRatioLinesAndJudgesEachTarget) {
  PairedResults results;
  results.setup = "test";
  results.realtime = "not granted";
  // Source ratio 3 in four rounds at 58 ms and 1.5 in one; 1.5 everywhere at 128 ms. Pooled,
  // the top 1% are the reference's largest spikes.
  for (int i = 1; i <= 5; ++i) {
    results.rounds.push_back(round(i, 58, false, 0.2, i == 5 ? 0.3 : 0.6));
    results.rounds.push_back(round(i, 128, false, 0.2, 0.3, 0.2));
  }
  results.idleWakeups = 0;
  const std::string text = formatPooled(results, Targets{});
  const auto all = lines(text);
  ASSERT_GE(all.size(), 2U);
  EXPECT_EQ(all[all.size() - 2], "source p99 ratio (reference / Vorrik), pooled: 3.00");
  EXPECT_EQ(all.back(), "receiver p99 ratio (reference / Vorrik), pooled: 3.00");
  EXPECT_NE(text.find("58 ms, idle     : source p99 ratio >= 2 in 4 of 5 rounds (met)"),
            std::string::npos);
  EXPECT_NE(text.find("128 ms, idle     : source p99 ratio >= 2 in 0 of 5 rounds (MISSED)"),
            std::string::npos);
  EXPECT_NE(text.find("|bias| <= 0.10 ms at source and receiver: MISSED"), std::string::npos);
  EXPECT_NE(text.find("CPU per click: Vorrik 100 us, reference 120 us (met)"), std::string::npos);
  EXPECT_NE(text.find("wake-ups in 0 s idle after a stop: 0 (met)"), std::string::npos);
}

TEST(Runs, TakeTheWorstRunAndPoolEachConditionOverAllRuns) {
  // Receiver ratio 3 in the first run; in the second 3 when idle but 0.5 with a core busy.
  std::vector<PairedResults> runs(2);
  runs[0].rounds = {round(1, 58, false, 0.2, 0.6), round(1, 58, true, 0.2, 0.6)};
  runs[1].rounds = {round(1, 58, false, 0.2, 0.6), round(1, 58, true, 1.2, 0.6)};
  const std::string text = formatRuns(runs, Targets{});
  EXPECT_NE(text.find("run 1: source p99 ratio 3.00, receiver p99 ratio 3.00, CPU per click "
                      "Vorrik 100 us, reference 120 us"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("minimum over the runs: source 0.50 (MISSED), receiver 0.50 (MISSED)"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find(" 58 ms, idle     : 3.00 (met)"), std::string::npos) << text;
  EXPECT_NE(text.find(" 58 ms, busy core: 0.50 (MISSED)"), std::string::npos) << text;
  // A run that measured nothing leaves no minimum to meet a target with.
  runs.emplace_back();
  EXPECT_NE(formatRuns(runs, Targets{}).find("minimum over the runs: source n/a (MISSED)"),
            std::string::npos);
}

TEST(Rounds, ListEveryRoundWithItsRatios) {
  PairedResults results;
  results.rounds.push_back(round(1, 58, true, 0.2, 0.6));
  const std::string text = formatRounds(results);
  EXPECT_NE(text.find("round 1,  58 ms, busy core: source 3.00, receiver 3.00"), std::string::npos);
}

}  // namespace
}  // namespace vorrik::bench
