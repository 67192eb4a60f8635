// SPDX-License-Identifier: MIT
#include "platform/fake/FakeInjector.h"

#include <utility>

namespace vorrik::fake {

std::optional<MouseEvent> FakeInjector::make(MouseAction action, MouseButton button,
                                             std::optional<ClickPoint> at) {
  std::lock_guard lock(mutex_);
  const int index = makeCalls_++;
  if (failing_.contains(index)) return std::nullopt;
  return MouseEvent{action, button, at, 1};
}

void FakeInjector::post(const MouseEvent& event) {
  std::function<void(const MouseEvent&)> hook;
  {
    std::lock_guard lock(mutex_);
    hook = hook_;
  }
  if (hook) hook(event);
  std::lock_guard lock(mutex_);
  posted_.push_back({event, clock_.now()});
}

std::vector<FakeInjector::Posted> FakeInjector::posted() const {
  std::lock_guard lock(mutex_);
  return posted_;
}

std::vector<MouseEvent> FakeInjector::events() const {
  std::lock_guard lock(mutex_);
  std::vector<MouseEvent> events;
  events.reserve(posted_.size());
  for (const Posted& p : posted_)
    events.push_back(p.event);
  return events;
}

std::size_t FakeInjector::presses() const {
  std::lock_guard lock(mutex_);
  std::size_t n = 0;
  for (const Posted& p : posted_)
    n += p.event.action == MouseAction::down ? 1 : 0;
  return n;
}

int FakeInjector::makeCalls() const {
  std::lock_guard lock(mutex_);
  return makeCalls_;
}

void FakeInjector::failMakeCalls(std::set<int> indices) {
  std::lock_guard lock(mutex_);
  failing_ = std::move(indices);
}

void FakeInjector::onPost(std::function<void(const MouseEvent&)> hook) {
  std::lock_guard lock(mutex_);
  hook_ = std::move(hook);
}

}  // namespace vorrik::fake
