// SPDX-License-Identifier: MIT
#include "platform/wayland/PickOverlay.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>

#include <cmath>
#include <utility>

namespace vorrik::wayland {
namespace {

// Light enough that what lies below stays visible where the compositor draws it.
constexpr int kTintAlpha = 40;

// One output's cover: tinted, a cross-hair cursor; it knows its place in the output layout
// only once the compositor says where it put it.
class Cover final : public QWidget {
 public:
  Cover(PickOverlay& owner, QScreen* screen, const QString& title) : owner_(owner) {
    setWindowFlags(Qt::FramelessWindowHint);
    setAttribute(Qt::WA_TranslucentBackground);
    setMouseTracking(true);
    setCursor(Qt::CrossCursor);
    setFocusPolicy(Qt::StrongFocus);
    setWindowTitle(title);
    setScreen(screen);
  }

  void placeAt(QPoint origin) { origin_ = origin; }

 protected:
  void paintEvent(QPaintEvent* /*event*/) override {
    // Nearly clear until a click is recorded where it lands: the tint says "pick now".
    QPainter(this).fillRect(rect(), QColor(40, 110, 220, owner_.placed() ? kTintAlpha : 1));
  }
  // Qt reports a press where the last motion was: follow every motion.
  void enterEvent(QEnterEvent* event) override { owner_.seen(global(event->position())); }
  void mouseMoveEvent(QMouseEvent* event) override { owner_.seen(global(event->position())); }
  void mousePressEvent(QMouseEvent* event) override {
    owner_.clicked(event->button() == Qt::LeftButton ? global(event->position()) : std::nullopt);
  }
  void keyPressEvent(QKeyEvent* event) override {
    if (event->key() == Qt::Key_Escape) {
      owner_.clicked(std::nullopt);
    }
  }

 private:
  [[nodiscard]] std::optional<ClickPoint> global(QPointF local) const {
    if (!origin_) {
      return std::nullopt;
    }
    return ClickPoint{origin_->x() + local.x(), origin_->y() + local.y()};
  }

  PickOverlay& owner_;
  std::optional<QPoint> origin_;
};

}  // namespace

PickOverlay::PickOverlay(Reach reach) : reach_(reach) {}

PickOverlay::~PickOverlay() {
  hide();
}

void PickOverlay::start(Done done) {
  hide();
  done_ = std::move(done);
  last_.reset();
  placed_ = false;
  if (QScreen* primary = QGuiApplication::primaryScreen();
      reach_ == Reach::primaryScreen && primary != nullptr) {
    reachable_ = primary->geometry();
  }
  int index = 0;
  for (QScreen* screen : QGuiApplication::screens()) {
    const QString title = QStringLiteral("Vorrik pick %1").arg(++index);
    covers_.push_back({new Cover(*this, screen, title), title, screen->geometry().topLeft()});
  }
  show();
}

void PickOverlay::show() {
  for (const Placed& p : covers_) {
    locate(p, p.target);
    // Sized beforehand: a compositor may ask for full screen with no size (sway 1.10 does), and
    // Qt then keeps its default size, a cover that takes no click beyond it.
    p.cover->setFixedSize(p.cover->screen()->geometry().size());
    p.cover->showFullScreen();
    p.cover->activateWindow();
  }
  takeClicks({});
}

void PickOverlay::locate(const Placed& placed, QPoint origin) {
  if (placed.cover) {
    static_cast<Cover*>(placed.cover.data())->placeAt(origin);
  }
}

void PickOverlay::takeClicks(std::vector<QRect> leaveAlone) {
  excluded_ = std::move(leaveAlone);
  placed_ = true;
}

bool PickOverlay::excluded(ClickPoint at) const {
  const QPointF point(at.x, at.y);
  // Rounded as the injector rounds a point before it moves there.
  if (reachable_ && !QRectF(*reachable_).contains(std::round(at.x), std::round(at.y))) {
    return true;
  }
  for (const QRect& r : excluded_) {
    if (QRectF(r).contains(point)) {
      return true;
    }
  }
  return false;
}

void PickOverlay::seen(std::optional<ClickPoint> at) {
  last_ = placed_ && at && !excluded(*at) ? at : std::nullopt;
}

void PickOverlay::cancel() {
  done_ = nullptr;
  hide();
}

void PickOverlay::clicked(std::optional<ClickPoint> at) {
  if (!done_) {
    return;  // the pick already ended
  }
  seen(at);
  const Done done = std::exchange(done_, nullptr);
  hide();
  done(last_);
}

void PickOverlay::hide() {
  stopShowing();
  placed_ = false;
  // Later: this may run inside one of the covers' own event handlers.
  for (const Placed& p : covers_) {
    if (p.cover) {
      p.cover->hide();
      p.cover->deleteLater();
    }
  }
  covers_.clear();
  excluded_.clear();
  reachable_.reset();
}

}  // namespace vorrik::wayland
