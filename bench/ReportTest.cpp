// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "Report.h"

namespace vorrik::bench {
namespace {

TimingCase engineCase(double nominalMs, bool busy, double bias, double p99,
                      std::size_t presses = 301) {
  TimingCase t;
  t.clicker = "Vorrik";
  t.settingMs = static_cast<std::int64_t>(nominalMs) - 8;
  t.busyCore = busy;
  t.expectedPresses = 301;
  t.summary.presses = presses;
  t.summary.periods = presses > 0 ? presses - 1 : 0;
  t.summary.nominalMs = nominalMs;
  t.summary.medianPeriodMs = nominalMs + bias;
  t.summary.biasMs = bias;
  t.summary.jitterP99Ms = p99;
  t.summary.jitterMaxMs = p99;
  return t;
}

TimingCase referenceCase(double nominalMs, bool busy, double p99) {
  TimingCase t = engineCase(nominalMs, busy, 0.9, p99);
  t.clicker = "xdotool";
  t.reference = true;
  t.settingMs = static_cast<std::int64_t>(nominalMs);
  return t;
}

struct ShortfallCase {
  const char* name;
  TimingCase timing;
  std::vector<std::string> expected;
};

void PrintTo(const ShortfallCase& c, std::ostream* os) {
  *os << c.name;
}

class Shortfalls : public testing::TestWithParam<ShortfallCase> {};

TEST_P(Shortfalls, NameEveryMissedTarget) {
  EXPECT_EQ(shortfalls(GetParam().timing, Targets{}), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Targets, Shortfalls,
    testing::Values(
        ShortfallCase{"AllMetIdle", engineCase(128, false, 0.3, 0.5), {}},
        ShortfallCase{"EarlyBiasCountsToo", engineCase(128, false, -0.31, 0.2), {"bias"}},
        ShortfallCase{"IdleP99OverHalfAMs", engineCase(58, false, 0.1, 0.51), {"p99"}},
        ShortfallCase{"BusyCoreAllowsOneMs", engineCase(58, true, 0.1, 0.9), {}},
        ShortfallCase{"BusyCoreOverOneMs", engineCase(58, true, 0.1, 1.01), {"p99"}},
        ShortfallCase{"LostPresses", engineCase(58, false, 0, 0.1, 300), {"presses"}},
        ShortfallCase{
            "NothingArrived", engineCase(58, false, 0.4, 0.6, 0), {"presses", "bias", "p99"}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(JitterRatio, PairsCasesByNominalPeriodAndLoad) {
  BenchResults results;
  results.cases = {engineCase(58, false, 0, 0.2), engineCase(128, false, 0, 0.25),
                   engineCase(128, true, 0, 0.5), referenceCase(128, false, 1.0),
                   referenceCase(58, false, 0.3)};
  EXPECT_DOUBLE_EQ(*jitterRatio(results, 128, false), 4.0);
  EXPECT_DOUBLE_EQ(*jitterRatio(results, 58, false), 1.5);
  // No reference ran with a busy core.
  EXPECT_FALSE(jitterRatio(results, 128, true));
  EXPECT_FALSE(jitterRatio(results, 70, false));
}

TEST(JitterRatio, IsAbsentRatherThanInfiniteForAZeroP99) {
  BenchResults results;
  results.cases = {engineCase(128, false, 0, 0), referenceCase(128, false, 1.0)};
  EXPECT_FALSE(jitterRatio(results, 128, false));
}

TEST(RatioLine, HasTwoDecimalsOrSaysNotAvailable) {
  BenchResults results;
  results.cases = {engineCase(128, false, 0, 0.3), referenceCase(128, false, 1.0)};
  EXPECT_EQ(formatRatioLine(results, 128), "p99 jitter ratio (reference / Vorrik): 3.33");
  results.cases.pop_back();
  EXPECT_EQ(formatRatioLine(results, 128), "p99 jitter ratio (reference / Vorrik): n/a");
}

TEST(Table, FlagsAMissedTargetAndAMissedRatio) {
  BenchResults results;
  results.cases = {engineCase(128, false, 0.5, 0.3), referenceCase(128, false, 0.45)};
  results.idleWakeups = 0;
  results.idleSeconds = 2;
  const std::string table = formatTable(results, Targets{});
  EXPECT_NE(table.find("MISSED: bias"), std::string::npos) << table;
  EXPECT_NE(table.find("p99 jitter ratio at 128 ms, idle: 1.50 (MISSED)"), std::string::npos)
      << table;
  EXPECT_NE(table.find("wake-ups in 2.0 s idle after a stop: 0 (met)"), std::string::npos) << table;
}

TEST(Json, WritesNullForFiguresThatCouldNotBeMeasured) {
  BenchResults results;
  results.cases = {engineCase(128, false, 0, 0.3)};
  const std::string json = formatJson(results, Targets{});
  EXPECT_NE(json.find("\"cpuMsPer1000Clicks\": null"), std::string::npos) << json;
  EXPECT_NE(json.find("\"idleWakeups\": null"), std::string::npos) << json;
  EXPECT_EQ(json.front(), '{');
  EXPECT_EQ(json.substr(json.size() - 2), "}\n");
}

}  // namespace
}  // namespace vorrik::bench
