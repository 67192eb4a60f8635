// SPDX-License-Identifier: MIT
#pragma once

// A click engine wired to the fakes, with a log of what its callbacks told the owner.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/ClickEngine.h"
#include "platform/fake/FakeDesktop.h"

namespace vorrik::test {

struct EngineRig {
  // With no timer given, the engine gets a FakeTimer that the test fires.
  explicit EngineRig(std::unique_ptr<OneShotTimer> ownTimer = nullptr) {
    if (!ownTimer) {
      ownTimer = world.makeTimer();
      timer = world.timer;
    }
    engine = std::make_unique<ClickEngine>(
        ClickEngine::Ports{queue, trust, injector, sleeper, random}, std::move(ownTimer));
    engine->onTick = [this](std::int64_t n) { log.push_back("tick " + std::to_string(n)); };
    engine->onStop = [this](const std::optional<std::string>& reason) {
      log.push_back("stop " + reason.value_or("-"));
    };
  }

  // Fires the armed tick and runs the main-thread tasks it queued; false when none was armed.
  bool tick() {
    const bool fired = timer->fire();
    queue.drain();
    return fired;
  }

  // Where each press was aimed; nothing for one at the pointer.
  std::vector<std::optional<ClickPoint>> pressPoints() const {
    std::vector<std::optional<ClickPoint>> at;
    for (const MouseEvent& e : injector.events())
      if (e.action == MouseAction::down) at.push_back(e.at);
    return at;
  }

  fake::FakeDesktop world;
  fake::FakeClock& clock = world.clock;
  fake::FakeMainQueue& queue = world.fakeQueue;
  fake::FakeTrust& trust = world.fakeTrust;
  fake::FakeInjector& injector = world.fakeInjector;
  fake::FakeSleeper& sleeper = world.sleeper;
  fake::FakeRandom& random = world.random;
  fake::FakeTimer* timer = nullptr;  // owned by the engine; unused with a real timer
  std::unique_ptr<ClickEngine> engine;
  std::vector<std::string> log;
};

}  // namespace vorrik::test
