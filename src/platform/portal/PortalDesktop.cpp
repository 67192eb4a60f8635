// SPDX-License-Identifier: MIT
#include "platform/portal/PortalDesktop.h"

#include <sys/stat.h>

#include <QEvent>
#include <QGuiApplication>
#include <QObject>
#include <QPointer>
#include <QScreen>
#include <QWindow>

#include <algorithm>
#include <vector>

#include "platform/portal/GnomeShortcut.h"
#include "platform/portal/PortalInput.h"
#include "platform/portal/PortalSession.h"
#include "platform/portal/PortalShortcuts.h"
#include "platform/qt/QtDesktop.h"
#include "platform/wayland/PickOverlay.h"

namespace vorrik::portal {
namespace {

// Whether the compositor's socket is there, found as Wayland clients find it: a name relative to
// the runtime directory, or a path. A session bus may offer the portal to any session, so the
// portal alone says nothing about this one.
bool waylandSocketExists(const std::string& display) {
  const std::string path =
      display.front() == '/'
          ? display
          : qEnvironmentVariable("XDG_RUNTIME_DIR").toStdString() + "/" + display;
  struct stat info {};
  return stat(path.c_str(), &info) == 0 && S_ISSOCK(info.st_mode);
}

// Whether DISPLAY names an X server here: a local display's socket is there. A remote one is
// taken at its word.
bool xServerExists(const std::string& display) {
  if (display.empty()) {
    return false;
  }
  if (display.front() != ':') {
    return true;
  }
  const std::string number = display.substr(1, display.find('.') - 1);
  struct stat info {};
  return stat(("/tmp/.X11-unix/X" + number).c_str(), &info) == 0 && S_ISSOCK(info.st_mode);
}

// Whether window is one of the application's own top-level windows (the panel), not a popup or
// a cover.
bool isAppWindow(const QWindow* window) {
  return window->transientParent() == nullptr &&
         (window->type() == Qt::Tool || window->type() == Qt::Window ||
          window->type() == Qt::Dialog);
}

// The portal's handle of the application's own window, for the consent dialog to belong to: the
// first shown top-level window, the panel, as the portal names an X11 window. A native Wayland
// window would need an exported xdg-foreign handle, which Qt offers no way to make; its dialog
// then has no parent.
QString parentWindow() {
  if (QGuiApplication::platformName() != QStringLiteral("xcb")) {
    return {};
  }
  const QList<QWindow*> windows = QGuiApplication::topLevelWindows();
  const auto found = std::find_if(windows.begin(), windows.end(), [](const QWindow* window) {
    return window->isVisible() && isAppWindow(window);
  });
  return found == windows.end() ? QString()
                                : QStringLiteral("x11:%1").arg((*found)->winId(), 0, 16);
}

// While the desktop shows a dialog for Vorrik, its windows kept above others give that up: the
// desktop keeps its own dialog in the normal layer, so the panel would cover it (KDE Plasma
// centres its consent on the panel). A window shown meanwhile yields too, as the panel does at
// launch, after F6's bind was asked. Each keeps its window (no flicker, no move): Xwayland's
// window only changes its state.
class AboveYield final : public QObject {
 public:
  AboveYield() = default;
  AboveYield(const AboveYield&) = delete;
  AboveYield& operator=(const AboveYield&) = delete;
  ~AboveYield() override { restore(); }

  // One dialog opened or ended; the windows are kept above again once none is open.
  void dialog(bool open) {
    open_ = std::max(0, open_ + (open ? 1 : -1));
    if (open && open_ == 1) {
      qApp->installEventFilter(this);
      for (QWindow* window : QGuiApplication::topLevelWindows()) {
        yield(window);
      }
    } else if (!open && open_ == 0) {
      restore();
    }
  }

  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() == QEvent::Show && watched->isWindowType()) {
      yield(static_cast<QWindow*>(watched));
    }
    return false;
  }

 private:
  void yield(QWindow* window) {
    if (isAppWindow(window) && window->flags().testFlag(Qt::WindowStaysOnTopHint)) {
      window->setFlag(Qt::WindowStaysOnTopHint, false);
      yielded_.emplace_back(window);
    }
  }
  void restore() {
    qApp->removeEventFilter(this);
    for (const QPointer<QWindow>& window : std::exchange(yielded_, {})) {
      if (window) {
        window->setFlag(Qt::WindowStaysOnTopHint, true);
      }
    }
  }

  int open_ = 0;
  std::vector<QPointer<QWindow>> yielded_;
};

