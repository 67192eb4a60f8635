// SPDX-License-Identifier: MIT
#pragma once

// The one way this backend opens X display connections of its own: Xlib made ready for several
// threads first, and a lost connection reported to its owner instead of ending the process.

#include <functional>
#include <memory>

// Xlib's name behind Display; declared here so that Xlib's macros stay out of this header.
struct _XDisplay;  // NOLINT(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

namespace vorrik::x11 {

struct DisplayCloser {
  void operator()(_XDisplay* display) const;
};
using DisplayPtr = std::unique_ptr<_XDisplay, DisplayCloser>;

// Connects to name, or to $DISPLAY when it is null; null when no display opens. When the
// connection breaks, onLost runs once on the thread whose Xlib call found it broken (it must
// not use this display), and every later Xlib call on it returns at once.
DisplayPtr openDisplay(const char* name, std::function<void()> onLost = {});

}  // namespace vorrik::x11
