// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <chrono>
#include <ostream>
#include <vector>

#include "Stats.h"

namespace vorrik::bench {
namespace {

using std::chrono::microseconds;
using std::chrono::nanoseconds;

// Press times from the periods between them, starting at an arbitrary clock reading.
std::vector<nanoseconds> pressesFromPeriods(const std::vector<double>& periodsMs) {
  std::vector<nanoseconds> presses{nanoseconds(5'000'000'000)};
  for (double ms : periodsMs) {
    presses.push_back(presses.back() + microseconds(static_cast<long>(ms * 1000.0)));
  }
  return presses;
}

struct PercentileCase {
  std::vector<double> values;
  double p;
  double expected;
};

void PrintTo(const PercentileCase& c, std::ostream* os) {
  *os << "p" << c.p << " of " << c.values.size() << " values";
}

class Percentile : public testing::TestWithParam<PercentileCase> {};

TEST_P(Percentile, IsTheNearestRank) {
  EXPECT_DOUBLE_EQ(percentile(GetParam().values, GetParam().p), GetParam().expected);
}

std::vector<double> oneTo(int n) {
  std::vector<double> values;
  for (int i = n; i >= 1; --i) {
    values.push_back(i);  // unsorted on purpose
  }
  return values;
}

INSTANTIATE_TEST_SUITE_P(
    Ranks, Percentile,
    testing::Values(PercentileCase{oneTo(100), 99, 99}, PercentileCase{oneTo(300), 99, 297},
                    // With fewer than 100 values, p99 is the largest: no outlier is hidden.
                    PercentileCase{oneTo(50), 99, 50}, PercentileCase{oneTo(10), 50, 5},
                    PercentileCase{oneTo(10), 100, 10}, PercentileCase{{42}, 99, 42},
                    PercentileCase{{}, 99, 0}));

// Releases a fixed hold after each press.
std::vector<nanoseconds> releasesAfter(const std::vector<nanoseconds>& presses, double holdMs) {
  std::vector<nanoseconds> releases;
  for (nanoseconds p : presses) {
    releases.push_back(p + microseconds(static_cast<long>(holdMs * 1000.0)));
  }
  return releases;
}

TEST(Summarise, SplitsPeriodsIntoHoldsAndGapsAndMeasuresJitterFromTheMedian) {
  // Nominal 58: periods 58.1 except one 59.1 and one 57.6; holds 8 ms except a 9 ms one.
  const auto presses = pressesFromPeriods({58.1, 58.1, 59.1, 58.1, 57.6, 58.1});
  auto releases = releasesAfter(presses, 8);
  releases[2] += microseconds(1000);
  const Series s = summarise(presses, releases, 58);
  EXPECT_EQ(s.presses, 7U);
  EXPECT_EQ(s.periods.size(), 6U);
  EXPECT_NEAR(s.medianPeriodMs, 58.1, 1e-6);
  EXPECT_NEAR(s.biasMs(), 0.1, 1e-6);
  EXPECT_NEAR(s.periodJitter().p50Ms, 0, 1e-6);
  EXPECT_NEAR(s.periodJitter().maxMs, 1.0, 1e-6);
  EXPECT_NEAR(s.shortestMs(), 57.6, 1e-6);
  EXPECT_NEAR(s.medianHoldMs, 8, 1e-6);
  EXPECT_NEAR(s.holdJitter().maxMs, 1.0, 1e-6);
  EXPECT_NEAR(s.medianGapMs, 50.1, 1e-6);
  // The long hold took the long period's extra time; the short period shows in its gap.
  EXPECT_NEAR(s.gapJitter().maxMs, 0.5, 1e-6);
}

TEST(Summarise, DropsAReleaseBeforeTheFirstPressAndCopesWithTooFewEvents) {
  const auto presses = pressesFromPeriods({58, 58});
  auto releases = releasesAfter(presses, 8);
  releases.insert(releases.begin(), presses.front() - microseconds(30000));
  const Series s = summarise(presses, releases, 58);
  EXPECT_NEAR(s.medianHoldMs, 8, 1e-6);
  EXPECT_NEAR(s.holdJitter().maxMs, 0, 1e-6);

  for (const auto& few : {std::vector<nanoseconds>{}, std::vector<nanoseconds>{presses[0]}}) {
    const Series none = summarise(few, {}, 58);
    EXPECT_TRUE(none.periods.empty());
    EXPECT_EQ(none.periodJitter().p99Ms, 0);
    EXPECT_EQ(none.shortestMs(), 0);
  }
}

TEST(Pool, KeepsEachSeriesDeviationsFromItsOwnMedian) {
  // Two even series with different medians pool to no jitter, and the shortest of both.
  const auto first = pressesFromPeriods({58.2, 58.2, 58.2});
  const auto second = pressesFromPeriods({58.4, 58.4});
  const Series a = summarise(first, releasesAfter(first, 8), 58);
  const Series b = summarise(second, releasesAfter(second, 8), 58);
  const std::vector<const Series*> both{&a, &b};
  const Series pooled = pool(both);
  EXPECT_EQ(pooled.presses, 7U);
  EXPECT_EQ(pooled.periods.size(), 5U);
  EXPECT_NEAR(pooled.medianPeriodMs, 58.2, 1e-6);
  EXPECT_NEAR(pooled.periodJitter().maxMs, 0, 1e-6);
  EXPECT_NEAR(pooled.shortestMs(), 58.2, 1e-6);
  EXPECT_NEAR(pooled.medianHoldMs, 8, 1e-6);
  EXPECT_EQ(pool({}).presses, 0U);
}

}  // namespace
}  // namespace vorrik::bench
