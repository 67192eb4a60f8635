// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/Backend.h"

namespace vorrik::x11 {

// Why the X11 backend cannot serve session (no X display, or one that does not open), or nothing.
std::optional<std::string> unfit(const Session& session);

// Whether clicks on the session's X display reach all of the session: not on a Wayland
// session, whose X display is Xwayland, unless the user chose this backend with VORRIK_BACKEND.
bool reachesWholeSession(const Session& session);

// XTest clicks, the X pointer, XInput2 monitors and window-manager hints on $DISPLAY, with the
// Qt main queue, settings, languages and notifications; after the QApplication exists.
std::unique_ptr<Desktop> openDesktop(const Session& session);

}  // namespace vorrik::x11
