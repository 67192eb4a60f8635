// SPDX-License-Identifier: MIT
#pragma once

#include "platform/AccessibilityTrust.h"
#include "platform/DefaultsStore.h"
#include "platform/EventInjector.h"
#include "platform/InputMonitor.h"
#include "platform/MainQueue.h"
#include "platform/NotificationCenter.h"
#include "platform/PointPick.h"
#include "platform/PreferredLanguages.h"
#include "platform/SettingsLink.h"
#include "platform/ToggleShortcut.h"
#include "platform/WindowSystem.h"

#include <string_view>

namespace vorrik {

// Posted on the desktop's centre when toggleShortcut() or hotkeyMissing() may have changed.
inline constexpr std::string_view kHotkeyChanged = "vorrik.hotkeyChanged";

// Every service that depends on the desktop session Vorrik runs in, from one backend, opened
// once at start-up and owned together: each reference it hands out lives as long as it does.
// The clock services (timer, pauses, random numbers) are the machine's, not the desktop's, and
// stay outside.
class Desktop {
 public:
  virtual ~Desktop() = default;
  virtual MainQueue& mainQueue() = 0;
  virtual AccessibilityTrust& trust() = 0;
  virtual EventInjector& injector() = 0;
  // How the user shows a click point on this desktop; clicks at the pointer need no position,
  // the injector posts them wherever it is.
  virtual PointPick& picker() = 0;
  // Global key observation; null where the session offers none.
  virtual InputMonitor* input() = 0;
  // Window-manager requests; null where there is no window manager to ask.
  virtual WindowSystem* windows() = 0;
  virtual SettingsLink& settingsLink() = 0;
  virtual DefaultsStore& defaults() = 0;
  virtual PreferredLanguages& preferredLanguages() = 0;
  virtual NotificationCenter& center() = 0;
  // The desktop's own F6 shortcut for Vorrik, where F6 can reach Vorrik only that way; null
  // elsewhere.
  virtual ToggleShortcut* toggleShortcut() { return nullptr; }
  // True once F6 is known to reach Vorrik in no way this desktop offers, so that the user binds
  // `vorrik --toggle` by hand.
  virtual bool hotkeyMissing() { return false; }
};

}  // namespace vorrik
