// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Desktop.h"
#include "platform/qt/QtServices.h"
#include "platform/qt/QtSettingsLink.h"

namespace vorrik::qt {

// The half of a desktop bundle that every Qt-based backend serves the same way: settings,
// languages, notifications, the main queue and the help link. Built before the backend's own
// members, so those may use it; create it once the QApplication exists.
class QtDesktop : public Desktop {
 public:
  MainQueue& mainQueue() final { return mainQueue_; }
  SettingsLink& settingsLink() final { return settingsLink_; }
  DefaultsStore& defaults() final { return defaults_; }
  PreferredLanguages& preferredLanguages() final { return preferred_; }
  NotificationCenter& center() final { return center_; }

 private:
  QtDefaultsStore defaults_;
  QtPreferredLanguages preferred_;
  QtNotificationCenter center_;
  QtMainQueue mainQueue_;
  QtSettingsLink settingsLink_;
};

}  // namespace vorrik::qt
