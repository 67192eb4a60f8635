// SPDX-License-Identifier: MIT
#include "platform/portal/PortalInput.h"

#include <QStringList>

#include <cmath>
#include <utility>

namespace vorrik::portal {
namespace {

// evdev button codes, as the portal takes them.
constexpr int kButtonLeft = 0x110;
constexpr int kButtonRight = 0x111;

// Far enough to reach the corner from anywhere on any screen.
constexpr double kBeyond = 1'000'000;

}  // namespace

void PortalInjector::setScreen(QRect screen) {
  std::lock_guard lock(mutex_);
  screen_ = screen;
}

void PortalInjector::setRoot(QSize root) {
  std::lock_guard lock(mutex_);
  root_ = root;
}

bool PortalInjector::click(MouseButton button, std::optional<ClickPoint> at, int count,
                           ClickPacing& pacing) {
  if (session_.state() != PortalSession::State::started) {
    return false;
  }
  // Through EIS a point is checked once, here, and the presses carry its layout point.
  if (const auto eis = session_.eis()) {
    if (!eis->ready()) {
      return false;
    }
    QSize root;
    {
      std::lock_guard lock(mutex_);
      root = root_;
    }
    const std::optional<ClickPoint> layout =
        at ? eis->reach(*at, root.width(), root.height()) : std::nullopt;
    if (at && !layout) {
      return false;
    }
    postPresses(button, layout, count, pacing, [this](const MouseEvent& event) { post(event); });
    return true;
  }
  if (at) {
    std::lock_guard lock(mutex_);
    if (!std::isfinite(at->x) || !std::isfinite(at->y) ||
        !QRectF(screen_).contains(std::round(at->x), std::round(at->y))) {
      return false;
    }
  }
  postPresses(button, at, count, pacing, [this](const MouseEvent& event) { post(event); });
  return true;
}

void PortalInjector::post(const MouseEvent& event) {
  const int code = event.button == MouseButton::right ? kButtonRight : kButtonLeft;
  if (const auto eis = session_.eis()) {
    // Nothing sent is reported by the connection itself, which then loses the session.
    if (event.action == MouseAction::down && event.clickState == 1 && event.at) {
      eis->moveTo(*event.at);
    }
    eis->button(code, event.action == MouseAction::down);
    return;
  }
  if (event.action == MouseAction::down && event.clickState == 1 && event.at) {
    QRect screen;
    {
      std::lock_guard lock(mutex_);
      screen = screen_;
    }
    // QRect's right() and bottom() are the last pixel's, where the pointer stops.
    session_.pointerMotion(kBeyond, kBeyond);
    session_.pointerMotion(std::round(event.at->x) - screen.right(),
                           std::round(event.at->y) - screen.bottom());
  }
  session_.pointerButton(code, event.action == MouseAction::down);
}

PortalTrust::PortalTrust(PortalSession& session, std::function<QString()> parentWindow,
                         const QString& desktop)
    : session_(session), parentWindow_(std::move(parentWindow)) {
  // XDG_CURRENT_DESKTOP is a list, such as "ubuntu:GNOME"; the portal's dialog is the one of
  // the desktop named there.
  const QStringList names = desktop.split(QLatin1Char(':'));
  if (names.contains(QStringLiteral("GNOME"), Qt::CaseInsensitive)) {
    dialog_.desktop = ConsentDialog::Desktop::gnome;
  } else if (names.contains(QStringLiteral("KDE"), Qt::CaseInsensitive)) {
    dialog_.desktop = ConsentDialog::Desktop::kde;
  }
  dialog_.remembers = session_.restores();
  session_.onRevoked = [this] {
    if (revoked_) {
      revoked_();
    }
  };
  session_.onAnswered = [this](bool started) {
    if (answered_) {
      answered_(started);
    }
  };
}

void PortalTrust::setAnswerHandler(std::function<void(bool)> handler) {
  answered_ = std::move(handler);
}

bool PortalTrust::isTrusted(bool prompt) {
  const PortalSession::State state = session_.state();
  if (state == PortalSession::State::started) {
    return true;
  }
  if (prompt && state == PortalSession::State::idle) {
    session_.ask(parentWindow_ ? parentWindow_() : QString());
  }
  return false;
}

void PortalTrust::setRevokedHandler(std::function<void()> handler) {
  revoked_ = std::move(handler);
}

}  // namespace vorrik::portal
