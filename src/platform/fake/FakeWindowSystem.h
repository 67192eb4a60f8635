// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "platform/WindowSystem.h"

namespace vorrik::fake {

// Keeps the panel's last keyboard request; does nothing else.
class FakeWindowSystem final : public WindowSystem {
 public:
  void showOnAllWorkspaces(Window /*window*/) override {}
  void setTakesKeyboard(Window /*window*/, bool takes) override { takesKeyboard = takes; }

  // Nothing before the first request.
  std::optional<bool> takesKeyboard;
};

}  // namespace vorrik::fake
