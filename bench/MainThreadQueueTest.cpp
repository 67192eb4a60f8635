// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

#include "MainThreadQueue.h"

namespace vorrik::bench {
namespace {

using namespace std::chrono_literals;

TEST(MainThreadQueue, RunsTasksFromAnyThreadInOrderOnTheCallingThread) {
  MainThreadQueue queue;
  std::vector<int> ran;
  std::vector<std::thread::id> ranOn;
  std::thread worker([&] {
    for (int i = 0; i < 100; ++i) {
      queue.post([&, i] {
        ran.push_back(i);
        ranOn.push_back(std::this_thread::get_id());
      });
    }
  });
  const bool done =
      queue.runUntil([&] { return ran.size() == 100; }, std::chrono::steady_clock::now() + 60s);
  worker.join();
  ASSERT_TRUE(done);
  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(ran[static_cast<std::size_t>(i)], i);
  }
  for (auto id : ranOn) {
    EXPECT_EQ(id, std::this_thread::get_id());
  }
}

TEST(MainThreadQueue, GivesUpAtTheDeadlineWhenNothingComes) {
  MainThreadQueue queue;
  EXPECT_FALSE(queue.runUntil([] { return false; }, std::chrono::steady_clock::now() + 10ms));
  // A condition that already holds needs no task.
  EXPECT_TRUE(queue.runUntil([] { return true; }, std::chrono::steady_clock::now()));
}

}  // namespace
}  // namespace vorrik::bench
