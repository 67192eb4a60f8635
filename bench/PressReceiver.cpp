// SPDX-License-Identifier: MIT
#include "PressReceiver.h"

#include "Clock.h"

#include <X11/Xlib.h>
#include <X11/extensions/XInput2.h>
#include <poll.h>
#include <sched.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>
#include <ctime>

#include <array>

namespace vorrik::bench {

namespace {

constexpr int kLeftButton = 1;

}  // namespace

struct PressReceiver::Connection {
  Display* display = nullptr;
  int xiOpcode = 0;
  // Written once by the destructor to wake the thread out of poll().
  int wake = -1;
  ~Connection() {
    if (wake >= 0) {
      close(wake);
    }
    if (display != nullptr) {
      XCloseDisplay(display);
    }
  }
};

std::unique_ptr<PressReceiver> PressReceiver::open(const char* display, std::string& error) {
  auto connection = std::make_unique<Connection>();
  connection->display = XOpenDisplay(display);
  if (connection->display == nullptr) {
    error = "cannot open the X display";
    return nullptr;
  }
  Display* dpy = connection->display;
  int event = 0;
  int xiError = 0;
  if (!XQueryExtension(dpy, "XInputExtension", &connection->xiOpcode, &event, &xiError)) {
    error = "the X server has no XInput extension";
    return nullptr;
  }
  int major = 2;
  int minor = 2;
  if (XIQueryVersion(dpy, &major, &minor) != Success || major < 2 || (major == 2 && minor < 2)) {
    error = "the X server does not speak XInput 2.2";
    return nullptr;
  }

  // Master devices only: each press then arrives once, whichever slave (XTEST included) made it.
  std::array<unsigned char, XIMaskLen(XI_LASTEVENT)> bits{};
  XISetMask(bits.data(), XI_RawButtonPress);
  XISetMask(bits.data(), XI_RawButtonRelease);
  XIEventMask mask{XIAllMasterDevices, static_cast<int>(bits.size()), bits.data()};
  XISelectEvents(dpy, DefaultRootWindow(dpy), &mask, 1);
  XSync(dpy, False);

  connection->wake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (connection->wake < 0) {
    error = "cannot create an eventfd";
    return nullptr;
  }
  return std::unique_ptr<PressReceiver>(new PressReceiver(std::move(connection)));
}

PressReceiver::PressReceiver(std::unique_ptr<Connection> connection)
    : connection_(std::move(connection)) {
  ucred peer{};
  socklen_t size = sizeof peer;
  if (getsockopt(ConnectionNumber(connection_->display), SOL_SOCKET, SO_PEERCRED, &peer, &size) ==
      0) {
    serverPid_ = peer.pid;
  }
  thread_ = std::thread([this] { run(); });
}

PressReceiver::~PressReceiver() {
  const std::uint64_t one = 1;
  [[maybe_unused]] auto written = write(connection_->wake, &one, sizeof one);
  thread_.join();
}

void PressReceiver::run() {
  tid_.store(gettid());
  Display* dpy = connection_->display;
  std::array<pollfd, 2> fds{{{ConnectionNumber(dpy), POLLIN, 0}, {connection_->wake, POLLIN, 0}}};
  for (;;) {
    // Drain what Xlib has already read before blocking again, or those events would wait.
    while (XPending(dpy) > 0) {
      XEvent event;
      XNextEvent(dpy, &event);
      const auto readAt = monotonicNow();
      XGenericEventCookie* cookie = &event.xcookie;
      if (cookie->type != GenericEvent || cookie->extension != connection_->xiOpcode) {
        continue;
      }
      if (!XGetEventData(dpy, cookie)) {
        continue;
      }
      const bool press = cookie->evtype == XI_RawButtonPress;
      if ((press || cookie->evtype == XI_RawButtonRelease) &&
          static_cast<const XIRawEvent*>(cookie->data)->detail == kLeftButton) {
        const int cpu = sched_getcpu();
        const std::lock_guard lock(mutex_);
        (press ? presses_ : releases_).push_back(readAt);
        if (press) {
          pressCpus_.push_back(cpu);
        }
        changed_.notify_all();
      }
      XFreeEventData(dpy, cookie);
    }
    if (poll(fds.data(), fds.size(), -1) < 0) {
      continue;
    }
    if ((fds[1].revents & POLLIN) != 0) {
      return;
    }
  }
}

void PressReceiver::reset() {
  const std::lock_guard lock(mutex_);
  presses_.clear();
  releases_.clear();
  pressCpus_.clear();
}

std::vector<std::chrono::nanoseconds> PressReceiver::presses() const {
  const std::lock_guard lock(mutex_);
  return presses_;
}

std::vector<int> PressReceiver::pressCpus() const {
  const std::lock_guard lock(mutex_);
  return pressCpus_;
}

std::vector<std::chrono::nanoseconds> PressReceiver::releases() const {
  const std::lock_guard lock(mutex_);
  return releases_;
}

bool PressReceiver::waitFor(std::size_t count, std::chrono::milliseconds timeout) const {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, timeout, [&] { return releases_.size() >= count; });
}

}  // namespace vorrik::bench
