// SPDX-License-Identifier: MIT
#include "platform/wlroots/PickOverlay.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QWindow>

namespace vorrik::wlroots {
namespace {

// One output's cover: full screen on that output, tinted, a cross-hair cursor.
class Cover final : public QWidget {
 public:
  Cover(PickOverlay& owner, QScreen* screen) : owner_(owner) {
    setWindowFlags(Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    setAttribute(Qt::WA_TranslucentBackground);
    setMouseTracking(true);
    setCursor(Qt::CrossCursor);
    setFocusPolicy(Qt::StrongFocus);
    setWindowTitle(QStringLiteral("Vorrik: click the point"));
    setScreen(screen);
    setGeometry(screen->geometry());
  }

 protected:
  void paintEvent(QPaintEvent* /*event*/) override {
    QPainter painter(this);
    painter.fillRect(rect(), QColor(40, 110, 220, 60));
  }
  // Qt reports a press where the last motion was; following every motion lets a press be
  // answered even before this window sees it (an application-wide event filter goes first).
  void enterEvent(QEnterEvent* event) override { owner_.seen(global(event->position())); }
  void mouseMoveEvent(QMouseEvent* event) override { owner_.seen(global(event->position())); }
  void mousePressEvent(QMouseEvent* event) override {
    if (event->button() == Qt::LeftButton) {
      owner_.clicked(global(event->position()));
    } else {
      owner_.clicked(std::nullopt);
    }
  }
  void keyPressEvent(QKeyEvent* event) override {
    if (event->key() == Qt::Key_Escape) {
      owner_.clicked(std::nullopt);
    }
  }

 private:
  // The window fills its output, so the output's place in the layout is its origin.
  ClickPoint global(QPointF local) const {
    const QScreen* on = windowHandle() != nullptr ? windowHandle()->screen() : screen();
    const QPointF origin = on != nullptr ? QPointF(on->geometry().topLeft()) : QPointF();
    return {origin.x() + local.x(), origin.y() + local.y()};
  }

  PickOverlay& owner_;
};

}  // namespace

PickOverlay::PickOverlay() = default;

PickOverlay::~PickOverlay() {
  hide();
}

std::optional<InputMonitor::Handle> PickOverlay::addKeyMonitor(
    std::function<void(Key)> /*handler*/) {
  return std::nullopt;
}

std::optional<InputMonitor::Handle> PickOverlay::addLeftPressMonitor(
    std::function<void()> handler) {
  hide();
  handler_ = std::move(handler);
  active_ = next_++;
  last_.reset();
  for (QScreen* screen : QGuiApplication::screens()) {
    auto* cover = new Cover(*this, screen);
    covers_.emplace_back(cover);
    cover->showFullScreen();
    cover->activateWindow();
  }
  return active_;
}

void PickOverlay::remove(Handle handle) {
  if (active_ == handle) {
    active_.reset();
    handler_ = nullptr;
    hide();
  }
}

void PickOverlay::clicked(std::optional<ClickPoint> at) {
  if (!active_) {
    return;  // the pick already ended, through an application-wide filter for this press
  }
  last_ = at;
  // The handler usually removes this monitor; keep it callable until it returns.
  const std::function<void()> handler = handler_;
  active_.reset();
  handler_ = nullptr;
  hide();
  if (handler) {
    handler();
  }
}

void PickOverlay::hide() {
  // Later: this may run inside one of the covers' own event handlers.
  for (const QPointer<QWidget>& cover : covers_) {
    if (cover) {
      cover->hide();
      cover->deleteLater();
    }
  }
  covers_.clear();
}

}  // namespace vorrik::wlroots
