// SPDX-License-Identifier: MIT
// One input monitor over two sources that number their monitors independently.
#include <gtest/gtest.h>

#include "platform/fake/FakeInputMonitor.h"
#include "platform/portal/CombinedInput.h"

namespace vorrik::portal {
namespace {

TEST(CombinedInput, RoutesEachMonitorToItsSourceAndBackByItsOwnHandle) {
  fake::FakeInputMonitor keys;
  fake::FakeInputMonitor presses;
  CombinedInput input;
  // Without sources every monitor is refused.
  EXPECT_FALSE(input.addKeyMonitor([](Key) {}));
  EXPECT_FALSE(input.addLeftPressMonitor([] {}));
  input.setKeySource(&keys);
  input.setLeftPressSource(&presses);

  int f6 = 0;
  int lefts = 0;
  // Both sources hand out handle 1 first; the combined handles must still differ.
  const auto key = input.addKeyMonitor([&](Key k) { f6 += k == Key::f6 ? 1 : 0; });
  const auto left = input.addLeftPressMonitor([&] { ++lefts; });
  ASSERT_TRUE(key && left);
  EXPECT_NE(*key, *left);
  keys.pressKey(Key::f6);
  presses.pressLeft();
  EXPECT_EQ(f6, 1);
  EXPECT_EQ(lefts, 1);

  // Removing one reaches only its own source; unknown and repeated handles are ignored.
  input.remove(*left);
  input.remove(*left);
  input.remove(9999);
  EXPECT_TRUE(presses.leftPressMonitors().empty());
  EXPECT_EQ(keys.keyMonitors().size(), 1U);
  presses.pressLeft();
  keys.pressKey(Key::f6);
  EXPECT_EQ(lefts, 1);
  EXPECT_EQ(f6, 2);
}

}  // namespace
}  // namespace vorrik::portal
