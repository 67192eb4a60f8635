// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/NotificationCenter.h"

namespace vorrik::fake {

// Delivers synchronously, on the posting thread; records every post.
class FakeNotificationCenter final : public NotificationCenter {
 public:
  void addObserver(std::string name, std::function<void()> handler) override {
    observers_.emplace_back(std::move(name), std::move(handler));
  }
  void post(std::string_view name) override {
    posts_.emplace_back(name);
    const auto observers = observers_;  // one added while delivering sees only later posts
    for (const auto& [observed, handler] : observers) {
      if (observed == name) {
        handler();
      }
    }
  }
  [[nodiscard]] const std::vector<std::string>& posts() const { return posts_; }

 private:
  std::vector<std::pair<std::string, std::function<void()>>> observers_;
  std::vector<std::string> posts_;
};

}  // namespace vorrik::fake
