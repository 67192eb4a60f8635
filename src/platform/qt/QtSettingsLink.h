// SPDX-License-Identifier: MIT
#pragma once

#include <QUrl>

#include "platform/SettingsLink.h"

namespace vorrik::qt {

// Opens a web page with the desktop's browser. X11 has no permission list to open: clicks are
// refused only where the server lacks the XTest extension, so the link leads to our help on
// enabling it.
class QtSettingsLink final : public SettingsLink {
 public:
  static QUrl defaultUrl();
  explicit QtSettingsLink(QUrl url = defaultUrl()) : url_(std::move(url)) {}
  void open() override;

 private:
  QUrl url_;
};

}  // namespace vorrik::qt
