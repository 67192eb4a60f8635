// SPDX-License-Identifier: MIT
#pragma once

#include "platform/SettingsLink.h"

namespace vorrik::fake {

// Counts how often the settings were opened.
class FakeSettingsLink final : public SettingsLink {
 public:
  void open() override { ++opens_; }
  [[nodiscard]] int opens() const { return opens_; }

 private:
  int opens_ = 0;
};

}  // namespace vorrik::fake
