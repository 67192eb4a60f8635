// SPDX-License-Identifier: MIT
// What a run reads from the panel's texts and how the target line writes points, without a
// window; the panel tests follow one row of each through the real controls, ReadIntegerTest
// the integer format.
#include <gtest/gtest.h>

#include <QString>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "panel/PanelTexts.h"

namespace vorrik::ui {
namespace {

struct SettingsCase {
  int preset = 0;
  const char* custom = "";
  bool jitter = false;
  const char* stopAfter = "";
  RunSettings read;
};

TEST(PanelSettingsReading, FallsBackAndKeepsWithinBounds) {
  const SettingsCase cases[] = {
      // The custom interval: unreadable or empty is 120 ms; 50 ms to 60 s.
      {3, "", false, "", {120, 0, 0}},
      {3, "200ms", false, "", {120, 0, 0}},
      {3, "+200", false, "", {200, 0, 0}},
      {3, "30", false, "", {50, 0, 0}},
      {3, "-5", false, "", {50, 0, 0}},
      {3, "90000", false, "", {60000, 0, 0}},
      // Jitter: a tenth of the interval, at least 5 ms.
      {3, "59", true, "", {59, 5, 0}},
      {3, "1234", true, "", {1234, 123, 0}},
      // The presets ignore the field; no selection is the first preset.
      {0, "777", true, "", {120, 12, 0}},
      {1, "777", true, "", {2500, 250, 0}},
      {2, "", false, "", {3000, 0, 0}},
      {-1, "777", false, "", {120, 0, 0}},
      // Stop after: unreadable or empty is no limit.
      {0, "", false, "10", {120, 0, 10}},
      {0, "", false, "10 ", {120, 0, 0}},
  };
  for (const SettingsCase& c : cases) {
    const RunSettings read = readSettings(c.preset, QString::fromUtf8(c.custom), c.jitter,
                                          QString::fromUtf8(c.stopAfter));
    EXPECT_EQ(read, c.read) << c.preset << " \"" << c.custom << "\" " << c.jitter << " \""
                            << c.stopAfter << "\": " << read.intervalMs << ' ' << read.jitterMs
                            << ' ' << read.maxClicks;
  }
}

TEST(PanelTargetLine, TruncatesTowardZeroWithin64Bits) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  constexpr double kInf = std::numeric_limits<double>::infinity();
  const std::pair<std::vector<ClickPoint>, std::string> cases[] = {
      {{}, "Target: cursor"},
      {{{412.6, 230.2}}, "Target: 1 point(s) (412,230)"},
      {{{-250.5, 40.0}, {-0.9, 0.9}}, "Target: 2 point(s) (-250,40) (0,0)"},
      {{{1e300, -1e300}}, "Target: 1 point(s) (1000000000000000,-1000000000000000)"},
      {{{kNaN, kInf}, {-kInf, 7}}, "Target: 2 point(s) (0,0) (0,7)"},
  };
  for (const auto& [points, line] : cases) {
    EXPECT_EQ(targetText(points).toStdString(), line);
  }
}

}  // namespace
}  // namespace vorrik::ui
