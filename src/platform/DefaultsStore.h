// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vorrik {

// The user's persistent key-value preferences for this application.
class DefaultsStore {
 public:
  virtual ~DefaultsStore() = default;
  // The string stored under key, or nothing when the key is absent or holds no string.
  virtual std::optional<std::string> stringForKey(std::string_view key) = 0;
  // Stores value under key so that it persists across launches.
  virtual void setString(std::string_view key, std::string_view value) = 0;
};

}  // namespace vorrik
