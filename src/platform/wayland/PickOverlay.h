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
#include "platform/InputMonitor.h"
#include "platform/Pointer.h"

namespace vorrik::wayland {

// Point picking where clients cannot see the global pointer: while a left-press monitor is
// installed, a translucent window covers every output and takes the next click itself. The
// pointer half answers where that click landed, in output-layout pixels (the space the
// injector moves the pointer in). Escape, a right click, a click where one of this process's
// other windows lies (the panel, under the cover) or one the injector cannot reach cancels: the
// handler runs and the pointer answers nothing. Keys cannot be observed here, so addKeyMonitor
// gives nothing. Main thread only, once the QApplication exists.
class PickOverlay final : public InputMonitor, public Pointer {
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

  // Nothing: no global key is observable on Wayland.
  std::optional<Handle> addKeyMonitor(std::function<void(Key)> handler) override;
  // Covers every output until the next click, Escape or right click, then calls handler.
  std::optional<Handle> addLeftPressMonitor(std::function<void()> handler) override;
  void remove(Handle handle) override;

  // Where the last pick landed (or the pointer last was over the overlay); nothing after a
  // cancel or before any pick.
  std::optional<ClickPoint> position() override { return last_; }

  // True while a pick is pending and every cover is where the compositor takes input for it:
  // from then on a click is recorded where it lands (before, a click on a cover cancels).
  [[nodiscard]] bool placed() const { return active_ && placed_; }

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
  std::function<void()> handler_;
  std::optional<Handle> active_;
  Handle next_ = 1;
  std::optional<ClickPoint> last_;
};

}  // namespace vorrik::wayland
