// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/Backend.h"

namespace vorrik::wlroots {

// Why the wlroots backend cannot serve session (no Wayland display, or a compositor without
// the virtual-pointer global), or nothing.
std::optional<std::string> unfit(const Session& session);

// Virtual-pointer clicks, point picking through an overlay and F6 as a sway binding (or a
// hint on stderr where none can be made), with the Qt main queue, settings, languages and
// notifications; after the QApplication exists.
std::unique_ptr<Desktop> openDesktop(const Session& session);

// The command F6 runs: $VORRIK_TOGGLE_COMMAND, else this program with --toggle.
std::string toggleCommand();

}  // namespace vorrik::wlroots
