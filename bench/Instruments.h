// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/EventInjector.h"
#include "platform/OneShotTimer.h"
#include "platform/Pointer.h"

namespace vorrik::bench {

// Timestamps (CLOCK_MONOTONIC) that the engine's ports saw during one series, so that the time
// between two presses can be split into its parts.
struct PortTimes {
  std::vector<std::chrono::nanoseconds> timerLateness;  // handler start minus its deadline
  std::vector<std::chrono::nanoseconds> pointerQuery;   // duration of each position()
  std::vector<std::chrono::nanoseconds> downPosted;     // when each button-down post returned
  std::vector<std::chrono::nanoseconds> upPosted;       // when each button-up post returned
  std::vector<std::chrono::nanoseconds> downPostCall;   // duration of each button-down post()
};

// Shared by the port wrappers below; any thread.
class PortRecorder {
 public:
  void clear();
  PortTimes take();
  template <typename Edit>
  void edit(Edit&& edit) {
    const std::lock_guard lock(mutex_);
    edit(times_);
  }

 private:
  std::mutex mutex_;
  PortTimes times_;
};

// Passes everything to the real timer and records how late each handler starts.
//
// With a steady timeline (an experiment, not the engine's own behaviour) each deadline after the
// first is set from the previous deadline plus tickLength plus the delay instead of from now, so
// the time a tick takes beyond tickLength no longer adds to the period; an overrun tick still
// gets its full delay from now.
class TimedTimer final : public OneShotTimer {
 public:
  TimedTimer(std::unique_ptr<OneShotTimer> inner, PortRecorder& recorder,
             std::optional<std::chrono::nanoseconds> steadyTickLength = std::nullopt);
  void arm(std::chrono::nanoseconds delay, Handler handler) override;
  void cancel() override;

 private:
  std::unique_ptr<OneShotTimer> inner_;
  PortRecorder& recorder_;
  const std::optional<std::chrono::nanoseconds> steadyTickLength_;
  std::mutex mutex_;
  std::optional<std::chrono::nanoseconds> lastDeadline_;
};

// Passes everything to the real pointer and records how long each query takes. Caching (an
// experiment) answers from the first position read after forget(), with no round trip.
class TimedPointer final : public Pointer {
 public:
  TimedPointer(Pointer& inner, PortRecorder& recorder, bool caching = false)
      : inner_(inner), recorder_(recorder), caching_(caching) {}
  std::optional<ClickPoint> position() override;
  void forget();

 private:
  Pointer& inner_;
  PortRecorder& recorder_;
  const bool caching_;
  std::mutex mutex_;
  std::optional<ClickPoint> cached_;
};

// Passes everything to the real injector and records when each post returned.
class TimedInjector final : public EventInjector {
 public:
  TimedInjector(EventInjector& inner, PortRecorder& recorder)
      : inner_(inner), recorder_(recorder) {}
  std::optional<MouseEvent> make(MouseAction action, MouseButton button,
                                 std::optional<ClickPoint> at) override;
  void post(const MouseEvent& event) override;

 private:
  EventInjector& inner_;
  PortRecorder& recorder_;
};

}  // namespace vorrik::bench
