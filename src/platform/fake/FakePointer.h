// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <optional>

#include "platform/Pointer.h"

namespace vorrik::fake {

class FakePointer final : public Pointer {
 public:
  std::optional<ClickPoint> position() override;
  void moveTo(std::optional<ClickPoint> where);

 private:
  mutable std::mutex mutex_;
  std::optional<ClickPoint> where_ = ClickPoint{0, 0};
};

}  // namespace vorrik::fake
