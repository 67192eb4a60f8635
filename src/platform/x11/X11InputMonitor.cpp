// SPDX-License-Identifier: MIT
#include "platform/x11/X11InputMonitor.h"

#include "platform/x11/X11Display.h"

#include <QGuiApplication>
#include <QMetaObject>
#include <QSocketNotifier>
#include <QWindow>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <map>
#include <utility>
#include <vector>

// Xlib last: its macros (None, Bool, Status...) must not reach the Qt headers.
#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/extensions/XInput2.h>
#include <X11/keysym.h>

namespace vorrik::x11 {

namespace {

enum class Kind { key, leftPress };

struct Monitor {
  Kind kind;
  std::function<void(Key)> onKey;
  std::function<void()> onLeftPress;
  std::uint64_t firstSerial;  // the first observed press this monitor may see
};

struct Observed {
  std::uint64_t serial;
  Kind kind;
  Key key;
};

}  // namespace

struct X11InputMonitor::Impl {
  DisplayPtr connection;
  Display* display = nullptr;  // connection's, while it serves
  int xiOpcode = 0;
  bool xkb = false;
  std::unique_ptr<QSocketNotifier> notifier;
  std::vector<unsigned char> pointerMap;

  // shared_ptr: a handler that removes its own monitor must not destroy itself mid-call.
  std::map<Handle, std::shared_ptr<const Monitor>> monitors;
  Handle nextHandle = 1;

  std::deque<Observed> observed;
  std::uint64_t nextSerial = 0;
  bool dispatching = false;
  // Set by the loss handler, which runs inside an Xlib call on the main thread.
  bool lost = false;

  explicit Impl(const std::string& displayName);
  ~Impl();
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;
  Impl(Impl&&) = delete;
  Impl& operator=(Impl&&) = delete;

  bool connect(const std::string& displayName);
  std::optional<Handle> add(Monitor monitor);
  void readQueued();
  void take(XEvent& event);
  void dispatch();
  [[nodiscard]] bool isF6(unsigned keycode) const;
  [[nodiscard]] bool isLeft(int button) const;
  void loadPointerMap();
};

X11InputMonitor::Impl::Impl(const std::string& displayName) {
  if (!connect(displayName)) {
    notifier.reset();
    display = nullptr;
    connection.reset();
  }
}

X11InputMonitor::Impl::~Impl() {
  notifier.reset();
}

bool X11InputMonitor::Impl::connect(const std::string& displayName) {
  // A lost connection ends the monitoring, not the process: nothing is read from it again and
  // available() answers false.
  connection =
      openDisplay(displayName.empty() ? nullptr : displayName.c_str(), [this] { lost = true; });
  display = connection.get();
  if (display == nullptr) {
    return false;
  }

  int event = 0;
  int error = 0;
  if (!XQueryExtension(display, "XInputExtension", &xiOpcode, &event, &error)) {
    return false;
  }
  // 2.1 is the first version whose raw events reach a client while another one holds a grab
  // (an open menu, a drag); 2.2 is what we ask for.
  int major = 2;
  int minor = 2;
  if (XIQueryVersion(display, &major, &minor) != Success || major < 2 ||
      (major == 2 && minor < 2)) {
    return false;
  }
  int xkbMajor = XkbMajorVersion;
  int xkbMinor = XkbMinorVersion;
  xkb = XkbQueryExtension(display, nullptr, nullptr, nullptr, &xkbMajor, &xkbMinor) != 0;
  loadPointerMap();

  // Master devices only: each physical or XTEST press then arrives once, from the master its
  // slave is attached to; XIAllDevices would add a second copy from the slave itself. Both
  // event kinds go in one mask, because a second XISelectEvents on the root would replace it.
  std::vector<unsigned char> bits(XIMaskLen(XI_LASTEVENT), 0);
  XISetMask(bits.data(), XI_RawKeyPress);
  XISetMask(bits.data(), XI_RawButtonPress);
  XIEventMask mask{XIAllMasterDevices, static_cast<int>(bits.size()), bits.data()};
  if (XISelectEvents(display, DefaultRootWindow(display), &mask, 1) != Success) {
    return false;
  }
  XSync(display, False);

  notifier = std::make_unique<QSocketNotifier>(ConnectionNumber(display), QSocketNotifier::Read);
  QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(), [this] {
    readQueued();
    if (lost) {
      notifier->setEnabled(false);
    }
    dispatch();
  });
  return true;
}

void X11InputMonitor::Impl::loadPointerMap() {
  pointerMap.assign(256, 0);
  const int count =
      XGetPointerMapping(display, pointerMap.data(), static_cast<int>(pointerMap.size()));
  pointerMap.resize(static_cast<std::size_t>(std::max(count, 0)));
}

std::optional<InputMonitor::Handle> X11InputMonitor::Impl::add(Monitor monitor) {
  if (display == nullptr || lost) {
    return std::nullopt;
  }
  // Collect every press the server generated before now, so that the new monitor starts after
  // them; Xlib reads them off the socket here, so the notifier will not report them again.
  XSync(display, False);
  readQueued();
  monitor.firstSerial = nextSerial;
  const Handle handle = nextHandle++;
  monitors.emplace(handle, std::make_shared<const Monitor>(std::move(monitor)));
  if (!observed.empty() && !dispatching) {
    QMetaObject::invokeMethod(
        notifier.get(), [this] { dispatch(); }, Qt::QueuedConnection);
  }
  return handle;
}

