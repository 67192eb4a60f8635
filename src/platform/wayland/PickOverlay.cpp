// SPDX-License-Identifier: MIT
#include "platform/wayland/PickOverlay.h"

#include <unistd.h>

#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>

#include <cmath>
#include <utility>

#include "platform/wayland/SwayIpc.h"

namespace vorrik::wayland {
namespace {

constexpr std::uint32_t kRunCommand = 0;
constexpr std::uint32_t kGetTree = 4;
constexpr int kRetryMs = 20;
constexpr int kTries = 100;
// Sway moves a window for input only once the client has drawn after its configure, or after
// its transaction timeout (200 ms by default).
constexpr int kSettleMs = 300;
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

QRect rectOf(const QJsonObject& node, const char* key) {
  const QJsonObject r = node.value(QLatin1String(key)).toObject();
  return {r.value(QLatin1String("x")).toInt(), r.value(QLatin1String("y")).toInt(),
          r.value(QLatin1String("width")).toInt(), r.value(QLatin1String("height")).toInt()};
}

// Every window in sway's tree that belongs to pid, by title, with its content's rectangle.
void windowsOf(const QJsonObject& node, qint64 pid, std::vector<std::pair<QString, QRect>>& out) {
  if (node.value(QLatin1String("pid")).toInteger(-1) == pid &&
      node.value(QLatin1String("visible")).toBool(true)) {
    const QRect outer = rectOf(node, "rect");
    const QRect content = rectOf(node, "window_rect").translated(outer.topLeft());
    out.emplace_back(node.value(QLatin1String("name")).toString(), content);
  }
  for (const char* children : {"nodes", "floating_nodes"}) {
    for (const auto& child : node.value(QLatin1String(children)).toArray()) {
      windowsOf(child.toObject(), pid, out);
    }
  }
}

}  // namespace

PickOverlay::PickOverlay(std::string swaySocket, Reach reach)
    : swaySocket_(std::move(swaySocket)), reach_(reach) {
  retry_.setInterval(kRetryMs);
  QObject::connect(&retry_, &QTimer::timeout, [this] { place(); });
}

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
  const bool sway = !swaySocket_.empty() && swayRequest(swaySocket_, kGetTree, {}).has_value();
  int index = 0;
  for (QScreen* screen : QGuiApplication::screens()) {
    const QString title = QStringLiteral("Vorrik pick %1").arg(++index);
    auto* cover = new Cover(*this, screen, title);
    covers_.push_back({cover, title, screen->geometry().topLeft(), false});
    if (sway) {
      // Floating, not full screen: sway draws black behind a full-screen window.
      cover->setFixedSize(screen->geometry().size());
      cover->show();
    } else {
      cover->placeAt(screen->geometry().topLeft());
      placed_ = true;
      cover->showFullScreen();
      cover->activateWindow();
    }
  }
  if (sway) {
    tries_ = 0;
    retry_.start();
  }
}

void PickOverlay::place() {
  if (settling_) {
    // Drawing again commits the acknowledged configure, which lets sway finish the move.
    for (const Placed& p : covers_) {
      if (p.cover) {
        p.cover->update();
      }
    }
    if (++tries_ * kRetryMs >= kSettleMs) {
      retry_.stop();
      placed_ = true;
    }
    return;
  }
  const std::string pid = std::to_string(::getpid());
  bool pending = false;
  for (Placed& p : covers_) {
    if (p.cover == nullptr || p.done) {
      continue;
    }
    // Fails until sway has mapped the window.
    const QPoint at = p.target;
    const std::optional<std::string> reply =
        swayRequest(swaySocket_, kRunCommand,
                    "[pid=" + pid + " title=\"^" + p.title.toStdString() +
                        "$\"] floating enable, border none, move absolute position " +
                        std::to_string(at.x()) + " " + std::to_string(at.y()) + ", focus");
    p.done = reply && swaySucceeded(*reply);
    pending = pending || !p.done;
  }
  if (pending && ++tries_ < kTries) {
    return;
  }
  // Where sway really put everything: the covers' origins, the other windows to leave alone.
  std::vector<std::pair<QString, QRect>> windows;
  if (const std::optional<std::string> tree = swayRequest(swaySocket_, kGetTree, {})) {
    windowsOf(QJsonDocument::fromJson(QByteArray::fromStdString(*tree)).object(), ::getpid(),
              windows);
  }
  excluded_.clear();
  for (const auto& [title, rect] : windows) {
    bool cover = false;
    for (Placed& p : covers_) {
      if (p.cover != nullptr && p.title == title) {
        cover = true;
        static_cast<Cover*>(p.cover.data())->placeAt(rect.topLeft());
      }
    }
    if (!cover) {
      excluded_.push_back(rect);
    }
  }
  settling_ = true;
  tries_ = 0;
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
  retry_.stop();
  placed_ = false;
  settling_ = false;
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
