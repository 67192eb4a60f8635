// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace vorrik {

// What the window manager must be told about a floating panel beyond what the widget toolkit
// says: every call is a request that a window manager may ignore.
class WindowSystem {
 public:
  // The native window id, as the toolkit reports it.
  using Window = std::uint64_t;
  virtual ~WindowSystem() = default;
  // Asks for window to be shown on every workspace (virtual desktop), the current one included.
  virtual void showOnAllWorkspaces(Window window) = 0;
  // Lets the window manager hand window the keyboard when it is clicked (true) or never (false).
  virtual void setTakesKeyboard(Window window, bool takes) = 0;
};

}  // namespace vorrik
