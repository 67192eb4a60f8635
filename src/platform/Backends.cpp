// SPDX-License-Identifier: MIT
// The backends this build links, best first; the only file that knows them all.
#include <array>

#include "platform/Backend.h"
#include "platform/portal/PortalDesktop.h"
#include "platform/wlroots/WlrootsDesktop.h"
#include "platform/x11/X11Desktop.h"
#include "platform/x11/X11PickCover.h"

namespace vorrik {
namespace {

std::string_view xcb(const Session& /*session*/) {
  return "xcb";
}
std::string_view wayland(const Session& /*session*/) {
  return "wayland";
}

// The portal's desktop picks on Xwayland's cover where there is one; the two backends meet here
// so that neither includes the other.
std::unique_ptr<Desktop> openPortal(const Session& session) {
  return portal::openDesktop(session, [](std::function<bool()> reachesEveryMonitor) {
    auto cover = x11::X11PickCover::open(std::move(reachesEveryMonitor));
    if (!cover) {
      return portal::XwaylandCover{};
    }
    // The desktop owns the cover, and asks it only while it has it.
    auto rootSize = [raw = cover.get()] { return raw->rootSize(); };
    return portal::XwaylandCover{std::move(cover), std::move(rootSize)};
  });
}

}  // namespace

std::span<const Backend> availableBackends() {
  static const std::array kBackends{
      // A wlroots compositor's own clicks reach every window; Xwayland's reach only X ones.
      Backend{"wlroots", &wayland, &wlroots::unfit, &wlroots::openDesktop},
      // GNOME and KDE Plasma on Wayland: the portal's clicks reach every window; the panel is
      // an Xwayland window where it can be, to stay in front.
      Backend{"portal", &portal::qtPlatform, &portal::unfit, &openPortal},
      Backend{"x11", &xcb, &x11::unfit, &x11::openDesktop},
  };
  return kBackends;
}

}  // namespace vorrik