void X11InputMonitor::Impl::readQueued() {
  // XPending also reads what has arrived; events Xlib queued during other calls are in its
  // queue already and would never wake the notifier, so always empty the queue completely.
  while (XPending(display) > 0) {
    XEvent event;
    XNextEvent(display, &event);
    take(event);
  }
}

void X11InputMonitor::Impl::take(XEvent& event) {
  if (event.type == MappingNotify) {
    if (event.xmapping.request == MappingPointer) {
      loadPointerMap();
    } else {
      XRefreshKeyboardMapping(&event.xmapping);
    }
    return;
  }
  XGenericEventCookie& cookie = event.xcookie;
  if (cookie.type != GenericEvent || cookie.extension != xiOpcode) {
    return;
  }
  if (!XGetEventData(display, &cookie)) {
    return;
  }
  const auto* raw = static_cast<const XIRawEvent*>(cookie.data);
  if (cookie.evtype == XI_RawKeyPress) {
    observed.push_back(
        {nextSerial++, Kind::key, isF6(static_cast<unsigned>(raw->detail)) ? Key::f6 : Key::other});
  } else if (cookie.evtype == XI_RawButtonPress && isLeft(raw->detail)) {
    observed.push_back({nextSerial++, Kind::leftPress, Key::other});
  }
  XFreeEventData(display, &cookie);
}

void X11InputMonitor::Impl::dispatch() {
  // A handler that runs a nested event loop gets the presses that arrive meanwhile only after
  // it returns, in order, from the loop below.
  if (dispatching) {
    return;
  }
  dispatching = true;
  struct Reset {
    bool& flag;
    ~Reset() { flag = false; }
  } reset{dispatching};

  std::vector<Handle> targets;
  while (!observed.empty()) {
    const Observed press = observed.front();
    observed.pop_front();
    targets.clear();
    for (const auto& [handle, monitor] : monitors) {
      if (monitor->kind == press.kind && monitor->firstSerial <= press.serial) {
        targets.push_back(handle);
      }
    }
    for (const Handle handle : targets) {
      // Looked up again for every call: an earlier handler may have removed this one.
      const auto found = monitors.find(handle);
      if (found == monitors.end()) {
        continue;
      }
      const std::shared_ptr<const Monitor> monitor = found->second;
      if (press.kind == Kind::key) {
        monitor->onKey(press.key);
      } else {
        monitor->onLeftPress();
      }
    }
  }
}

bool X11InputMonitor::Impl::isF6(unsigned keycode) const {
  if (keycode > 255) {
    return false;
  }
  const auto code = static_cast<KeyCode>(keycode);
  if (xkb) {
    return XkbKeycodeToKeysym(display, code, 0, 0) == XK_F6;
  }
  int perCode = 0;
  KeySym* syms = XGetKeyboardMapping(display, code, 1, &perCode);
  if (syms == nullptr) {
    return false;
  }
  const bool f6 = perCode > 0 && syms[0] == XK_F6;
  XFree(syms);
  return f6;
}

bool X11InputMonitor::Impl::isLeft(int button) const {
  // Raw events carry the physical button; the pointer mapping says which one acts as left.
  if (button >= 1 && static_cast<std::size_t>(button) <= pointerMap.size()) {
    return pointerMap[static_cast<std::size_t>(button) - 1] == 1;
  }
  return button == 1;
}

X11InputMonitor::X11InputMonitor(const std::string& displayName)
    : impl_(std::make_unique<Impl>(displayName)) {}

X11InputMonitor::~X11InputMonitor() = default;

bool X11InputMonitor::available() const {
  return impl_->display != nullptr && !impl_->lost;
}

std::optional<InputMonitor::Handle> X11InputMonitor::addKeyMonitor(
    std::function<void(Key)> handler) {
  if (!handler) {
    return std::nullopt;
  }
  return impl_->add({Kind::key, std::move(handler), nullptr, 0});
}

std::optional<InputMonitor::Handle> X11InputMonitor::addLeftPressMonitor(
    std::function<void()> handler) {
  if (!handler) {
    return std::nullopt;
  }
  return impl_->add({Kind::leftPress, nullptr, std::move(handler), 0});
}

void X11InputMonitor::remove(Handle handle) {
  impl_->monitors.erase(handle);
}

std::optional<bool> X11InputMonitor::keyboardInThisProcess() {
  if (impl_->display == nullptr || qGuiApp == nullptr) {
    return std::nullopt;
  }
  // The focus is on a top-level window itself: Qt gives its top-levels the focus directly and
  // window managers hand it to the client window. Walking up from a child would need requests
  // that fail, fatally for Xlib's default error handler, when the window has just gone.
  ::Window focus = 0;
  int revertTo = 0;
  XGetInputFocus(impl_->display, &focus, &revertTo);
  if (focus == None || focus == PointerRoot) {
    return false;
  }
  const QWindowList windows = QGuiApplication::topLevelWindows();
  return std::any_of(windows.begin(), windows.end(), [focus](const QWindow* window) {
    // handle(): only windows that exist on the server; winId() would create the others.
    return window->handle() != nullptr && static_cast<::Window>(window->winId()) == focus;
  });
}

}  // namespace vorrik::x11
