// SPDX-License-Identifier: MIT
#pragma once

// Test doubles for every port. Each has an inspection side (what was posted, when, where) so
// tests read what happened instead of sleeping. They share one FakeClock: pauses and timer
// firings advance it, and recorded events carry its time.

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "platform/AccessibilityTrust.h"
#include "platform/DefaultsStore.h"
#include "platform/EventInjector.h"
#include "platform/InputMonitor.h"
#include "platform/MainQueue.h"
#include "platform/NotificationCenter.h"
#include "platform/OneShotTimer.h"
#include "platform/Pointer.h"
#include "platform/PreferredLanguages.h"
#include "platform/RandomSource.h"
#include "platform/Sleeper.h"

namespace vorrik::fake {

using std::chrono::microseconds;
using std::chrono::nanoseconds;

// Virtual monotonic time; thread-safe.
class FakeClock {
 public:
  nanoseconds now() const;
  void advance(nanoseconds by);

 private:
  mutable std::mutex mutex_;
  nanoseconds now_{0};
};

// A main queue that runs its tasks only when the test drains it.
class TestMainQueue final : public MainQueue {
 public:
  void post(std::function<void()> task) override;
  // Runs queued tasks, including those they post, until none is left; returns how many ran.
  int drain();
  std::size_t pending() const;

 private:
  mutable std::mutex mutex_;
  std::deque<std::function<void()>> tasks_;
};

// A timer that fires only when the test says so, on the test's thread.
class FakeTimer final : public OneShotTimer {
 public:
  explicit FakeTimer(FakeClock& clock) : clock_(clock) {}
  void arm(nanoseconds delay, Handler handler) override;
  void cancel() override;

  bool armed() const;
  // The delay of the armed handler.
  std::optional<nanoseconds> armedDelay() const;
  // Every delay ever armed, in order.
  std::vector<nanoseconds> delays() const;
  int cancels() const;
  // Advances the clock by the armed delay and runs the handler; false when nothing is armed.
  bool fire();

 private:
  FakeClock& clock_;
  mutable std::mutex mutex_;
  Handler handler_;
  nanoseconds delay_{0};
  std::vector<nanoseconds> delays_;
  int cancels_ = 0;
};

class FakeTrust final : public AccessibilityTrust {
 public:
  bool isTrusted(bool prompt) override;
  void setTrusted(bool trusted);
  // How often the system prompt was asked for.
  int prompts() const;
  int queries() const;

 private:
  mutable std::mutex mutex_;
  bool trusted_ = true;
  int prompts_ = 0;
  int queries_ = 0;
};

class FakeInjector final : public EventInjector {
 public:
  struct Posted {
    MouseEvent event;
    nanoseconds at;
  };
  explicit FakeInjector(FakeClock& clock) : clock_(clock) {}
  std::optional<MouseEvent> make(MouseAction action, MouseButton button, ClickPoint at) override;
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

class FakePointer final : public Pointer {
 public:
  std::optional<ClickPoint> position() override;
  void moveTo(std::optional<ClickPoint> where);

 private:
  mutable std::mutex mutex_;
  std::optional<ClickPoint> where_ = ClickPoint{0, 0};
};

class FakeSleeper final : public Sleeper {
 public:
  explicit FakeSleeper(FakeClock& clock) : clock_(clock) {}
  void sleepFor(microseconds duration) override;
  std::vector<microseconds> sleeps() const;

 private:
  FakeClock& clock_;
  mutable std::mutex mutex_;
  std::vector<microseconds> sleeps_;
};

// Replays scripted draws, then a fixed-seed generator.
class FakeRandom final : public RandomSource {
 public:
  std::uint32_t uniform(std::uint32_t upperBound) override;
  void script(std::vector<std::uint32_t> draws);

 private:
  std::mutex mutex_;
  std::deque<std::uint32_t> script_;
  std::mt19937 generator_{12345};
};

class FakeDefaultsStore final : public DefaultsStore {
 public:
  std::optional<std::string> stringForKey(std::string_view key) override;
  void setString(std::string_view key, std::string_view value) override;
  void erase(std::string_view key);
  int writes() const { return writes_; }

 private:
  std::map<std::string, std::string, std::less<>> values_;
  int writes_ = 0;
};

class FakePreferredLanguages final : public PreferredLanguages {
 public:
  std::vector<std::string> languages() override { return languages_; }
  void set(std::vector<std::string> languages) { languages_ = std::move(languages); }

 private:
  std::vector<std::string> languages_;
};

// Delivers synchronously, on the posting thread; records every post.
class FakeNotificationCenter final : public NotificationCenter {
 public:
  void addObserver(std::string name, std::function<void()> handler) override;
  void post(std::string_view name) override;
  const std::vector<std::string>& posts() const { return posts_; }

 private:
  std::vector<std::pair<std::string, std::function<void()>>> observers_;
  std::vector<std::string> posts_;
};

// Input monitors that fire only when the test presses; like the real ones, a monitor removed by
// an earlier handler of the same press is not called, and one added during a press waits for
// the next. Main thread only.
class FakeInputMonitor final : public InputMonitor {
 public:
  std::optional<Handle> addKeyMonitor(std::function<void(Key)> handler) override;
  std::optional<Handle> addLeftPressMonitor(std::function<void()> handler) override;
  void remove(Handle handle) override;

  // A key press anywhere on the display.
  void pressKey(Key key);
  // A left-button press anywhere on the display.
  void pressLeft();
  // false: later add...() calls give nothing, as without a display.
  void setAvailable(bool available) { available_ = available; }
  // Handles installed now, in the order they were added.
  std::vector<Handle> keyMonitors() const;
  std::vector<Handle> leftPressMonitors() const;
  // Every handle given out, and every remove() call, in order.
  const std::vector<Handle>& installed() const { return installed_; }
  const std::vector<Handle>& removed() const { return removed_; }

 private:
  struct Monitor {
    std::function<void(Key)> onKey;
    std::function<void()> onLeftPress;
  };
  std::vector<Handle> live(bool keys) const;

  bool available_ = true;
  Handle next_ = 1;
  std::map<Handle, std::shared_ptr<const Monitor>> monitors_;
  std::vector<Handle> installed_;
  std::vector<Handle> removed_;
};

}  // namespace vorrik::fake
