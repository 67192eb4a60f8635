// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "platform/Pointer.h"

namespace vorrik::fake {

// The picker's pointer; main thread only.
class FakePointer final : public Pointer {
 public:
  std::optional<ClickPoint> position() override { return where_; }
  void moveTo(std::optional<ClickPoint> where) { where_ = where; }

 private:
  std::optional<ClickPoint> where_ = ClickPoint{0, 0};
};

}  // namespace vorrik::fake
