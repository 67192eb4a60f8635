// SPDX-License-Identifier: MIT
// Preloaded into a clicker (LD_PRELOAD), it records when each button event leaves the program:
// the return of the first flush after a button event, on CLOCK_MONOTONIC, whether the clicker
// uses Xlib (XTestFakeButtonEvent, then XFlush or XSync) or XCB (xcb_test_fake_input, then
// xcb_flush). It
// changes nothing the clicker does. The times stay in memory and go to $VORRIK_FLUSH_LOG when
// the process exits, as lines "press NS CPU", "release NS CPU" (CPU: where the flush returned), and
// "cpu FIRST_NS LAST_NS": the process's CPU time at its first button event and at exit.

#include <X11/Xlib.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sched.h>
#include <unistd.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace {

struct Sent {
  std::int64_t at;
  int cpu;
  bool press;
};

std::array<Sent, 1 << 16> sent;
std::atomic<std::size_t> count{0};
// The first event waiting for its flush: 0 none, 1 press, 2 release.
std::atomic<int> pending{0};
std::atomic<std::int64_t> firstCpu{-1};

std::int64_t readClock(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<std::int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

template <typename Function>
Function real(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

// A button event is made: it waits for the flush that sends it.
void made(bool press) {
  std::int64_t unset = -1;
  if (firstCpu.load(std::memory_order_relaxed) < 0) {
    firstCpu.compare_exchange_strong(unset, readClock(CLOCK_PROCESS_CPUTIME_ID));
  }
  // A flush that carries a press and its release (the release delayed by the server) counts
  // as the press's: the first event since the last flush decides.
  int none = 0;
  pending.compare_exchange_strong(none, press ? 1 : 2);
}

void flushed() {
  const int was = pending.exchange(0);
  if (was == 0) {
    return;
  }
  const std::int64_t at = readClock(CLOCK_MONOTONIC);
  const std::size_t i = count.fetch_add(1);
  if (i < sent.size()) {
    sent[i] = Sent{at, sched_getcpu(), was == 1};
  }
}

__attribute__((destructor)) void writeLog() {
  const char* path = std::getenv("VORRIK_FLUSH_LOG");  // NOLINT(concurrency-mt-unsafe)
  if (path == nullptr) {
    return;
  }
  std::FILE* file = std::fopen(path, "w");
  if (file == nullptr) {
    return;
  }
  const std::size_t n = std::min(count.load(), sent.size());
  for (std::size_t i = 0; i < n; ++i) {
    std::fprintf(file, "%s %lld %d\n", sent[i].press ? "press" : "release",
                 static_cast<long long>(sent[i].at), sent[i].cpu);
  }
  std::fprintf(file, "cpu %lld %lld\n", static_cast<long long>(firstCpu.load()),
               static_cast<long long>(readClock(CLOCK_PROCESS_CPUTIME_ID)));
  std::fclose(file);
}

}  // namespace

extern "C" {

int XTestFakeButtonEvent(Display* display, unsigned int button, Bool isPress, unsigned long delay) {
  static const auto next =
      real<int (*)(Display*, unsigned int, Bool, unsigned long)>("XTestFakeButtonEvent");
  made(isPress == True);
  return next(display, button, isPress, delay);
}

int XFlush(Display* display) {
  static const auto next = real<int (*)(Display*)>("XFlush");
  const int result = next(display);
  flushed();
  return result;
}

int XSync(Display* display, Bool discard) {
  static const auto next = real<int (*)(Display*, Bool)>("XSync");
  const int result = next(display, discard);
  flushed();
  return result;
}

xcb_void_cookie_t xcb_test_fake_input(xcb_connection_t* connection, std::uint8_t type,
                                      std::uint8_t detail, std::uint32_t time, xcb_window_t root,
                                      std::int16_t rootX, std::int16_t rootY,
                                      std::uint8_t deviceid) {
  static const auto next =
      real<xcb_void_cookie_t (*)(xcb_connection_t*, std::uint8_t, std::uint8_t, std::uint32_t,
                                 xcb_window_t, std::int16_t, std::int16_t, std::uint8_t)>(
          "xcb_test_fake_input");
  if (type == XCB_BUTTON_PRESS || type == XCB_BUTTON_RELEASE) {
    made(type == XCB_BUTTON_PRESS);
  }
  return next(connection, type, detail, time, root, rootX, rootY, deviceid);
}

int xcb_flush(xcb_connection_t* connection) {
  static const auto next = real<int (*)(xcb_connection_t*)>("xcb_flush");
  const int result = next(connection);
  flushed();
  return result;
}

}  // extern "C"
