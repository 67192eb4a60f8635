// SPDX-License-Identifier: MIT
#include "app/TrayWatcher.h"

#include <xcb/xcb.h>

#include <QCoreApplication>
#include <QTimer>

namespace vorrik {

TrayWatcher::TrayWatcher(QSystemTrayIcon* icon) : icon_(icon) {
  if (QSystemTrayIcon::isSystemTrayAvailable()) return;
  QCoreApplication::instance()->installNativeEventFilter(this);
  installed_ = true;
}

TrayWatcher::~TrayWatcher() {
  if (installed_) QCoreApplication::instance()->removeNativeEventFilter(this);
}

bool TrayWatcher::nativeEventFilter(const QByteArray& eventType, void* message,
                                    qintptr* /*result*/) {
  if (!installed_ || pending_ || eventType != "xcb_generic_event_t") return false;
  const auto* event = static_cast<const xcb_generic_event_t*>(message);
  if ((event->response_type & ~0x80) != XCB_CLIENT_MESSAGE) return false;
  // Qt's own tray tracker handles the same message after this filter: look once it has.
  pending_ = true;
  QTimer::singleShot(0, this, [this] { look(); });
  return false;
}

void TrayWatcher::look() {
  pending_ = false;
  if (!installed_ || !QSystemTrayIcon::isSystemTrayAvailable()) return;
  QCoreApplication::instance()->removeNativeEventFilter(this);
  installed_ = false;
  if (icon_ && icon_->isVisible()) {
    // Showing again makes Qt dock the icon into the tray that is there now.
    icon_->hide();
    icon_->show();
  }
}

}  // namespace vorrik
