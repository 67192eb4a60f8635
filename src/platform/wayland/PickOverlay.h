// SPDX-License-Identifier: MIT
#pragma once

#include <QPointer>
#include <QRect>
#include <QWidget>

#include <functional>
#include <optional>
#include <vector>

#include "platform/ClickPoint.h"
#include "platform/PointPick.h"

namespace vorrik::wayland {

// Point picking where clients cannot see the global pointer: while a pick is pending, a
// translucent full-screen window covers every output and takes the next click itself, which
// lands in output-layout pixels (the space the injector moves the pointer in). The compositor
// may draw a full-screen window over black. Escape, a right click, a click where one of this
// process's other windows lies or one the injector cannot reach ends the pick with nothing.
// Main thread only, once the QApplication exists.
class PickOverlay : public PointPick {
 public:
  // Where the injector can click: on every output, or on the primary one alone.
  enum class Reach { everyScreen, primaryScreen };

  explicit PickOverlay(Reach reach = Reach::everyScreen);
  ~PickOverlay() override;
  PickOverlay(const PickOverlay&) = delete;
  PickOverlay& operator=(const PickOverlay&) = delete;

  // Covers every output until the next click, Escape or right click.
  void start(Done done) final;
  void cancel() final;

  // True while a pick is pending and every cover is where the compositor takes input for it:
  // from then on a click is recorded where it lands (before, a click on a cover cancels).
  [[nodiscard]] bool placed() const { return done_ && placed_; }

  // Called by the covers with a point in layout pixels, or nothing for a cancel.
  void seen(std::optional<ClickPoint> at);
  void clicked(std::optional<ClickPoint> at);

 protected:
  // One output's cover, by the title the compositor knows it by, and that output's top left.
  struct Placed {
    QPointer<QWidget> cover;
    QString title;
    QPoint target;
  };
  // Shows the covers of a new pick: full screen here, each at its output's origin, taking
  // clicks at once. Another placement calls locate() and takeClicks() once it knows where they lie.
  virtual void show();
  // Ends what show() left running.
  virtual void stopShowing() {}
  // Where the compositor put a cover's top left in the layout.
  static void locate(const Placed& placed, QPoint origin);
  // From now on a click is recorded where it lands, except on these windows of this process.
  void takeClicks(std::vector<QRect> leaveAlone);
  [[nodiscard]] std::vector<Placed>& covers() { return covers_; }

 private:
  void hide();
  [[nodiscard]] bool excluded(ClickPoint at) const;

  Reach reach_;
  std::vector<Placed> covers_;
  std::vector<QRect> excluded_;
  // The primary output while a pick with Reach::primaryScreen is pending.
  std::optional<QRect> reachable_;
  bool placed_ = false;
  Done done_;
  // Where the pointer last was over a cover, while a pick is pending.
  std::optional<ClickPoint> last_;
};

}  // namespace vorrik::wayland
