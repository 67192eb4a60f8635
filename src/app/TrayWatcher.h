// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <QPointer>
#include <QSystemTrayIcon>

namespace vorrik {

// Shows a tray icon once a tray host appears after start-up. Qt docks an icon only into a
// tray that exists when the icon is shown; a tray host announces itself to the root window
// with a client message, which is when this looks again.
class TrayWatcher final : public QObject, public QAbstractNativeEventFilter {
 public:
  // Watches for icon's sake until a tray is there; does nothing when one is there already.
  explicit TrayWatcher(QSystemTrayIcon* icon);
  ~TrayWatcher() override;

  bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

 private:
  void look();

  QPointer<QSystemTrayIcon> icon_;
  bool installed_ = false;
  bool pending_ = false;
};

}  // namespace vorrik
