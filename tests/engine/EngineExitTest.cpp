// SPDX-License-Identifier: MIT
// Whatever ends a run while a button is down on the real timer thread, that press gets its
// release: a stop in the middle of a burst, the engine destroyed or halted mid-click, and a hold
// for a stopped process. The worker is caught inside its first press each time.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>

#include "EngineRig.h"
#include "platform/posix/PosixServices.h"

namespace vorrik::test {
namespace {

using namespace std::chrono_literals;

struct Interrupt {
  const char* name;
  // Runs on the main thread while the worker holds its first press.
  std::function<void(EngineRig&)> act;
  friend void PrintTo(const Interrupt& i, std::ostream* os) { *os << i.name; }
};

class Exits : public ::testing::TestWithParam<Interrupt> {};

// Presses and releases alternate, starting with a press and ending with a release.
void expectEveryPressReleased(const std::vector<MouseEvent>& events) {
  ASSERT_FALSE(events.empty());
  for (std::size_t i = 0; i < events.size(); ++i) {
    EXPECT_EQ(events[i].action, i % 2 == 0 ? MouseAction::down : MouseAction::up) << i;
  }
  EXPECT_EQ(events.size() % 2, 0U);
}

TEST_P(Exits, LeaveNoPressWithoutItsRelease) {
  EngineRig rig(std::make_unique<posix::WorkerTimer>());
  rig.engine->intervalMs = 50;
  rig.engine->burst = 4;
  std::atomic<bool> pressed{false};
  std::atomic<bool> acting{false};
  rig.injector.onPost([&](const MouseEvent& e) {
    if (e.action == MouseAction::down && !pressed.exchange(true)) {
      while (!acting.load()) {
        std::this_thread::yield();
      }
      std::this_thread::sleep_for(20ms);  // the interrupt is under way by now
    }
  });
  rig.engine->start();
  while (!pressed.load()) {
    std::this_thread::sleep_for(1ms);
  }
  acting = true;
  GetParam().act(rig);
  rig.engine.reset();
  expectEveryPressReleased(rig.injector.events());
}

INSTANTIATE_TEST_SUITE_P(
    Engine, Exits,
    ::testing::Values(Interrupt{"StopMidBurst",
                                [](EngineRig& rig) { rig.engine->stop("Stopped"); }},
                      Interrupt{"DestroyedMidClick", [](EngineRig& rig) { rig.engine.reset(); }},
                      Interrupt{"HaltedMidClick",
                                [](EngineRig& rig) {
                                  rig.engine->halt();
                                  // Halted means joined: nothing is posted any more.
                                  const std::size_t after = rig.injector.events().size();
                                  std::this_thread::sleep_for(120ms);
                                  EXPECT_EQ(rig.injector.events().size(), after);
                                  EXPECT_FALSE(rig.engine->running());
                                }},
                      Interrupt{"HeldMidClick",
                                [](EngineRig& rig) {
                                  const auto hold = rig.engine->holdClicks();
                                  // While held, the last event is a release and no press follows
                                  // it.
                                  const std::vector<MouseEvent> seen = rig.injector.events();
                                  ASSERT_FALSE(seen.empty());
                                  EXPECT_EQ(seen.back().action, MouseAction::up);
                                  std::this_thread::sleep_for(120ms);
                                  EXPECT_EQ(rig.injector.events().size(), seen.size());
                                }}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace vorrik::test
