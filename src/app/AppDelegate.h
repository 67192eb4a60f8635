// SPDX-License-Identifier: MIT
#pragma once

#include <QMenu>
#include <QMenuBar>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

#include "platform/AccessibilityTrust.h"
#include "platform/DefaultsStore.h"
#include "platform/Desktop.h"
#include "platform/NotificationCenter.h"
#include "platform/SettingsLink.h"
#include "platform/ToggleShortcut.h"

class QAction;
class QLineEdit;
class QSystemTrayIcon;
class QWidget;

namespace vorrik {

// A modal alert: its message, the explanation below it and its buttons, first button first.
struct Alert {
  QString message;
  QString informative;
  // Empty for the platform's single default button.
  QStringList buttons;
};

// What an alert returns for its first button; each later button answers one more.
inline constexpr int kAlertFirstButton = 1000;
inline constexpr int kAlertSecondButton = 1001;

// The defaults key that records the answer to the desktop shortcut's offer, so it comes once.
inline constexpr std::string_view kShortcutOfferKey = "vorrik_f6_shortcut_offer";

// The application's life: start-up, the panel, the tray item, both menus and their commands.
class AppDelegate final : public QObject {
  Q_OBJECT

 public:
  // Builds the one panel: a top-level widget with a layout and a slot named "toggle".
  using PanelFactory = std::function<std::unique_ptr<QWidget>()>;
  // Runs an alert modally; returns kAlertFirstButton plus the index of the button pressed.
  using AlertRunner = std::function<int(const Alert&)>;

  // What the delegate talks through; each reference must outlive the delegate.
  struct Services {
    NotificationCenter& center;
    AccessibilityTrust& trust;
    SettingsLink& settingsLink;
    PanelFactory makePanel;
    AlertRunner runAlert;
    // Whether a tray shows the status item now; null asks QSystemTrayIcon.
    std::function<bool()> trayAvailable;
    // The desktop's F6 shortcut for Vorrik, offered once; null where F6 needs none.
    ToggleShortcut* toggleShortcut = nullptr;
    // Keeps the answer to that offer; needed with toggleShortcut.
    DefaultsStore* defaults = nullptr;
    // Asked again at each kHotkeyChanged post on center: the shortcut to offer now (replacing
    // toggleShortcut), and whether F6 reaches Vorrik in no way at all. Null: never changes.
    std::function<ToggleShortcut*()> currentShortcut = nullptr;
    std::function<bool()> hotkeyMissing = nullptr;
  };

  explicit AppDelegate(Services services, QObject* parent = nullptr);
  ~AppDelegate() override;

  // Shows alert with QMessageBox over parent (none: on its own); closing it without a button
  // answers as its last button.
  static int runAlertModally(const Alert& alert, QWidget* parent = nullptr);
  // The short version set on the application object, or "1.1" when there is none.
  static QString shortVersion();

  // Brings up the panel, the menus and the tray item, then checks the permission to click.
  void applicationDidFinishLaunching();
  // Another launch or the desktop asked for the application: shows the panel; always true.
  bool applicationShouldHandleReopen(bool hasVisibleWindows);
  // Closing the panel leaves the application running in the tray. Where no tray shows, a hidden
  // panel could only come back through a new launch, so closing it quits instead, once the user
  // confirms.
  static bool applicationShouldTerminateAfterLastWindowClosed() { return false; }

  // The panel, once start-up has built it.
  [[nodiscard]] QWidget* panel() const { return panel_.get(); }
  // The tray item, once start-up has made it.
  [[nodiscard]] QSystemTrayIcon* statusItem() const { return statusItem_.get(); }
  // The current menu bar above the panel; replaced at every language change.
  [[nodiscard]] QMenuBar* mainMenu() const { return mainMenu_; }
  // The current tray menu; replaced at every language change.
  [[nodiscard]] QMenu* statusMenu() const { return statusMenu_; }

  // Menu commands.
  // Chooses the language whose code the action carries as a string; anything else does nothing.
  void pickLanguage(QAction* sender);
  // Shows the panel in front and gives it the keyboard.
  void show();
  // Starts a stopped run or stops a running one, without raising the panel.
  void toggleFromMenu();
  // Adds the desktop's F6 shortcut when it is missing, removes it when it is there.
  void flipShortcut();
  // Opens the help page on what this desktop needs for clicks, without asking for trust first.
  void axSettings();
  // Shows the name, version and credits.
  void about();

 protected:
  // Watches the panel's close: see applicationShouldTerminateAfterLastWindowClosed().
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void buildMenu();
  void buildStatusMenu();
  QMenu* languageItem(QWidget* parent);
  void checkTrust();
  void offerShortcut();
  // Takes in the desktop's new answer on F6: offers its shortcut, or says F6 is missing.
  void hotkeyChanged();
  void rebuildMenus();
  // The shortcut's menu item, where the desktop has one.
  void addShortcutItem(QMenu* menu);
  void popUpStatusMenu();
  void hideApplication();
  static void quitApplication();
  // Cut, copy, paste or select all in the panel's text field that has the keyboard.
  void editInPanel(const std::function<void(QLineEdit*)>& edit);

  Services services_;
  std::unique_ptr<QWidget> panel_;
  std::unique_ptr<QSystemTrayIcon> statusItem_;
  QPointer<QMenuBar> mainMenu_;
  QPointer<QMenu> statusMenu_;
  bool quitting_ = false;
  int alertsOpen_ = 0;
  bool offerWaiting_ = false;  // the F6 offer came while an alert was open
  bool shortcutInstalled_ = false;
  bool hotkeyMissing_ = false;
};

}  // namespace vorrik
