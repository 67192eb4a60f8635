// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "platform/DefaultsStore.h"

namespace vorrik::fake {

class FakeDefaultsStore final : public DefaultsStore {
 public:
  std::optional<std::string> stringForKey(std::string_view key) override {
    const auto it = values_.find(key);
    return it == values_.end() ? std::nullopt : std::optional<std::string>(it->second);
  }
  void setString(std::string_view key, std::string_view value) override {
    values_.insert_or_assign(std::string(key), std::string(value));
    ++writes_;
  }
  [[nodiscard]] int writes() const { return writes_; }

 private:
  std::map<std::string, std::string, std::less<>> values_;
  int writes_ = 0;
};

}  // namespace vorrik::fake
