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

TEST(Median, OddEvenAndEmpty) {
  EXPECT_DOUBLE_EQ(median({3, 1, 2}), 2);
  EXPECT_DOUBLE_EQ(median({4, 1, 3, 2}), 2.5);
  EXPECT_DOUBLE_EQ(median({7}), 7);
  EXPECT_DOUBLE_EQ(median({}), 0);
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

TEST(SummarisePresses, EvenPeriodsHaveTheirBiasAndNoJitter) {
  const auto presses = pressesFromPeriods(std::vector<double>(300, 58.2));
  const PeriodSummary s = summarisePresses(presses, 58);
  EXPECT_EQ(s.presses, 301u);
  EXPECT_EQ(s.periods, 300u);
  EXPECT_NEAR(s.medianPeriodMs, 58.2, 1e-9);
  EXPECT_NEAR(s.biasMs, 0.2, 1e-9);
  EXPECT_NEAR(s.jitterMedianMs, 0, 1e-9);
  EXPECT_NEAR(s.jitterP99Ms, 0, 1e-9);
  EXPECT_NEAR(s.jitterMaxMs, 0, 1e-9);
}

TEST(SummarisePresses, JitterIsMeasuredFromTheMedianPeriodNotTheNominalOne) {
  // One late press lengthens one period and shortens the next; the rest sit 1 ms off nominal.
  std::vector<double> periods(100, 129);
  periods[40] = 131.5;
  periods[41] = 126.5;
  const PeriodSummary s = summarisePresses(pressesFromPeriods(periods), 128);
  EXPECT_NEAR(s.medianPeriodMs, 129, 1e-9);
  EXPECT_NEAR(s.biasMs, 1, 1e-9);
  EXPECT_NEAR(s.jitterMedianMs, 0, 1e-9);
  // 2 of 100 deviations are 2.5 ms: the 99th-ranked one is one of them.
  EXPECT_NEAR(s.jitterP99Ms, 2.5, 1e-9);
  EXPECT_NEAR(s.jitterMaxMs, 2.5, 1e-9);
}

TEST(SummarisePresses, TooFewPressesGiveNoPeriodsAndNoFigures) {
  for (std::size_t count : {0u, 1u}) {
    const std::vector<nanoseconds> presses(count, nanoseconds(1000));
    const PeriodSummary s = summarisePresses(presses, 58);
    EXPECT_EQ(s.presses, count);
    EXPECT_EQ(s.periods, 0u);
    EXPECT_EQ(s.biasMs, 0);
    EXPECT_EQ(s.jitterMaxMs, 0);
    EXPECT_EQ(s.nominalMs, 58);
  }
}

TEST(BreakDown, SplitsEachPeriodIntoItsParts) {
  using std::chrono::milliseconds;
  const std::vector<nanoseconds> late{microseconds(50), microseconds(70), microseconds(60)};
  const std::vector<nanoseconds> queries{microseconds(100), microseconds(300), microseconds(200)};
  const std::vector<nanoseconds> downs{milliseconds(1000), milliseconds(1058) + microseconds(400),
                                       milliseconds(1116) + microseconds(800)};
  const std::vector<nanoseconds> ups{downs[0] + microseconds(8100), downs[1] + microseconds(8100)};
  // The last press never arrived: pairs stop where the shorter list ends.
  const std::vector<nanoseconds> presses{downs[0] + microseconds(150),
                                         downs[1] + microseconds(250)};
  const Breakdown b = breakDown(late, queries, downs, ups, presses, 58);
  EXPECT_NEAR(b.timerLate.medianMs, 0.06, 1e-9);
  EXPECT_NEAR(b.pointerQuery.p99Ms, 0.3, 1e-9);
  EXPECT_NEAR(b.pressHeld.medianMs, 8.1, 1e-9);
  EXPECT_EQ(b.atPost.periods, 2u);
  EXPECT_NEAR(b.atPost.biasMs, 0.4, 1e-9);
  EXPECT_NEAR(b.postToReceiver.medianMs, 0.2, 1e-9);
  EXPECT_NEAR(b.postToReceiver.p99Ms, 0.25, 1e-9);
}

}  // namespace
}  // namespace vorrik::bench
