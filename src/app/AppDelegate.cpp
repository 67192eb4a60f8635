// SPDX-License-Identifier: MIT
#include "app/AppDelegate.h"

#include <QAction>
#include <QApplication>
#include <QCursor>
#include <QGridLayout>
#include <QKeySequence>
#include <QLayout>
#include <QLineEdit>
#include <QLoggingCategory>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QSystemTrayIcon>
#include <QWidget>

#include <utility>

#include "app/LetterIcon.h"
#include "l10n/L.h"

// Quiet unless asked for, with QT_LOGGING_RULES="vorrik.app.debug=true".
Q_LOGGING_CATEGORY(lcApp, "vorrik.app", QtInfoMsg)

namespace vorrik {
namespace {

QString text(std::string_view key, const L::Values& values = {}) {
  return QString::fromStdString(L::t(key, values));
}

constexpr int kAlertWidth = 420;

QString productName() {
  return QStringLiteral("Vorrik");
}

QAction* addItem(QMenu* menu, std::string_view key, QAction::MenuRole role = QAction::NoRole) {
  QAction* action = menu->addAction(text(key));
  // Only About and Quit may move to the places the platform keeps for them.
  action->setMenuRole(role);
  return action;
}

}  // namespace

AppDelegate::AppDelegate(Services services, QObject* parent)
    : QObject(parent), services_(std::move(services)) {
  if (!services_.runAlert) {
    // Over the panel while it shows: a desktop that places windows itself (GNOME on Wayland)
    // puts a dialog of no window anywhere, even below the panel.
    services_.runAlert = [this](const Alert& alert) {
      return runAlertModally(alert, panel_ && panel_->isVisible() ? panel_.get() : nullptr);
    };
  }
  if (!services_.trayAvailable) {
    services_.trayAvailable = &QSystemTrayIcon::isSystemTrayAvailable;
  }
  // One alert at a time. An open alert runs its own event loop, in which the desktop's late
  // answer on F6 may come: the offer it brings waits until that alert has closed.
  services_.runAlert = [this, run = std::move(services_.runAlert)](const Alert& alert) {
    ++alertsOpen_;
    const int answer = run(alert);
    if (--alertsOpen_ == 0 && offerWaiting_) {
      offerWaiting_ = false;
      // After the caller has taken the answer in.
      QMetaObject::invokeMethod(this, &AppDelegate::offerShortcut, Qt::QueuedConnection);
    }
    return answer;
  };
}

AppDelegate::~AppDelegate() {
  statusItem_.reset();
  delete statusMenu_;
  delete mainMenu_;
  panel_.reset();
}

int AppDelegate::runAlertModally(const Alert& alert, QWidget* parent) {
  QMessageBox box(parent);
  box.setWindowTitle(productName());
  box.setIconPixmap(letterIcon().pixmap(64, 64));
  // The message in bold above its explanation, as alerts are laid out on every desktop.
  box.setTextFormat(Qt::RichText);
  box.setText(QStringLiteral("<b>%1</b>").arg(alert.message.toHtmlEscaped()));
  box.setInformativeText(alert.informative);
  QList<QAbstractButton*> buttons;
  for (const QString& title : alert.buttons) {
    buttons.append(box.addButton(
        title, buttons.isEmpty() ? QMessageBox::AcceptRole : QMessageBox::RejectRole));
  }
  if (buttons.isEmpty()) {
    // The single default button, without the stock icon some styles put on it.
    box.setStandardButtons(QMessageBox::Ok);
    box.button(QMessageBox::Ok)->setIcon({});
  } else {
    box.setDefaultButton(qobject_cast<QPushButton*>(buttons.first()));
    box.setEscapeButton(buttons.last());
  }
  // Wide enough that short sentences stay on one line.
  if (auto* grid = qobject_cast<QGridLayout*>(box.layout())) {
    grid->addItem(new QSpacerItem(kAlertWidth, 0, QSizePolicy::Minimum, QSizePolicy::Minimum),
                  grid->rowCount(), 0, 1, grid->columnCount());
  }
  box.exec();
  const auto index = buttons.indexOf(box.clickedButton());
  return kAlertFirstButton + static_cast<int>(index < 0 ? buttons.size() - 1 : index);
}

QString AppDelegate::shortVersion() {
  const QString version = QCoreApplication::applicationVersion();
  return version.isEmpty() ? QStringLiteral("1.1") : version;
}

void AppDelegate::applicationDidFinishLaunching() {
  // An ordinary application with windows and a menu: nothing to switch on this platform. The
  // menu bar lives in the panel's layout, so the panel comes first; nothing shows before show().
  // The menus name the shortcut's state; asked once here, and again at each change.
  shortcutInstalled_ = services_.toggleShortcut != nullptr && services_.toggleShortcut->installed();
  panel_ = services_.makePanel();
  if (!panel_) {
    qFatal("Vorrik: the panel could not be created");
  }
  buildMenu();
  panel_->installEventFilter(this);
  QCoreApplication::instance()->installEventFilter(this);
  show();

  statusItem_ = std::make_unique<QSystemTrayIcon>(letterIcon());
  statusItem_->setToolTip(productName());
  // The tray's own click opens the same menu as its context click, as one would expect of a
  // one-letter item that has nothing else to do.
  connect(statusItem_.get(), &QSystemTrayIcon::activated, this,
          [this](QSystemTrayIcon::ActivationReason reason) {
            if (reason == QSystemTrayIcon::Trigger) {
              popUpStatusMenu();
            }
          });
  buildStatusMenu();
  if (!QSystemTrayIcon::isSystemTrayAvailable()) {
    qCDebug(lcApp) << "No system tray yet: the panel's menu bar has every command.";
  }
  // Shown even without a tray: Qt docks a visible icon as soon as a tray host appears.
  statusItem_->show();

  services_.center.addObserver(L::changed(), [self = QPointer<AppDelegate>(this)] {
    if (self) {
      self->rebuildMenus();
    }
  });
  // Later: the desktop posts from inside its own answer, and an offer may run an alert.
  services_.center.addObserver(std::string(kHotkeyChanged), [self = QPointer<AppDelegate>(this)] {
    QMetaObject::invokeMethod(
        self,
        [self] {
          if (self) {
            self->hotkeyChanged();
          }
        },
        Qt::QueuedConnection);
  });

  // Before the permission: the desktop's own consent dialog may follow that alert.
  offerShortcut();
  checkTrust();
}

void AppDelegate::offerShortcut() {
  ToggleShortcut* shortcut = services_.toggleShortcut;
  if (shortcut == nullptr || services_.defaults == nullptr) {
    return;
  }
  if (shortcutInstalled_ || services_.defaults->stringForKey(kShortcutOfferKey)) {
    return;
  }
  if (alertsOpen_ > 0) {
    offerWaiting_ = true;
    return;
  }
  // Closing the alert declines too; either answer is final, the menu can still add it.
  const bool add =
      services_.runAlert({text("f6_title"), text("f6_body"), {text("f6_add"), text("f6_skip")}}) ==
      kAlertFirstButton;
  services_.defaults->setString(kShortcutOfferKey, add ? "added" : "declined");
  if (add) {
    flipShortcut();
  }
}

void AppDelegate::hotkeyChanged() {
  if (services_.currentShortcut) {
    services_.toggleShortcut = services_.currentShortcut();
  }
  shortcutInstalled_ = services_.toggleShortcut != nullptr && services_.toggleShortcut->installed();
  hotkeyMissing_ = services_.hotkeyMissing && services_.hotkeyMissing();
  // By name, like toggle: the panel's status line says it where it would say Ready.
  if (panel_->metaObject()->indexOfMethod("setHotkeyMissing(bool)") >= 0) {
    QMetaObject::invokeMethod(panel_.get(), "setHotkeyMissing", Q_ARG(bool, hotkeyMissing_));
  }
  rebuildMenus();
  offerShortcut();
}

void AppDelegate::flipShortcut() {
  ToggleShortcut* shortcut = services_.toggleShortcut;
  if (shortcut == nullptr) {
    return;
  }
  // Asked again, as the user may have changed it in the desktop's settings meanwhile.
  const bool ok = shortcut->installed() ? shortcut->remove() : shortcut->install();
  if (!ok) {
    qCWarning(lcApp) << "The desktop's shortcut for F6 could not be changed.";
  }
  shortcutInstalled_ = shortcut->installed();
  rebuildMenus();
}

void AppDelegate::rebuildMenus() {
  buildStatusMenu();
  buildMenu();
}

void AppDelegate::addShortcutItem(QMenu* menu) {
  if (services_.toggleShortcut != nullptr) {
    connect(addItem(menu, shortcutInstalled_ ? "f6_remove" : "f6_add"), &QAction::triggered, this,
            &AppDelegate::flipShortcut);
  } else if (hotkeyMissing_) {
    connect(addItem(menu, "m_f6_missing"), &QAction::triggered, this, [this] {
      services_.runAlert({text("f6_missing_title"), text("f6_missing"), {}});
    });
  }
}

void AppDelegate::popUpStatusMenu() {
  if (!statusMenu_) {
    return;
  }
  // Drop the menu from the icon, not from the pointer, so it never hides the icon; above it
  // when the tray sits at the bottom of the screen.
  const QRect icon = statusItem_->geometry();
  if (icon.isEmpty()) {
    statusMenu_->popup(QCursor::pos());
    return;
  }
  QPoint at = icon.bottomLeft() + QPoint(0, 1);
  const QScreen* screen = QGuiApplication::screenAt(icon.center());
  const int height = statusMenu_->sizeHint().height();
  if (screen && at.y() + height > screen->availableGeometry().bottom()) {
    at.setY(icon.top() - height);
  }
  statusMenu_->popup(at);
}

bool AppDelegate::eventFilter(QObject* watched, QEvent* event) {
  // Quitting closes every window first, whoever asked (Quit, a signal); those closes never ask.
  if (watched == QCoreApplication::instance() && event->type() == QEvent::Quit) {
    quitting_ = true;
  }
  if (watched != panel_.get() || event->type() != QEvent::Close || quitting_ ||
      services_.trayAvailable()) {
    return QObject::eventFilter(watched, event);
  }
  // Asked at each close, as a tray host may have come or gone since.
  if (services_.runAlert(
          {text("no_tray_title"), text("no_tray_body"), {text("m_quit"), text("keep_open")}}) ==
      kAlertFirstButton) {
    quitApplication();
    return false;
  }
  event->ignore();
  return true;
}

bool AppDelegate::applicationShouldHandleReopen(bool /*hasVisibleWindows*/) {
  show();
  return true;
}

void AppDelegate::checkTrust() {
  // A desktop that remembers the user's consent grants it again at the first Start, without a
  // dialog: there is nothing to explain.
  if (services_.trust.isTrusted(false) || services_.trust.remembersConsent()) {
    return;
  }
  const L::RefusalKeys keys = L::refusalKeys(services_.trust.refusal());
  const Alert alert{
      text(keys.title),
      text(keys.body, {{"answer", L::t(L::consentKey(services_.trust.consentDialog()))}}),
      {text("open_settings"), text("later")}};
  // Also for a start from a terminal, where the alert may be missed.
  qCInfo(lcApp).noquote() << alert.message + QStringLiteral(": ") + alert.informative;
  const int answer = services_.runAlert(alert);
  if (answer != kAlertFirstButton) {
    return;
  }
  services_.trust.isTrusted(true);
  services_.settingsLink.open();
}

void AppDelegate::buildMenu() {
  auto* bar = new QMenuBar;

  QMenu* app = bar->addMenu(productName());
  connect(addItem(app, "m_about", QAction::AboutRole), &QAction::triggered, this,
          &AppDelegate::about);
  app->addSeparator();
  app->addMenu(languageItem(app));
  addShortcutItem(app);
  app->addSeparator();
  QAction* hide = addItem(app, "m_hide");
  hide->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_H));
  connect(hide, &QAction::triggered, this, &AppDelegate::hideApplication);
  QAction* quit = addItem(app, "m_quit", QAction::QuitRole);
  quit->setShortcut(QKeySequence::Quit);
  connect(quit, &QAction::triggered, this, &AppDelegate::quitApplication);

  QMenu* edit = bar->addMenu(text("m_edit"));
  const struct {
    std::string_view key;
    QKeySequence::StandardKey shortcut;
    void (*apply)(QLineEdit*);
  } edits[] = {
      {"m_cut", QKeySequence::Cut, [](QLineEdit* field) { field->cut(); }},
      {"m_copy", QKeySequence::Copy, [](QLineEdit* field) { field->copy(); }},
      {"m_paste", QKeySequence::Paste, [](QLineEdit* field) { field->paste(); }},
      {"m_selectall", QKeySequence::SelectAll, [](QLineEdit* field) { field->selectAll(); }},
  };
  for (const auto& item : edits) {
    QAction* action = addItem(edit, item.key);
    action->setShortcut(item.shortcut);
    connect(action, &QAction::triggered, this, [this, apply = item.apply] { editInPanel(apply); });
  }

  // The bar sits above the panel's column; where the platform has a global menu bar, Qt moves
  // it there instead.
  if (QLayout* layout = panel_->layout()) {
    layout->setMenuBar(bar);
  }
  if (mainMenu_) {
    // Later, because the old bar may be delivering the very action that caused this rebuild.
    mainMenu_->hide();
    mainMenu_->deleteLater();
  }
  mainMenu_ = bar;
}

