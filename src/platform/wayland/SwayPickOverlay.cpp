// SPDX-License-Identifier: MIT
#include "platform/wayland/SwayPickOverlay.h"

#include <unistd.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QScreen>
#include <QWidget>

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

SwayPickOverlay::SwayPickOverlay(std::string swaySocket, Reach reach)
    : PickOverlay(reach), swaySocket_(std::move(swaySocket)) {
  retry_.setInterval(kRetryMs);
  QObject::connect(&retry_, &QTimer::timeout, [this] { place(); });
}

void SwayPickOverlay::show() {
  if (swaySocket_.empty() || !swayRequest(swaySocket_, kGetTree, {})) {
    PickOverlay::show();
    return;
  }
  for (const Placed& p : covers()) {
    // Floating, not full screen: sway draws black behind a full-screen window.
    p.cover->setFixedSize(p.cover->screen()->geometry().size());
    p.cover->show();
  }
  tries_ = 0;
  retry_.start();
}

void SwayPickOverlay::stopShowing() {
  retry_.stop();
  settling_ = false;
  moved_.clear();
  leaveAlone_.clear();
}

void SwayPickOverlay::place() {
  if (settling_) {
    // Drawing again commits the acknowledged configure, which lets sway finish the move.
    for (const Placed& p : covers()) {
      if (p.cover) {
        p.cover->update();
      }
    }
    if (++tries_ * kRetryMs >= kSettleMs) {
      retry_.stop();
      settling_ = false;
      takeClicks(std::exchange(leaveAlone_, {}));
    }
    return;
  }
  const std::string pid = std::to_string(::getpid());
  bool pending = false;
  for (const Placed& p : covers()) {
    if (p.cover == nullptr || moved_.contains(p.title)) {
      continue;
    }
    // Fails until sway has mapped the window.
    const QPoint at = p.target;
    const std::optional<std::string> reply =
        swayRequest(swaySocket_, kRunCommand,
                    "[pid=" + pid + " title=\"^" + p.title.toStdString() +
                        "$\"] floating enable, border none, move absolute position " +
                        std::to_string(at.x()) + " " + std::to_string(at.y()) + ", focus");
    if (reply && swaySucceeded(*reply)) {
      moved_.insert(p.title);
    } else {
      pending = true;
    }
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
  leaveAlone_.clear();
  for (const auto& [title, rect] : windows) {
    bool cover = false;
    for (const Placed& p : covers()) {
      if (p.cover != nullptr && p.title == title) {
        cover = true;
        locate(p, rect.topLeft());
      }
    }
    if (!cover) {
      leaveAlone_.push_back(rect);
    }
  }
  settling_ = true;
  tries_ = 0;
}

}  // namespace vorrik::wayland
