// SPDX-License-Identifier: MIT
#include "platform/x11/X11Display.h"

#include <X11/Xlib.h>

#include <map>
#include <mutex>
#include <utility>

namespace vorrik::x11 {
namespace {

// Our connections and what to tell their owners. Xlib's global IO error handler is shared with
// the toolkit's connection, which keeps its own reaction.
struct Registry {
  std::mutex mutex;
  std::map<Display*, std::function<void()>> onLost;
  XIOErrorHandler previous = nullptr;
};

Registry& registry() {
  static Registry own;
  return own;
}

int onIOError(Display* display) {
  Registry& own = registry();
  XIOErrorHandler previous = nullptr;
  {
    std::lock_guard lock(own.mutex);
    if (own.onLost.contains(display)) {
      return 0;  // Xlib goes on to the display's exit handler below.
    }
    previous = own.previous;
  }
  return previous != nullptr ? previous(display) : 0;
}

// Returning from here instead of exiting leaves the display marked broken inside Xlib.
void onLostExit(Display* display, void* /*unused*/) {
  std::function<void()> tell;
  {
    std::lock_guard lock(registry().mutex);
    const auto found = registry().onLost.find(display);
    if (found != registry().onLost.end()) {
      tell = std::exchange(found->second, nullptr);
    }
  }
  if (tell) {
    tell();
  }
}

}  // namespace

void DisplayCloser::operator()(Display* display) const {
  {
    std::lock_guard lock(registry().mutex);
    registry().onLost.erase(display);
  }
  XCloseDisplay(display);
}

DisplayPtr openDisplay(const char* name, std::function<void()> onLost) {
  static std::once_flag threads;
  std::call_once(threads, [] { XInitThreads(); });
  Display* display = XOpenDisplay(name);
  if (display == nullptr) {
    return nullptr;
  }
  Registry& own = registry();
  std::lock_guard lock(own.mutex);
  // Claimed again at every open: the toolkit installs its own handler when it starts.
  const XIOErrorHandler before = XSetIOErrorHandler(&onIOError);
  if (before != &onIOError) {
    own.previous = before;
  }
  XSetIOErrorExitHandler(display, &onLostExit, nullptr);
  if (!onLost) {
    onLost = [] {};
  }
  own.onLost.emplace(display, std::move(onLost));
  return DisplayPtr(display);
}

}  // namespace vorrik::x11
