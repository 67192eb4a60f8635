// SPDX-License-Identifier: MIT
#pragma once

#include <QTimer>

#include <set>
#include <string>
#include <vector>

#include "platform/wayland/PickOverlay.h"

namespace vorrik::wayland {

// The pick overlay on sway: its covers float over the outputs, placed through sway's IPC, so
// that the desktop stays visible under the tint (sway draws black behind a full-screen window).
// Where sway does not answer when a pick starts, the covers go full screen instead.
class SwayPickOverlay final : public PickOverlay {
 public:
  // swaySocket: sway's IPC socket.
  explicit SwayPickOverlay(std::string swaySocket, Reach reach = Reach::everyScreen);

 private:
  void show() override;
  void stopShowing() override;
  // Asks sway to float each cover over its output and learns where it and this process's other
  // windows lie; the covers not yet mapped are tried again on the next tick.
  void place();

  std::string swaySocket_;
  QTimer retry_;
  bool settling_ = false;
  int tries_ = 0;
  // The covers sway has floated and moved, by title.
  std::set<QString> moved_;
  // This process's other windows, found while placing, where a click is not taken.
  std::vector<QRect> leaveAlone_;
};

}  // namespace vorrik::wayland
