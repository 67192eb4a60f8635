// SPDX-License-Identifier: MIT
#pragma once

#include <QPointer>
#include <QRect>
#include <QTimer>
#include <QWidget>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/ClickPoint.h"
#include "platform/PointPick.h"

namespace vorrik::wayland {

// Point picking where clients cannot see the global pointer: while a pick is pending, a
// translucent window covers every output and takes the next click itself, which lands in
// output-layout pixels (the space the injector moves the pointer in). Escape, a right click, a
// click where one of this process's other windows lies (the panel, under the cover) or one the
// injector cannot reach ends the pick with nothing. Main thread only, once the QApplication
// exists.
class PickOverlay final : public PointPick {
 public:
  // Where the injector can click: on every output, or on the primary one alone.
  enum class Reach { everyScreen, primaryScreen };

  // swaySocket: sway's IPC socket, or empty. With sway the covers float over the desktop,
  // which stays visible under the tint; elsewhere they are full-screen windows, which the
  // compositor may draw over black.
  explicit PickOverlay(std::string swaySocket = {}, Reach reach = Reach::everyScreen);
  ~PickOverlay() override;
  PickOverlay(const PickOverlay&) = delete;
  PickOverlay& operator=(const PickOverlay&) = delete;

  // Covers every output until the next click, Escape or right click.
  void start(Done done) override;
  void cancel() override;

  // True while a pick is pending and every cover is where the compositor takes input for it:
  // from then on a click is recorded where it lands (before, a click on a cover cancels).
  [[nodiscard]] bool placed() const { return done_ && placed_; }

  // Called by the covers with a point in layout pixels, or nothing for a cancel.
  void seen(std::optional<ClickPoint> at);
  void clicked(std::optional<ClickPoint> at);

 private:
  struct Placed {
    QPointer<QWidget> cover;
    QString title;
    // Its output's top left: the window's own screen follows where the compositor maps it.
    QPoint target;
    bool done = false;
  };
  void hide();
  // Asks sway to float each cover over its output and learns where it and this process's other
  // windows lie; the covers not yet mapped are tried again on the next tick.
  void place();
  [[nodiscard]] bool excluded(ClickPoint at) const;

  std::string swaySocket_;
  Reach reach_;
  std::vector<Placed> covers_;
  std::vector<QRect> excluded_;
  // The primary output while a pick with Reach::primaryScreen is pending.
  std::optional<QRect> reachable_;
  QTimer retry_;
  bool settling_ = false;
  int tries_ = 0;
  bool placed_ = false;
  Done done_;
  // Where the pointer last was over a cover, while a pick is pending.
  std::optional<ClickPoint> last_;
};

}  // namespace vorrik::wayland
