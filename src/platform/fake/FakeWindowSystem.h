// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <vector>

#include "platform/WindowSystem.h"

namespace vorrik::fake {

// Records what the panel asked of the window manager; does nothing else.
class FakeWindowSystem final : public WindowSystem {
 public:
  void showOnAllWorkspaces(Window window) override { everyWorkspace.push_back(window); }
  void setTakesKeyboard(Window window, bool takes) override {
    lastWindow = window;
    takesKeyboard = takes;
    keyboardRequests.push_back(takes);
  }

  // Windows asked to show on every workspace, once per request.
  std::vector<Window> everyWorkspace;
  // The last keyboard request and its window; nothing before the first.
  std::optional<bool> takesKeyboard;
  std::optional<Window> lastWindow;
  std::vector<bool> keyboardRequests;
};

}  // namespace vorrik::fake
