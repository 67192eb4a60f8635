// SPDX-License-Identifier: MIT
#pragma once

#include <QSize>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Backend.h"
#include "platform/PointPick.h"

namespace vorrik::portal {

// Why the portal backend cannot serve session (no Wayland display, or no desktop portal that
// offers remote desktop), or nothing; asks the session bus once.
std::optional<std::string> unfit(const Session& session);

// The Qt platform for its windows: Xwayland's where the session has it, since GNOME and KDE
// Plasma keep an X11 window above others when it asks and give no native Wayland window that
// way; the portal's dialog can then also name the panel as its parent. Else Wayland's.
std::string_view qtPlatform(const Session& session);

// A pick cover on Xwayland, whose points are the root pixels the injector maps, and the root's
// size, which the injector holds against the EIS layout to tell Xwayland's scale.
struct XwaylandCover {
  std::unique_ptr<PointPick> pick;
  std::function<QSize()> rootSize;
};
// Makes the cover, told at each pick whether the clicks reach every monitor; an empty one where
// there is no Xwayland.
using XwaylandPick = std::function<XwaylandCover(std::function<bool()> reachesEveryMonitor)>;

// Clicks through the portal's remote-desktop session, with the Qt main queue, settings,
// languages and notifications; after the QApplication exists. Picks through the cover
// xwaylandPick makes, or where there is none through a Wayland overlay.
std::unique_ptr<Desktop> openDesktop(const Session& session, const XwaylandPick& xwaylandPick);

}  // namespace vorrik::portal
