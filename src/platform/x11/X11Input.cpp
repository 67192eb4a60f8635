// SPDX-License-Identifier: MIT
#include "platform/x11/X11Input.h"

#include "platform/x11/X11Display.h"

#include <X11/Xlib.h>
#include <X11/extensions/XInput2.h>
#include <X11/extensions/XTest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <limits>
#include <mutex>
#include <string_view>
#include <utility>
#include <vector>

namespace vorrik::x11 {
namespace {

bool hasXTest(Display* display) {
  int eventBase = 0;
  int errorBase = 0;
  int major = 0;
  int minor = 0;
  return XTestQueryExtension(display, &eventBase, &errorBase, &major, &minor) == True;
}

struct RootPosition {
  int x = 0;
  int y = 0;
};

// Root coordinates travel as 16-bit signed integers in the XTest request.
std::optional<RootPosition> rootPosition(ClickPoint at) {
  if (!std::isfinite(at.x) || !std::isfinite(at.y)) {
    return std::nullopt;
  }
  const double x = std::round(at.x);
  const double y = std::round(at.y);
  constexpr double kLow = std::numeric_limits<std::int16_t>::min();
  constexpr double kHigh = std::numeric_limits<std::int16_t>::max();
  if (x < kLow || x > kHigh || y < kLow || y > kHigh) {
    return std::nullopt;
  }
  return RootPosition{static_cast<int>(x), static_cast<int>(y)};
}

// Where the pointer is on display's default screen: one round trip.
std::optional<ClickPoint> queryPointer(Display* display) {
  Window root = 0;
  Window child = 0;
  int rootX = 0;
  int rootY = 0;
  int windowX = 0;
  int windowY = 0;
  unsigned mask = 0;
  if (XQueryPointer(display, DefaultRootWindow(display), &root, &child, &rootX, &rootY, &windowX,
                    &windowY, &mask) != True) {
    return std::nullopt;
  }
  return ClickPoint{static_cast<double>(rootX), static_cast<double>(rootY)};
}

}  // namespace

// One display connection, used under its own lock. A lost connection is remembered instead of
// ending the process, and nothing is sent on it afterwards.
class Connection {
 public:
  explicit Connection(const char* displayName)
      : display_(openDisplay(displayName, [this] { broken_.store(true); })) {
    if (display_) {
      xtest_ = hasXTest(display_.get());
    }
  }

  [[nodiscard]] bool healthy() const { return display_ && !broken_.load(); }
  [[nodiscard]] bool xtest() const { return xtest_; }

  // Runs use(display) under the lock while the connection is healthy; false when it is not.
  template <typename Use>
  bool with(Use&& use) {
    std::lock_guard lock(mutex_);
    if (!healthy()) {
      return false;
    }
    std::forward<Use>(use)(display_.get());
    return true;
  }

 private:
  std::mutex mutex_;
  std::atomic<bool> broken_{false};  // before display_: its loss handler sets it
  DisplayPtr display_;
  bool xtest_ = false;
};

X11Injector::X11Injector(const char* displayName)
    : connection_(std::make_unique<Connection>(displayName)) {}

X11Injector::~X11Injector() = default;

bool X11Injector::connected() const {
  return connection_->healthy() && connection_->xtest();
}

std::optional<MouseEvent> X11Injector::make(MouseAction action, MouseButton button, ClickPoint at) {
  if (!connected() || !rootPosition(at)) {
    return std::nullopt;
  }
  return MouseEvent{action, button, at, 1};
}

void X11Injector::post(const MouseEvent& event) {
  const std::optional<RootPosition> to = rootPosition(event.at);
  if (!to || !connection_->xtest()) {
    return;
  }
  const unsigned button = event.button == MouseButton::right ? 3 : 1;
  const Bool press = event.action == MouseAction::down ? True : False;
  connection_->with([&](Display* display) {
    // XTest has no click count: a second pair soon after the first, at the same spot, is what
    // receivers count as a double click.
    XTestFakeMotionEvent(display, DefaultScreen(display), to->x, to->y, CurrentTime);
    XTestFakeButtonEvent(display, button, press, CurrentTime);
    XFlush(display);
  });
}

// Follows the pointer's motion through XInput2 raw events so that a pointer at rest costs no
// round trip to the server: the cached position is queried again only after a motion that may have
// moved it. Our own clicks at the cursor move the pointer to where it already is; those come from
// an XTEST device with the cached position as their values and change nothing. Without XInput2
// every call queries.
class MotionWatch {
 public:
  explicit MotionWatch(Display* display) {
    int event = 0;
    int error = 0;
    if (XQueryExtension(display, "XInputExtension", &opcode_, &event, &error) != True) {
      return;
    }
    int major = 2;
    int minor = 2;
    if (XIQueryVersion(display, &major, &minor) != Success) {
      return;
    }
    int count = 0;
    XIDeviceInfo* devices = XIQueryDevice(display, XIAllDevices, &count);
    for (int i = 0; i < count; ++i) {
      if (devices[i].use == XISlavePointer &&
          std::string_view(devices[i].name).find("XTEST") != std::string_view::npos) {
        xtestPointers_.push_back(devices[i].deviceid);
      }
    }
    XIFreeDeviceInfo(devices);
    std::vector<unsigned char> mask(XIMaskLen(XI_LASTEVENT), 0);
    XISetMask(mask.data(), XI_RawMotion);
    XIEventMask selection{XIAllMasterDevices, static_cast<int>(mask.size()), mask.data()};
    active_ = XISelectEvents(display, DefaultRootWindow(display), &selection, 1) == Success;
    XSync(display, False);
  }

