// SPDX-License-Identifier: MIT
#pragma once

namespace vorrik {

// A keyboard shortcut the desktop itself keeps, F6 running `vorrik --toggle`: how F6 reaches
// Vorrik where the session shows no application the keys pressed in others. Changed only when
// the user asks.
class ToggleShortcut {
 public:
  virtual ~ToggleShortcut() = default;
  // True when the desktop has Vorrik's shortcut.
  virtual bool installed() = 0;
  // Adds F6 for Vorrik to the desktop's shortcuts, leaving every other one as it was; true when
  // it is there.
  virtual bool install() = 0;
  // Takes out what install() added, and nothing else; true when it is gone.
  virtual bool remove() = 0;
};

}  // namespace vorrik
