// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "engine/ClickEngine.h"
#include "platform/fake/FakeMainQueue.h"
#include "platform/posix/PosixServices.h"

namespace vorrik::test {

// The base of the tests that click on a real server: the engine with its real timer thread
// and pauses over a backend's own trust and injector; its main-thread tasks run while a test
// waits. Time bounds are generous; bench/ measures precision.
template <typename Trust, typename Injector>
class EngineOnServer : public ::testing::Test {
 protected:
  EngineOnServer() {
    engine.onTick = [this](std::int64_t n) { lastTick = n; };
    engine.onStop = [this](const std::optional<std::string>& r) { stopText = r.value_or("-"); };
  }

  // Runs main-thread tasks until pred holds, failing after 20 s.
  template <typename Pred>
  void pumpUntil(Pred pred) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!pred() && std::chrono::steady_clock::now() < deadline) {
      queue.drain();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ASSERT_TRUE(pred());
  }

  // First: on a headless Wayland seat the injector's virtual pointer is the only pointer, and a
  // client that starts before it misses the first click while it binds the new one.
  Injector injector;
  Trust trust;
  fake::FakeMainQueue queue;
  posix::MonotonicSleeper sleeper;
  posix::SystemRandom random;
  ClickEngine engine{{queue, trust, injector, sleeper, random},
                     std::make_unique<posix::WorkerTimer>()};
  std::int64_t lastTick = 0;
  std::optional<std::string> stopText;
};

}  // namespace vorrik::test
