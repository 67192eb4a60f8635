// SPDX-License-Identifier: MIT
#include "platform/x11/X11Input.h"

#include "platform/x11/X11Display.h"

#include <X11/Xlib-xcb.h>
#include <X11/Xlib.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <mutex>
#include <set>
#include <string_view>
#include <utility>

namespace vorrik::x11 {
namespace {

// Asked of XCB, which sends the events: its answer is kept, so no click waits for the question.
bool hasXTest(Display* display) {
  const xcb_query_extension_reply_t* const reply =
      xcb_get_extension_data(XGetXCBConnection(display), &xcb_test_id);
  return reply != nullptr && reply->present != 0;
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

}  // namespace

// One display connection, used under its own lock. A lost connection is remembered instead of
// ending the process, and nothing is sent on it afterwards.
class Connection {
 public:
  explicit Connection(const char* displayName)
      : display_(openDisplay(displayName, [this] { broken_.store(true); })) {
    if (display_) {
      xtest_ = hasXTest(display_.get());
      // This connection's only events are MappingNotify, read with XCB before each press: Xlib
      // would read the socket twice to find it empty, XCB reads it once.
      XSetEventQueueOwner(display_.get(), XCBOwnsEventQueue);
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
    // A write through XCB that failed is not Xlib's to notice until its next call.
    if (xcb_connection_has_error(XGetXCBConnection(display_.get())) != 0) {
      broken_.store(true);
    }
    return healthy();
  }

 private:
  std::mutex mutex_;
  std::atomic<bool> broken_{false};  // before display_: its loss handler sets it
  DisplayPtr display_;
  bool xtest_ = false;
};

X11Injector::X11Injector(const char* displayName)
    : connection_(std::make_unique<Connection>(displayName)) {
  // Read now, not on the first click: its round trip would fall between the first tick's
  // arming of the next and its press, and make the first period short where presses leave.
  connection_->with([this](Display* display) { physicalButton(display, 1); });
}

X11Injector::~X11Injector() = default;

bool X11Injector::connected() const {
  return connection_->healthy() && connection_->xtest();
}

bool X11Injector::click(MouseButton button, std::optional<ClickPoint> at, int count,
                        ClickPacing& pacing) {
  // Checked once: every event of the click goes to the same root position.
  const std::optional<RootPosition> to = at ? rootPosition(*at) : std::nullopt;
  if (!connected() || (at && !to)) {
    return false;
  }
  const unsigned char logical = button == MouseButton::right ? 3 : 1;
  unsigned physical = logical;
  // Posts one event and flushes; a press whose hold the pacing hands over takes its release.
  const auto send = [&](const MouseEvent& event,
                        std::optional<std::chrono::microseconds> releaseAfter) {
    const bool press = event.action == MouseAction::down;
    connection_->with([&](Display* display) {
      // Only a press looks for a new map: its release then lifts the very button it pushed.
      if (press) {
        physical = physicalButton(display, logical);
      }
      // The events go out through XCB rather than Xlib: Xlib's flush reads the socket twice after
      // each write, and the worker would make those calls while the X server waits to run.
      xcb_connection_t* const xcb = XGetXCBConnection(display);
      const auto button = static_cast<std::uint8_t>(physical);
      const auto fake = [&](std::uint8_t type, std::uint8_t detail, std::uint32_t delayMs) {
        xcb_test_fake_input(xcb, type, detail, delayMs, XCB_NONE, 0, 0, 0);
      };
      // XTest has no click count: a second pair soon after the first, at the same spot, is what
      // receivers count as a double click. Without a point no motion is sent: the button then
      // lands wherever the pointer is, on any screen, and a pointer moved by someone else stays.
      const auto moveThere = [&](std::uint32_t delayMs) {
        if (to) {
          xcb_test_fake_input(
              xcb, XCB_MOTION_NOTIFY, 0, delayMs, RootWindow(display, DefaultScreen(display)),
              static_cast<std::int16_t>(to->x), static_cast<std::int16_t>(to->y), 0);
        }
      };
      moveThere(XCB_CURRENT_TIME);
      fake(press ? XCB_BUTTON_PRESS : XCB_BUTTON_RELEASE, button, XCB_CURRENT_TIME);
      if (releaseAfter) {
        // With XTest's delay the server waits before this event, and holds back everything
        // after it on this connection. It counts whole milliseconds from the one it is in: one
        // more keeps the hold from being any shorter. The worker need not wake again to
        // release, and closing the display waits for the release.
        const auto delayMs = static_cast<std::uint32_t>(
            std::chrono::ceil<std::chrono::milliseconds>(*releaseAfter).count() + 1);
        if (to) {
          moveThere(delayMs);
          fake(XCB_BUTTON_RELEASE, button, XCB_CURRENT_TIME);
        } else {
          fake(XCB_BUTTON_RELEASE, button, delayMs);
        }
      }
      // A flush, not a round trip: the events are on their way once written, and waiting for
      // the server would only hold the worker up.
      xcb_flush(xcb);
    });
  };
  postPresses(button, at, count, pacing, true, send);
  return true;
}

void X11Injector::settle() {
  connection_->with([](Display* display) { XSync(display, False); });
}

unsigned X11Injector::physicalButton(Display* display, unsigned char logical) {
  // The server sends every client a MappingNotify when the pointer map changes; this
  // connection selects nothing else, so it holds only those, and errors, which are dropped:
  // the connection's health is checked after each use.
  xcb_connection_t* const xcb = XGetXCBConnection(display);
  while (xcb_generic_event_t* const event = xcb_poll_for_event(xcb)) {
    constexpr std::uint8_t kSent = 0x80;  // set on events another client sent
    if ((event->response_type & ~kSent) == XCB_MAPPING_NOTIFY &&
        reinterpret_cast<const xcb_mapping_notify_event_t*>(event)->request ==
            XCB_MAPPING_POINTER) {
      buttonMap_.clear();
    }
    std::free(event);  // NOLINT(cppcoreguidelines-no-malloc): XCB allocates events with malloc
  }
  if (buttonMap_.empty()) {
    buttonMap_.assign(256, 0);
    const int count =
        XGetPointerMapping(display, buttonMap_.data(), static_cast<int>(buttonMap_.size()));
    buttonMap_.resize(static_cast<std::size_t>(std::max(count, 0)));
  }
  // XTEST presses physical buttons, which the map turns into the logical ones receivers see.
  const auto found = std::find(buttonMap_.begin(), buttonMap_.end(), logical);
  return found != buttonMap_.end() ? static_cast<unsigned>(found - buttonMap_.begin()) + 1
                                   : logical;
}

X11Trust::X11Trust(const char* displayName, bool wholeSession) : wholeSession_(wholeSession) {
  if (displayName != nullptr) {
    displayName_ = displayName;
  }
}

bool X11Trust::isTrusted(bool /*prompt*/) {
  if (!wholeSession_) {
    return false;
  }
  const DisplayPtr display = openDisplay(displayName_ ? displayName_->c_str() : nullptr);
  return display && hasXTest(display.get());
}

Refusal X11Trust::refusal() const {
  return wholeSession_ ? Refusal::noInjection : Refusal::unsupportedWayland;
}

}  // namespace vorrik::x11