void AppDelegate::buildStatusMenu() {
  auto* menu = new QMenu;
  connect(addItem(menu, "m_show"), &QAction::triggered, this, &AppDelegate::show);
  connect(addItem(menu, "m_toggle"), &QAction::triggered, this, &AppDelegate::toggleFromMenu);
  menu->addSeparator();
  connect(addItem(menu, "m_ax"), &QAction::triggered, this, &AppDelegate::axSettings);
  menu->addMenu(languageItem(menu));
  addShortcutItem(menu);
  menu->addSeparator();
  QAction* quit = addItem(menu, "m_quit");
  quit->setShortcut(QKeySequence::Quit);
  connect(quit, &QAction::triggered, this, &AppDelegate::quitApplication);

  statusItem_->setContextMenu(menu);
  if (statusMenu_) {
    statusMenu_->deleteLater();
  }
  statusMenu_ = menu;
}

QMenu* AppDelegate::languageItem(QWidget* parent) {
  auto* menu = new QMenu(text("m_language"), parent);
  menu->menuAction()->setMenuRole(QAction::NoRole);
  const std::string current = L::lang();
  const auto& names = L::names();
  for (const std::string& code : L::supported()) {
    const auto name = names.find(code);
    QAction* action =
        menu->addAction(QString::fromStdString(name != names.end() ? name->second : code));
    action->setMenuRole(QAction::NoRole);
    action->setData(QString::fromStdString(code));
    action->setCheckable(true);
    action->setChecked(code == current);
    connect(action, &QAction::triggered, this, [this, action] { pickLanguage(action); });
  }
  return menu;
}

