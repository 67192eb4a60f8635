// SPDX-License-Identifier: MIT
#include "platform/fake/Fakes.h"

#include <utility>

namespace vorrik::fake {

nanoseconds FakeClock::now() const {
  std::lock_guard lock(mutex_);
  return now_;
}

void FakeClock::advance(nanoseconds by) {
  std::lock_guard lock(mutex_);
  now_ += by;
}

void TestMainQueue::post(std::function<void()> task) {
  std::lock_guard lock(mutex_);
  tasks_.push_back(std::move(task));
}

int TestMainQueue::drain() {
  int ran = 0;
  for (;;) {
    std::function<void()> task;
    {
      std::lock_guard lock(mutex_);
      if (tasks_.empty()) return ran;
      task = std::move(tasks_.front());
      tasks_.pop_front();
    }
    task();
    ++ran;
  }
}

std::size_t TestMainQueue::pending() const {
  std::lock_guard lock(mutex_);
  return tasks_.size();
}

void FakeTimer::arm(nanoseconds delay, Handler handler) {
  std::lock_guard lock(mutex_);
  handler_ = std::move(handler);
  delay_ = delay;
  delays_.push_back(delay);
}

void FakeTimer::cancel() {
  std::lock_guard lock(mutex_);
  handler_ = nullptr;
  ++cancels_;
}

bool FakeTimer::armed() const {
  std::lock_guard lock(mutex_);
  return static_cast<bool>(handler_);
}

std::optional<nanoseconds> FakeTimer::armedDelay() const {
  std::lock_guard lock(mutex_);
  if (!handler_) return std::nullopt;
  return delay_;
}

std::vector<nanoseconds> FakeTimer::delays() const {
  std::lock_guard lock(mutex_);
  return delays_;
}

int FakeTimer::cancels() const {
  std::lock_guard lock(mutex_);
  return cancels_;
}

bool FakeTimer::fire() {
  Handler handler;
  nanoseconds delay{};
  {
    std::lock_guard lock(mutex_);
    if (!handler_) return false;
    handler = std::exchange(handler_, nullptr);
    delay = delay_;
  }
  clock_.advance(delay);
  handler();
  return true;
}

bool FakeTrust::isTrusted(bool prompt) {
  std::lock_guard lock(mutex_);
  ++queries_;
  if (prompt) ++prompts_;
  return trusted_;
}

void FakeTrust::setTrusted(bool trusted) {
  std::lock_guard lock(mutex_);
  trusted_ = trusted;
}

int FakeTrust::prompts() const {
  std::lock_guard lock(mutex_);
  return prompts_;
}

int FakeTrust::queries() const {
  std::lock_guard lock(mutex_);
  return queries_;
}

std::optional<MouseEvent> FakeInjector::make(MouseAction action, MouseButton button,
                                             ClickPoint at) {
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

std::optional<ClickPoint> FakePointer::position() {
  std::lock_guard lock(mutex_);
  return where_;
}

void FakePointer::moveTo(std::optional<ClickPoint> where) {
  std::lock_guard lock(mutex_);
  where_ = where;
}

void FakeSleeper::sleepFor(microseconds duration) {
  {
    std::lock_guard lock(mutex_);
    sleeps_.push_back(duration);
  }
  clock_.advance(duration);
}

std::vector<microseconds> FakeSleeper::sleeps() const {
  std::lock_guard lock(mutex_);
  return sleeps_;
}

std::uint32_t FakeRandom::uniform(std::uint32_t upperBound) {
  std::lock_guard lock(mutex_);
  if (!script_.empty()) {
    const std::uint32_t draw = script_.front();
    script_.pop_front();
    return draw % upperBound;
  }
  return std::uniform_int_distribution<std::uint32_t>(0, upperBound - 1)(generator_);
}

void FakeRandom::script(std::vector<std::uint32_t> draws) {
  std::lock_guard lock(mutex_);
  script_.assign(draws.begin(), draws.end());
}

std::optional<std::string> FakeDefaultsStore::stringForKey(std::string_view key) {
  auto it = values_.find(key);
  if (it == values_.end()) return std::nullopt;
  return it->second;
}

void FakeDefaultsStore::setString(std::string_view key, std::string_view value) {
  values_.insert_or_assign(std::string(key), std::string(value));
  ++writes_;
}

void FakeDefaultsStore::erase(std::string_view key) {
  auto it = values_.find(key);
  if (it != values_.end()) values_.erase(it);
}

void FakeNotificationCenter::addObserver(std::string name, std::function<void()> handler) {
  observers_.emplace_back(std::move(name), std::move(handler));
}

void FakeNotificationCenter::post(std::string_view name) {
  posts_.emplace_back(name);
  // Observers added while delivering see only later posts.
  const auto observers = observers_;
  for (const auto& [observed, handler] : observers) {
    if (observed == name) handler();
  }
}

std::optional<InputMonitor::Handle> FakeInputMonitor::addKeyMonitor(
    std::function<void(Key)> handler) {
  if (!available_ || !handler) {
    return std::nullopt;
  }
  const Handle handle = next_++;
  monitors_.emplace(handle, std::make_shared<const Monitor>(Monitor{std::move(handler), nullptr}));
  installed_.push_back(handle);
  return handle;
}

std::optional<InputMonitor::Handle> FakeInputMonitor::addLeftPressMonitor(
    std::function<void()> handler) {
  if (!available_ || !handler) {
    return std::nullopt;
  }
  const Handle handle = next_++;
  monitors_.emplace(handle, std::make_shared<const Monitor>(Monitor{nullptr, std::move(handler)}));
  installed_.push_back(handle);
  return handle;
}

void FakeInputMonitor::remove(Handle handle) {
  removed_.push_back(handle);
  monitors_.erase(handle);
}

std::vector<InputMonitor::Handle> FakeInputMonitor::live(bool keys) const {
  std::vector<Handle> handles;
  for (const auto& [handle, monitor] : monitors_) {
    if (static_cast<bool>(monitor->onKey) == keys) {
      handles.push_back(handle);
    }
  }
  return handles;
}

std::vector<InputMonitor::Handle> FakeInputMonitor::keyMonitors() const {
  return live(true);
}

std::vector<InputMonitor::Handle> FakeInputMonitor::leftPressMonitors() const {
  return live(false);
}

void FakeInputMonitor::pressKey(Key key) {
  for (const Handle handle : live(true)) {
    const auto found = monitors_.find(handle);
    if (found == monitors_.end()) {
      continue;
    }
    const auto monitor = found->second;  // survives a handler that removes itself
    monitor->onKey(key);
  }
}

void FakeInputMonitor::pressLeft() {
  for (const Handle handle : live(false)) {
    const auto found = monitors_.find(handle);
    if (found == monitors_.end()) {
      continue;
    }
    const auto monitor = found->second;
    monitor->onLeftPress();
  }
}

}  // namespace vorrik::fake
