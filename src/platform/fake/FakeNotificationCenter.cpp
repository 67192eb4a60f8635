// SPDX-License-Identifier: MIT
#include "platform/fake/FakeNotificationCenter.h"

#include <utility>

namespace vorrik::fake {

void FakeNotificationCenter::addObserver(std::string name, std::function<void()> handler) {
  observers_.emplace_back(std::move(name), std::move(handler));
}

void FakeNotificationCenter::post(std::string_view name) {
  posts_.emplace_back(name);
  // Observers added while delivering see only later posts.
  const auto observers = observers_;
  for (const auto& [observed, handler] : observers) {
    if (observed == name) {
      handler();
    }
  }
}

}  // namespace vorrik::fake
