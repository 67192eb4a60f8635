// SPDX-License-Identifier: MIT
#include "platform/fake/FakeDefaultsStore.h"

#include <utility>

namespace vorrik::fake {

std::optional<std::string> FakeDefaultsStore::stringForKey(std::string_view key) {
  auto it = values_.find(key);
  if (it == values_.end()) {
    return std::nullopt;
  }
  return it->second;
}

void FakeDefaultsStore::setString(std::string_view key, std::string_view value) {
  values_.insert_or_assign(std::string(key), std::string(value));
  ++writes_;
}

void FakeDefaultsStore::erase(std::string_view key) {
  auto it = values_.find(key);
  if (it != values_.end()) {
    values_.erase(it);
  }
}

}  // namespace vorrik::fake