void AppDelegate::pickLanguage(QAction* sender) {
  if (!sender) {
    return;
  }
  const QVariant code = sender->data();
  if (code.typeId() != QMetaType::QString) {
    return;
  }
  L::setLang(code.toString().toStdString());
}

void AppDelegate::show() {
  // By name, like toggle: the control panel knows how to take the keyboard just this once.
  if (panel_->metaObject()->indexOfMethod("present()") >= 0) {
    QMetaObject::invokeMethod(panel_.get(), "present");
    return;
  }
  panel_->setWindowState(panel_->windowState() & ~Qt::WindowMinimized);
  panel_->show();
  panel_->raise();
  panel_->activateWindow();
}

void AppDelegate::toggleFromMenu() {
  // By name, as the panel offers it to every caller.
  QMetaObject::invokeMethod(panel_.get(), "toggle");
}

void AppDelegate::axSettings() {
  services_.settingsLink.open();
}

void AppDelegate::about() {
  services_.runAlert(
      {text("about_title", {{"v", shortVersion().toStdString()}}), text("about_body"), {}});
}

void AppDelegate::hideApplication() {
  panel_->hide();
}

void AppDelegate::quitApplication() {
  QCoreApplication::quit();
}

void AppDelegate::editInPanel(const std::function<void(QLineEdit*)>& edit) {
  if (auto* field = qobject_cast<QLineEdit*>(panel_->focusWidget())) {
    edit(field);
  }
}

}  // namespace vorrik
