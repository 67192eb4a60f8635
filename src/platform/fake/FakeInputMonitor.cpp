// SPDX-License-Identifier: MIT
#include "platform/fake/FakeInputMonitor.h"

#include <utility>

namespace vorrik::fake {

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
