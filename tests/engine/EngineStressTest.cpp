// SPDX-License-Identifier: MIT
// The real timer thread clicks into fakes while the main thread rewrites settings and points and
// starts and stops as fast as it can. Run under ThreadSanitizer, any unsynchronised access shows.
#include <gtest/gtest.h>

#include <random>
#include <thread>

#include "EngineRig.h"
#include "platform/posix/PosixServices.h"

namespace vorrik::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// Runs main-thread tasks until pred holds or the generous deadline passes.
template <typename Pred>
bool pumpUntil(EngineRig& rig, Pred pred, std::chrono::milliseconds limit = 10s) {
  const auto deadline = Clock::now() + limit;
  while (!pred()) {
    if (Clock::now() > deadline) {
      return false;
    }
    rig.queue.drain();
    std::this_thread::sleep_for(1ms);
  }
  return true;
}

TEST(EngineStress, StormsFromTheMainThreadKeepEveryRunWithinItsCount) {
  constexpr std::int64_t kMax = 4;
  EngineRig rig(std::make_unique<posix::WorkerTimer>());
  ClickEngine& engine = *rig.engine;
  engine.maxClicks = kMax;

  std::atomic<std::int64_t> presses{0};
  std::atomic<int> pressesAtTheLimit{0};
  rig.injector.onPost([&](const MouseEvent& e) {
    if (e.action != MouseAction::down || e.clickState != 1) {
      return;  // one per click
    }
    ++presses;
    if (engine.sessionClicks() >= kMax) {
      ++pressesAtTheLimit;
    }
  });
  int runs = 0;
  int stops = 0;
  std::int64_t highestTick = 0;
  std::vector<std::string> doneTexts;
  engine.onTick = [&](std::int64_t n) { highestTick = std::max(highestTick, n); };
  engine.onStop = [&](const std::optional<std::string>& reason) {
    ++stops;
    if (reason != "Stopped") {
      doneTexts.push_back(reason.value_or("-"));
    }
  };

  std::mt19937 random(20240601);
  const auto end = Clock::now() + 2s;
  while (Clock::now() < end) {
    switch (random() % 12) {
      case 0:
        engine.intervalMs = random() % 2 != 0 ? std::int64_t{50} : std::int64_t{10};
        engine.jitterMs = static_cast<std::int64_t>(random() % 40);
        break;
      case 1:
        engine.burst = static_cast<std::int64_t>(random() % 4);
        break;
      case 2:
        engine.clickType = allClickTypes.at(random() % 3);
        break;
      case 3:
        if (engine.points.size() < 5) {
          engine.points.append({double(random() % 100), 1});
        } else {
          engine.points.clear();
        }
        break;
      case 4:
      case 5: {
        const bool wasRunning = engine.running();
        engine.start();
        runs += !wasRunning && engine.running() ? 1 : 0;
        break;
      }
      case 6:
        if (random() % 32 == 0) {
          engine.stop("Stopped");
        }
        break;
      case 7:
        rig.queue.drain();
        break;
      default:
        std::this_thread::sleep_for(300us);
    }
    ASSERT_LE(engine.sessionClicks(), kMax);
  }
  engine.stop("Stopped");
  rig.queue.drain();
  EXPECT_GT(presses.load(), 0);
  EXPECT_EQ(pressesAtTheLimit.load(), 0);
  EXPECT_LE(highestTick, kMax);
  EXPECT_EQ(stops, runs) << "onStop exactly once per run";
  for (const std::string& text : doneTexts) {
    EXPECT_EQ(text, "Done: 4 clicks.");
  }

  // From a quiet start, a whole run posts exactly its count and nothing follows its stop.
  std::this_thread::sleep_for(100ms);
  const std::int64_t before = presses.load();
  engine.burst = 3;
  engine.start();
  ASSERT_TRUE(pumpUntil(rig, [&] { return !engine.running(); }));
  std::this_thread::sleep_for(200ms);
  rig.queue.drain();
  EXPECT_EQ(presses.load() - before, kMax);
  EXPECT_EQ(doneTexts.back(), "Done: 4 clicks.");
}

}  // namespace
}  // namespace vorrik::test
