// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <map>
#include <vector>

#include "engine/ClickType.h"
#include "engine/Targets.h"
#include "platform/fake/Fakes.h"
#include "platform/posix/PosixServices.h"

namespace vorrik {
namespace {

constexpr ScreenRect kPrimary{0, 0, 1920, 1080};

struct FlipCase {
  const char* name;
  double x;
  double y;
  std::vector<ScreenRect> screens;
  std::optional<ScreenRect> main;
  std::optional<ClickPoint> expected;
  friend void PrintTo(const FlipCase& c, std::ostream* os) { *os << c.name; }
};
class Flip : public ::testing::TestWithParam<FlipCase> {};

TEST_P(Flip, UsesTheTopEdgeOfTheScreenHoldingThePointerElseTheMainOne) {
  const FlipCase& c = GetParam();
  EXPECT_EQ(flipToClickSpace(c.x, c.y, c.screens, c.main), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Targets, Flip,
    ::testing::Values(
        FlipCase{"OnlyScreen", 100, 100, {kPrimary}, kPrimary, ClickPoint{100, 980}},
        FlipCase{"CaptureOnOnlyScreen", 100, 200, {kPrimary}, kPrimary, ClickPoint{100, 880}},
        FlipCase{"SecondScreenOwnTop",
                 2000,
                 500,
                 {kPrimary, {1920, 0, 1280, 1024}},
                 kPrimary,
                 ClickPoint{2000, 524}},
        FlipCase{"SecondScreenBelowOrigin",
                 2000,
                 100,
                 {kPrimary, {1920, -300, 1280, 1024}},
                 kPrimary,
                 ClickPoint{2000, 624}},
        FlipCase{"TopEdgeBelongsToMain", 500, 1080, {kPrimary}, kPrimary, ClickPoint{500, 0}},
        FlipCase{"NoScreenAtAll", 500, 500, {}, std::nullopt, std::nullopt}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(Jitter, ScriptedDrawsMapOntoMinusJToPlusJ) {
  fake::FakeRandom random;
  random.script({0, 1, 2, 0, 24});
  EXPECT_EQ(drawJitter(random, 1), -1);
  EXPECT_EQ(drawJitter(random, 1), 0);
  EXPECT_EQ(drawJitter(random, 1), 1);
  EXPECT_EQ(drawJitter(random, 12), -12);
  EXPECT_EQ(drawJitter(random, 12), 12);
}

// Pearson's chi-square against the uniform distribution. The thresholds are far in the tail
// (p below 1e-6), so a correct source practically never fails, while a biased one does.
class SystemJitter : public ::testing::TestWithParam<std::pair<std::int64_t, double>> {};

TEST_P(SystemJitter, IsUniformOverExactlyMinusJToPlusJ) {
  const auto [j, threshold] = GetParam();
  posix::SystemRandom random;
  const std::int64_t values = 2 * j + 1;
  const std::int64_t perValue = 2000;
  std::map<std::int64_t, std::int64_t> seen;
  for (std::int64_t i = 0; i < values * perValue; ++i) {
    ++seen[drawJitter(random, j)];
  }
  ASSERT_EQ(static_cast<std::int64_t>(seen.size()), values);
  EXPECT_EQ(seen.begin()->first, -j);
  EXPECT_EQ(seen.rbegin()->first, j);
  double chiSquare = 0;
  for (const auto& [value, count] : seen) {
    chiSquare += double(count - perValue) * double(count - perValue) / double(perValue);
  }
  EXPECT_LT(chiSquare, threshold);
}

INSTANTIATE_TEST_SUITE_P(Targets, SystemJitter,
                         ::testing::Values(std::pair<std::int64_t, double>{1, 30.0},
                                           std::pair<std::int64_t, double>{12, 80.0}));

TEST(ClickTypes, RawValuesRoundTripAndOthersGiveNothing) {
  for (ClickType type : allClickTypes) {
    EXPECT_EQ(clickTypeFromRaw(rawValue(type)), type);
  }
  EXPECT_EQ(rawValue(ClickType::double_), "double");
  EXPECT_EQ(clickTypeFromRaw("Double"), std::nullopt);
  EXPECT_EQ(clickTypeFromRaw(""), std::nullopt);
}

}  // namespace
}  // namespace vorrik