// Members in the order they must be built: the Qt services and the store first (the base), then the
// session that keeps its restore token there, then what uses the session.
class PortalDesktop final : public qt::QtDesktop {
 public:
  PortalDesktop(unsigned version, const XwaylandPick& xwaylandPick)
      : session_(defaults(), version),
        trust_(session_, &parentWindow, qEnvironmentVariable("XDG_CURRENT_DESKTOP")),
        injector_(session_) {
    // Through EIS the injector finds the monitor of any point itself.
    if (xwaylandPick) {
      XwaylandCover cover = xwaylandPick([this] { return session_.eis() != nullptr; });
      cover_ = std::move(cover.pick);
      rootSize_ = std::move(cover.rootSize);
    }
    session_.onDialog = [this](bool open) { yield_.dialog(open); };
    // Xwayland's cover shows the desktop under its tint and knows exact root coordinates; the
    // Wayland overlay, which GNOME draws over black, is for sessions without Xwayland.
    if (!cover_) {
      cover_ = std::make_unique<wayland::PickOverlay>(wayland::PickOverlay::Reach::primaryScreen);
    }
    // F6: the desktop's global-shortcuts portal where it has one (KDE Plasma, newer GNOME);
    // else, or once the desktop refuses it there, GNOME's own custom shortcut, offered to the
    // user; else the panel and the menus say that F6 is missing.
    if (const auto version = portalVersion(kGlobalShortcuts)) {
      keys_.emplace(*version == 1 && onPlasma() ? PortalShortcuts::Listed::keep
                                                : PortalShortcuts::Listed::rebind);
      keys_->onUnavailable = [this] { fallBack(); };
      keys_->onDialog = [this](bool open) { yield_.dialog(open); };
    } else {
      fallBack();
    }
    followPrimaryScreen();
    QObject::connect(qApp, &QGuiApplication::primaryScreenChanged, &context_,
                     [this] { followPrimaryScreen(); });
  }

  AccessibilityTrust& trust() override { return trust_; }
  EventInjector& injector() override { return injector_; }
  // A pick off the primary screen, which the injector cannot reach, takes no point.
  PointPick& picker() override { return *cover_; }
  // Keys from the global-shortcuts portal where there is one.
  InputMonitor* input() override { return keys_ ? &*keys_ : nullptr; }
  WindowSystem* windows() override { return nullptr; }
  // GNOME 43 has no global-shortcuts portal, and GNOME 48's may refuse.
  ToggleShortcut* toggleShortcut() override { return shortcut_ ? &*shortcut_ : nullptr; }
  bool hotkeyMissing() override { return missing_; }

 private:
  static bool onPlasma() {
    return qEnvironmentVariable("XDG_CURRENT_DESKTOP")
        .split(QLatin1Char(':'))
        .contains(QStringLiteral("KDE"), Qt::CaseInsensitive);
  }

  // The next way to F6 once the portal's is out, said to whoever shows the choice.
  void fallBack() {
    if (GnomeShortcut::available()) {
      shortcut_.emplace(GnomeShortcut::toggleCommand());
    } else {
      missing_ = true;
    }
    center().post(kHotkeyChanged);
  }

  // The injector reaches picked points from the primary screen's corner.
  void followPrimaryScreen() {
    QScreen* screen = QGuiApplication::primaryScreen();
    if (screen == nullptr) {
      return;
    }
    injector_.setScreen(screen->geometry());
    followRoot();
    QObject::disconnect(screenWatch_);
    screenWatch_ = QObject::connect(screen, &QScreen::geometryChanged, &context_,
                                    [this](const QRect& geometry) {
                                      injector_.setScreen(geometry);
                                      followRoot();
                                    });
    // A monitor added or moved elsewhere changes the root, not the primary screen.
    QObject::disconnect(layoutWatch_);
    layoutWatch_ = QObject::connect(screen, &QScreen::virtualGeometryChanged, &context_,
                                    [this] { followRoot(); });
  }

  // Picks on the cover come in Xwayland's root pixels, whose size X itself tells whatever Qt's
  // platform; the injector compares the root with the EIS layout to tell whether Xwayland
  // scales natively. Overlay picks are in layout pixels.
  void followRoot() { injector_.setRoot(rootSize_ ? rootSize_() : QSize()); }

  // Before what calls it, so that it outlives them.
  AboveYield yield_;
  PortalSession session_;
  PortalTrust trust_;
  PortalInjector injector_;
  std::unique_ptr<PointPick> cover_;
  std::function<QSize()> rootSize_;  // the cover's, while it is Xwayland's
  std::optional<GnomeShortcut> shortcut_;
  std::optional<PortalShortcuts> keys_;
  bool missing_ = false;
  QObject context_;
  QMetaObject::Connection screenWatch_;
  QMetaObject::Connection layoutWatch_;
};

}  // namespace

std::optional<std::string> unfit(const Session& session) {
  if (session.waylandDisplay.empty()) {
    return "no Wayland display (WAYLAND_DISPLAY is not set)";
  }
  if (!waylandSocketExists(session.waylandDisplay)) {
    return "the Wayland display \"" + session.waylandDisplay + "\" does not answer";
  }
  if (!remoteDesktopVersion()) {
    return "no desktop portal offers remote desktop on the session bus";
  }
  return std::nullopt;
}

std::string_view qtPlatform(const Session& session) {
  return xServerExists(session.display) ? "xcb" : "wayland";
}

std::unique_ptr<Desktop> openDesktop(const Session& /*session*/, const XwaylandPick& xwaylandPick) {
  return std::make_unique<PortalDesktop>(remoteDesktopVersion().value_or(1), xwaylandPick);
}

}  // namespace vorrik::portal
