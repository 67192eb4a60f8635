// SPDX-License-Identifier: MIT
#pragma once

namespace vorrik {

// The place that tells the user how to let this application post clicks on this desktop.
class SettingsLink {
 public:
  virtual ~SettingsLink() = default;
  // Opens that place in the application that handles it; whether it opened is not reported.
  virtual void open() = 0;
};

}  // namespace vorrik