  // True when the pointer may have moved away from `at` since the events last read.
  bool movedFrom(Display* display, std::optional<ClickPoint> at) {
    bool moved = !active_ || !at;
    while (XPending(display) > 0) {
      XEvent event;
      XNextEvent(display, &event);
      XGenericEventCookie* cookie = &event.xcookie;
      if (cookie->type != GenericEvent || cookie->extension != opcode_ ||
          cookie->evtype != XI_RawMotion) {
        continue;
      }
      if (XGetEventData(display, cookie) != True) {
        moved = true;
        continue;
      }
      moved = moved || !stayedAt(*static_cast<const XIRawEvent*>(cookie->data), at);
      XFreeEventData(display, cookie);
    }
    return moved;
  }

 private:
  // An absolute XTEST move onto the position already known, as each click at the cursor makes.
  [[nodiscard]] bool stayedAt(const XIRawEvent& raw, std::optional<ClickPoint> at) const {
    if (!at || std::find(xtestPointers_.begin(), xtestPointers_.end(), raw.sourceid) ==
                   xtestPointers_.end()) {
      return false;
    }
    if (raw.valuators.mask_len < 1 || !XIMaskIsSet(raw.valuators.mask, 0) ||
        !XIMaskIsSet(raw.valuators.mask, 1)) {
      return false;
    }
    for (int bit = 2; bit < raw.valuators.mask_len * 8; ++bit) {
      if (XIMaskIsSet(raw.valuators.mask, bit)) {
        return false;
      }
    }
    return raw.raw_values[0] == at->x && raw.raw_values[1] == at->y;
  }

  int opcode_ = 0;
  bool active_ = false;
  std::vector<int> xtestPointers_;
};

X11Pointer::X11Pointer(const char* displayName)
    : connection_(std::make_unique<Connection>(displayName)) {
  connection_->with([&](Display* display) { motion_ = std::make_unique<MotionWatch>(display); });
}

X11Pointer::~X11Pointer() = default;

std::optional<ClickPoint> X11Pointer::position() {
  std::optional<ClickPoint> where;
  connection_->with([&](Display* display) {
    if (motion_ && !motion_->movedFrom(display, known_)) {
      where = known_;
      return;
    }
    known_ = where = queryPointer(display);
  });
  return where;
}

std::optional<ClickPoint> X11Pointer::query() {
  std::optional<ClickPoint> where;
  connection_->with([&](Display* display) {
    if (motion_) {
      motion_->movedFrom(display, known_);  // drop the motion this answer supersedes
    }
    known_ = where = queryPointer(display);
  });
  return where;
}

X11Trust::X11Trust(const char* displayName) {
  if (displayName != nullptr) {
    displayName_ = displayName;
  }
}

bool X11Trust::isTrusted(bool /*prompt*/) {
  const DisplayPtr display = openDisplay(displayName_ ? displayName_->c_str() : nullptr);
  return display && hasXTest(display.get());
}

}  // namespace vorrik::x11
