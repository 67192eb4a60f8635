// SPDX-License-Identifier: MIT
#include "Instruments.h"

#include <utility>

#include "Clock.h"

namespace vorrik::bench {

void PortRecorder::clear() {
  take();
}

PortTimes PortRecorder::take() {
  const std::lock_guard lock(mutex_);
  return std::exchange(times_, {});
}

TimedTimer::TimedTimer(std::unique_ptr<OneShotTimer> inner, PortRecorder& recorder,
                       std::optional<std::chrono::nanoseconds> steadyTickLength)
    : inner_(std::move(inner)), recorder_(recorder), steadyTickLength_(steadyTickLength) {}

void TimedTimer::arm(std::chrono::nanoseconds delay, Handler handler) {
  const auto now = monotonicNow();
  auto deadline = now + delay;
  if (steadyTickLength_) {
    const std::lock_guard lock(mutex_);
    if (lastDeadline_ && *lastDeadline_ + *steadyTickLength_ + delay > now) {
      deadline = *lastDeadline_ + *steadyTickLength_ + delay;
    }
    lastDeadline_ = deadline;
  }
  inner_->arm(deadline - now, [this, deadline, handler = std::move(handler)] {
    const auto late = monotonicNow() - deadline;
    recorder_.edit([&](PortTimes& times) { times.timerLateness.push_back(late); });
    handler();
  });
}

void TimedTimer::cancel() {
  {
    const std::lock_guard lock(mutex_);
    lastDeadline_.reset();
  }
  inner_->cancel();
}

void TimedPointer::forget() {
  const std::lock_guard lock(mutex_);
  cached_.reset();
}

std::optional<ClickPoint> TimedPointer::position() {
  const auto before = monotonicNow();
  std::optional<ClickPoint> where;
  if (caching_) {
    const std::lock_guard lock(mutex_);
    if (!cached_) {
      cached_ = inner_.position();
    }
    where = cached_;
  } else {
    where = inner_.position();
  }
  const auto took = monotonicNow() - before;
  recorder_.edit([&](PortTimes& times) { times.pointerQuery.push_back(took); });
  return where;
}

std::optional<MouseEvent> TimedInjector::make(MouseAction action, MouseButton button,
                                              std::optional<ClickPoint> at) {
  return inner_.make(action, button, at);
}

void TimedInjector::post(const MouseEvent& event) {
  const auto before = monotonicNow();
  inner_.post(event);
  const auto after = monotonicNow();
  recorder_.edit([&](PortTimes& times) {
    if (event.action == MouseAction::down) {
      times.downPosted.push_back(after);
      times.downPostCall.push_back(after - before);
    } else {
      times.upPosted.push_back(after);
    }
  });
}

}  // namespace vorrik::bench
