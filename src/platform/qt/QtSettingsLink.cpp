// SPDX-License-Identifier: MIT
#include "platform/qt/QtSettingsLink.h"

#include <QDesktopServices>

namespace vorrik::qt {

QUrl QtSettingsLink::defaultUrl() {
  return QUrl{QStringLiteral("https://vorrik.example/help/enable-xtest")};
}

void QtSettingsLink::open() {
  QDesktopServices::openUrl(url_);
}

}  // namespace vorrik::qt
