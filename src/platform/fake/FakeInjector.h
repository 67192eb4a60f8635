// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "platform/EventInjector.h"
#include "platform/fake/FakeClock.h"

namespace vorrik::fake {

// Records every posted event with the fake clock's time; thread-safe.
class FakeInjector final : public EventInjector {
 public:
  struct Posted {
    MouseEvent event;
    nanoseconds at;
  };
  explicit FakeInjector(FakeClock& clock) : clock_(clock) {}

  bool click(MouseButton button, std::optional<ClickPoint> at, int count,
             ClickPacing& pacing) override {
    bool releasesItself = false;
    {
      std::lock_guard lock(mutex_);
      if (failing_.contains(clickCalls_++)) {
        return false;
      }
      releasesItself = releasesItself_;
    }
    // A release left to the system is recorded when the system would make it.
    postPresses(button, at, count, pacing, releasesItself,
                [this](const MouseEvent& event, std::optional<std::chrono::microseconds> after) {
                  post(event);
                  if (after) {
                    post({MouseAction::up, event.button, event.at, event.clickState}, *after);
                  }
                });
    return true;
  }
  // Posts as an injector whose system can release a button after a delay on its own.
  void releaseItself() {
    std::lock_guard lock(mutex_);
    releasesItself_ = true;
  }

  std::vector<Posted> posted() const {
    std::lock_guard lock(mutex_);
    return posted_;
  }
  std::vector<MouseEvent> events() const {
    std::vector<MouseEvent> events;
    for (const Posted& p : posted()) {
      events.push_back(p.event);
    }
    return events;
  }
  // Down events posted so far, which is the number of clicks that reached the system.
  std::size_t presses() const {
    const auto all = events();
    return std::count_if(all.begin(), all.end(),
                         [](const MouseEvent& e) { return e.action == MouseAction::down; });
  }
  int clickCalls() const {
    std::lock_guard lock(mutex_);
    return clickCalls_;
  }
  // Makes the click() calls with these 0-based indices fail.
  void failClickCalls(std::set<int> indices) {
    std::lock_guard lock(mutex_);
    failing_ = std::move(indices);
  }
  // Called for every event, before it is recorded (a test can stop a run mid-burst).
  void onPost(std::function<void(const MouseEvent&)> hook) {
    std::lock_guard lock(mutex_);
    hook_ = std::move(hook);
  }

 private:
  void post(const MouseEvent& event, nanoseconds later = nanoseconds::zero()) {
    std::unique_lock lock(mutex_);
    const auto hook = hook_;
    lock.unlock();
    if (hook) {
      hook(event);
    }
    lock.lock();
    posted_.push_back({event, clock_.now() + later});
  }

  FakeClock& clock_;
  mutable std::mutex mutex_;
  std::vector<Posted> posted_;
  std::set<int> failing_;
  int clickCalls_ = 0;
  bool releasesItself_ = false;
  std::function<void(const MouseEvent&)> hook_;
};

}  // namespace vorrik::fake
