// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace vorrik {

// Process-wide notifications by name, delivered on the main thread.
class NotificationCenter {
 public:
  virtual ~NotificationCenter() = default;
  // Registers handler for every later post of name, for the life of the centre.
  virtual void addObserver(std::string name, std::function<void()> handler) = 0;
  // Calls every observer of name on the main thread, in the order they were added.
  virtual void post(std::string_view name) = 0;
};

}  // namespace vorrik
