// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <map>
#include <vector>

#include "engine/Targets.h"
#include "platform/posix/PosixServices.h"

namespace vorrik {
namespace {

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

}  // namespace
}  // namespace vorrik
