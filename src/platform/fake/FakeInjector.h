// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <vector>

#include "platform/EventInjector.h"
#include "platform/fake/FakeClock.h"

namespace vorrik::fake {

using std::chrono::nanoseconds;

class FakeInjector final : public EventInjector {
 public:
  struct Posted {
    MouseEvent event;
    nanoseconds at;
  };
  explicit FakeInjector(FakeClock& clock) : clock_(clock) {}
  std::optional<MouseEvent> make(MouseAction action, MouseButton button,
                                 std::optional<ClickPoint> at) override;
  void post(const MouseEvent& event) override;

  std::vector<Posted> posted() const;
  std::vector<MouseEvent> events() const;
  // Down events posted so far, which is the number of clicks that reached the system.
  std::size_t presses() const;
  int makeCalls() const;
  // Makes the make() calls with these 0-based indices fail.
  void failMakeCalls(std::set<int> indices);
  // Called inside every post(), before it is recorded (a test can stop a run mid-burst).
  void onPost(std::function<void(const MouseEvent&)> hook);

 private:
  FakeClock& clock_;
  mutable std::mutex mutex_;
  std::vector<Posted> posted_;
  std::set<int> failing_;
  int makeCalls_ = 0;
  std::function<void(const MouseEvent&)> hook_;
};

}  // namespace vorrik::fake
