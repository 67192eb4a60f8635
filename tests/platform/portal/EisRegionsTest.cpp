// SPDX-License-Identifier: MIT
// Where a picked point lands among an EIS pointer's regions, whatever Xwayland's scale.
#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <optional>

#include "platform/portal/EisRegions.h"

namespace vorrik::portal {
namespace {

// Two monitors side by side: 1920x1080 at the origin, and a scale-2 panel of 2560x1600 pixels
// (1280x800 logical) to its right, top-aligned.
constexpr std::array kSideBySide{EisRegion{0, 0, 1920, 1080}, EisRegion{1920, 0, 1280, 800}};
// One above the other, the upper one shifted right.
constexpr std::array kStacked{EisRegion{200, 0, 1280, 720}, EisRegion{0, 720, 1920, 1080}};

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

struct Case {
  const char* what;
  std::span<const EisRegion> regions;
  ClickPoint at;
  double xScale;
  std::optional<ClickPoint> expected;
};

TEST(PortalEisRegions, MapsRootPixelsToTheRegionThatHoldsThem) {
  const std::array cases{
      Case{"first monitor", kSideBySide, {100, 200}, 1, ClickPoint{100, 200}},
      Case{"second monitor", kSideBySide, {2000, 700}, 1, ClickPoint{2000, 700}},
      Case{"first pixel of the second", kSideBySide, {1920, 0}, 1, ClickPoint{1920, 0}},
      Case{"last pixel of the first", kSideBySide, {1919, 1079}, 1, ClickPoint{1919, 1079}},
      Case{"under the shorter monitor", kSideBySide, {2000, 900}, 1, std::nullopt},
      Case{"right of the layout", kSideBySide, {3200, 10}, 1, std::nullopt},
      Case{"left of the layout", kSideBySide, {-1, 10}, 1, std::nullopt},
      Case{"fraction rounds to its pixel", kSideBySide, {99.6, 0.4}, 1, ClickPoint{100, 0}},
      // Xwayland scaling natively at 2: its root is the layout twice over.
      Case{"native scaling, first", kSideBySide, {201, 400}, 2, ClickPoint{100.5, 200}},
      Case{"native scaling, second", kSideBySide, {4000, 1500}, 2, ClickPoint{2000, 750}},
      Case{"native scaling, off", kSideBySide, {4000, 1700}, 2, std::nullopt},
      Case{"stacked, upper", kStacked, {300, 10}, 1, ClickPoint{300, 10}},
      Case{"stacked, left of the upper", kStacked, {100, 10}, 1, std::nullopt},
      Case{"stacked, lower", kStacked, {100, 1000}, 1, ClickPoint{100, 1000}},
      Case{"no regions", {}, {0, 0}, 1, std::nullopt},
      Case{"not a number", kSideBySide, {kNaN, 10}, 1, std::nullopt},
      Case{"infinite", kSideBySide, {10, kInf}, 1, std::nullopt},
      Case{"scale zero", kSideBySide, {10, 10}, 0, std::nullopt},
      Case{"scale not a number", kSideBySide, {10, 10}, kNaN, std::nullopt},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(regionPoint(c.regions, c.at, c.xScale), c.expected) << c.what;
  }
}

TEST(PortalEisRegions, ReadsXwaylandsScaleFromItsRootAgainstTheLayout) {
  struct ScaleCase {
    const char* what;
    std::span<const EisRegion> regions;
    double rootWidth;
    double rootHeight;
    double expected;
  };
  const std::array cases{
      ScaleCase{"root is the layout", kSideBySide, 3200, 1080, 1},
      ScaleCase{"native scaling at 2", kSideBySide, 6400, 2160, 2},
      ScaleCase{"native scaling at 3, offset layout", kStacked, 5760, 5400, 3},
      ScaleCase{"unknown root", kSideBySide, 0, 0, 1},
      ScaleCase{"root of another shape", kSideBySide, 6400, 1080, 1},
      ScaleCase{"fractional ratio", kSideBySide, 4800, 1620, 1},
      ScaleCase{"no regions", {}, 6400, 2160, 1},
      ScaleCase{"not a number", kSideBySide, kNaN, 2160, 1},
  };
  for (const ScaleCase& c : cases) {
    EXPECT_EQ(rootScale(c.regions, c.rootWidth, c.rootHeight), c.expected) << c.what;
  }
}

TEST(PortalEisRegions, CrossesToAnotherMonitorClearOfItsEdges) {
  // A narrow monitor right of a 1280x800 one, and two that touch only at a corner.
  constexpr std::array narrow{EisRegion{0, 0, 1280, 800}, EisRegion{1280, 0, 300, 200}};
  constexpr std::array corner{EisRegion{0, 0, 100, 100}, EisRegion{100, 100, 100, 100}};
  struct CrossCase {
    const char* what;
    std::span<const EisRegion> regions;
    std::optional<ClickPoint> from;
    ClickPoint to;
    std::optional<ClickPoint> expected;
  };
  const std::array cases{
      CrossCase{"same monitor", kSideBySide, ClickPoint{0, 0}, {1919, 1079}, std::nullopt},
      CrossCase{"to no monitor", kSideBySide, ClickPoint{0, 0}, {2000, 900}, std::nullopt},
      CrossCase{"right, from a corner",
                kSideBySide,
                ClickPoint{1919, 1079},
                {1920, 799},
                ClickPoint{2170, 400}},
      CrossCase{"left", kSideBySide, ClickPoint{3199, 0}, {0, 1079}, ClickPoint{1670, 400}},
      CrossCase{"down", kStacked, ClickPoint{200, 0}, {0, 1799}, ClickPoint{840, 970}},
      CrossCase{"up", kStacked, ClickPoint{1919, 1799}, {1479, 719}, ClickPoint{840, 470}},
      CrossCase{"half into a narrow monitor",
                narrow,
                ClickPoint{0, 799},
                {1579, 199},
                ClickPoint{1430, 100}},
      CrossCase{
          "pointer unknown: the centre", kSideBySide, std::nullopt, {0, 0}, ClickPoint{960, 540}},
      CrossCase{"pointer off every monitor",
                kSideBySide,
                ClickPoint{2000, 900},
                {1920, 0},
                ClickPoint{2560, 400}},
      CrossCase{
          "no shared edge: the centre", corner, ClickPoint{0, 0}, {199, 199}, ClickPoint{150, 150}},
  };
  for (const CrossCase& c : cases) {
    EXPECT_EQ(crossingPoint(c.regions, c.from, c.to), c.expected) << c.what;
  }
}

}  // namespace
}  // namespace vorrik::portal
