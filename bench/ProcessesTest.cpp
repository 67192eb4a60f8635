// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <fstream>
#include <ostream>
#include <string>
#include <vector>

#include "Processes.h"

namespace vorrik::bench {
namespace {

struct ChildCase {
  const char* name;
  std::vector<std::string> argv;
  int exitCode;
};

void PrintTo(const ChildCase& c, std::ostream* os) {
  *os << c.name;
}

class RunChild : public testing::TestWithParam<ChildCase> {};

TEST_P(RunChild, ReportsHowTheChildEnded) {
  const auto run = runChild(GetParam().argv);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exitCode, GetParam().exitCode);
  EXPECT_GE(run->cpuTime.count(), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Endings, RunChild,
    testing::Values(ChildCase{"Success", {"true"}, 0},
                    ChildCase{"Failure", {"sh", "-c", "exit 3"}, 3},
                    // Killed by a signal: 128 + its number, as a shell reports it.
                    ChildCase{"Killed", {"sh", "-c", "kill -9 $$"}, 137}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(SpawnChild, AddsToTheEnvironmentAndCapturesTheOutput) {
  const std::string out = testing::TempDir() + "/spawn.out";
  const auto pid = spawnChild({"sh", "-c", "echo \"$VORRIK_X $HOME\"; echo oops >&2"},
                              {"VORRIK_X=one", "HOME=/nowhere"}, out);
  ASSERT_TRUE(pid);
  ASSERT_TRUE(waitChild(*pid));
  std::ifstream file(out);
  std::string first;
  std::string second;
  std::getline(file, first);
  std::getline(file, second);
  EXPECT_EQ(first, "one /nowhere");
  EXPECT_EQ(second, "oops");
}

TEST(RunChild, IsNothingForAProgramThatDoesNotExist) {
  EXPECT_FALSE(runChild({"vorrik-no-such-program"}));
}

TEST(ProcessStatus, ReadsSizesAndIsNothingForAnUnknownField) {
  const auto rss = statusKiB("VmRSS");
  ASSERT_TRUE(rss);
  EXPECT_GT(*rss, 0);
  EXPECT_GE(statusKiB("VmHWM").value_or(0), *rss);
  EXPECT_FALSE(statusKiB("NoSuchField"));
  // A prefix of a real field is not that field.
  EXPECT_FALSE(statusKiB("VmRS"));
}

}  // namespace
}  // namespace vorrik::bench
