// SPDX-License-Identifier: MIT
#include "platform/wlroots/WlrootsInput.h"

#include <linux/input-event-codes.h>
#include <poll.h>
#include <wayland-client.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <limits>
#include <list>
#include <mutex>
#include <set>

#include "wlr-virtual-pointer-unstable-v1-client-protocol.h"
#include "xdg-output-unstable-v1-client-protocol.h"

namespace vorrik::wlroots {
namespace {

// Milliseconds on the monotonic clock, the time base wlroots compositors use for input.
std::uint32_t nowMs() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<std::uint32_t>(ts.tv_sec * 1000 + ts.tv_nsec / 1'000'000);
}

wl_display* connect(const std::string& name) {
  return wl_display_connect(name.empty() ? nullptr : name.c_str());
}

// A rectangle of the output layout, in logical pixels.
struct Box {
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
};

// One output: where it sits in the layout, from xdg-output when the compositor offers it,
// else from wl_output's position and mode divided by its scale.
struct Output {
  std::uint32_t name = 0;  // the registry's
  wl_output* output = nullptr;
  zxdg_output_v1* xdg = nullptr;
  Box wl;
  std::int32_t scale = 1;
  std::optional<Box> logical;

  [[nodiscard]] Box box() const {
    if (logical) {
      return *logical;
    }
    const std::int32_t s = std::max(scale, 1);
    return {wl.x, wl.y, wl.width / s, wl.height / s};
  }
};

const wl_output_listener kOutputListener{
    .geometry =
        [](void* data, wl_output*, std::int32_t x, std::int32_t y, std::int32_t, std::int32_t,
           std::int32_t, const char*, const char*, std::int32_t) {
          static_cast<Output*>(data)->wl.x = x;
          static_cast<Output*>(data)->wl.y = y;
        },
    .mode =
        [](void* data, wl_output*, std::uint32_t flags, std::int32_t width, std::int32_t height,
           std::int32_t) {
          if ((flags & WL_OUTPUT_MODE_CURRENT) != 0) {
            static_cast<Output*>(data)->wl.width = width;
            static_cast<Output*>(data)->wl.height = height;
          }
        },
    .done = [](void*, wl_output*) {},
    .scale = [](void* data, wl_output*,
                std::int32_t factor) { static_cast<Output*>(data)->scale = factor; },
    .name = [](void*, wl_output*, const char*) {},
    .description = [](void*, wl_output*, const char*) {},
};

const zxdg_output_v1_listener kXdgOutputListener{
    .logical_position =
        [](void* data, zxdg_output_v1*, std::int32_t x, std::int32_t y) {
          auto& out = *static_cast<Output*>(data);
          Box box = out.logical.value_or(Box{});
          box.x = x;
          box.y = y;
          out.logical = box;
        },
    .logical_size =
        [](void* data, zxdg_output_v1*, std::int32_t width, std::int32_t height) {
          auto& out = *static_cast<Output*>(data);
          Box box = out.logical.value_or(Box{});
          box.width = width;
          box.height = height;
          out.logical = box;
        },
    .done = [](void*, zxdg_output_v1*) {},
    .name = [](void*, zxdg_output_v1*, const char*) {},
    .description = [](void*, zxdg_output_v1*, const char*) {},
};

// The globals one connection binds, kept current by the registry.
struct Globals {
  wl_seat* seat = nullptr;
  zwlr_virtual_pointer_manager_v1* manager = nullptr;
  zxdg_output_manager_v1* xdgOutputs = nullptr;
  std::list<Output> outputs;  // stable addresses: each is its listeners' data
  bool bindOutputs = false;

  static void forget(Output& out) {
    if (out.xdg != nullptr) {
      zxdg_output_v1_destroy(out.xdg);
    }
    wl_output_release(out.output);
  }

  void watch(Output& out) {
    if (xdgOutputs != nullptr && out.xdg == nullptr) {
      out.xdg = zxdg_output_manager_v1_get_xdg_output(xdgOutputs, out.output);
      zxdg_output_v1_add_listener(out.xdg, &kXdgOutputListener, &out);
    }
  }

  Globals() = default;
  Globals(const Globals&) = delete;
  Globals& operator=(const Globals&) = delete;
  ~Globals() {
    for (Output& out : outputs) {
      forget(out);
    }
    if (xdgOutputs != nullptr) {
      zxdg_output_manager_v1_destroy(xdgOutputs);
    }
    if (manager != nullptr) {
      zwlr_virtual_pointer_manager_v1_destroy(manager);
    }
    if (seat != nullptr) {
      wl_seat_destroy(seat);
    }
  }
};

void onGlobal(void* data, wl_registry* registry, std::uint32_t name, const char* interface,
              std::uint32_t version) {
  auto& g = *static_cast<Globals*>(data);
  if (std::strcmp(interface, wl_seat_interface.name) == 0 && g.seat == nullptr) {
    g.seat = static_cast<wl_seat*>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
  } else if (std::strcmp(interface, zwlr_virtual_pointer_manager_v1_interface.name) == 0) {
    g.manager = static_cast<zwlr_virtual_pointer_manager_v1*>(
        wl_registry_bind(registry, name, &zwlr_virtual_pointer_manager_v1_interface, 1));
  } else if (g.bindOutputs && std::strcmp(interface, zxdg_output_manager_v1_interface.name) == 0) {
    g.xdgOutputs = static_cast<zxdg_output_manager_v1*>(
        wl_registry_bind(registry, name, &zxdg_output_manager_v1_interface, std::min(version, 3U)));
    for (Output& out : g.outputs) {
      g.watch(out);
    }
  } else if (g.bindOutputs && std::strcmp(interface, wl_output_interface.name) == 0 &&
             version >= 3) {
    Output& out = g.outputs.emplace_back();
    out.name = name;
    out.output = static_cast<wl_output*>(
        wl_registry_bind(registry, name, &wl_output_interface, std::min(version, 4U)));
    wl_output_add_listener(out.output, &kOutputListener, &out);
    g.watch(out);
  }
}

// An unplugged output leaves the layout.
void onGlobalRemove(void* data, wl_registry* /*registry*/, std::uint32_t name) {
  auto& g = *static_cast<Globals*>(data);
  g.outputs.remove_if([name](Output& out) {
    if (out.name != name) {
      return false;
    }
    Globals::forget(out);
    return true;
  });
}

const wl_registry_listener kRegistryListener{&onGlobal, &onGlobalRemove};

}  // namespace

std::optional<std::string> whyNoVirtualPointer(const std::string& displayName) {
  wl_display* display = connect(displayName);
  if (display == nullptr) {
    return "the Wayland display does not answer";
  }
  std::optional<std::string> why;
  {
    Globals globals;
    wl_registry* registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &kRegistryListener, &globals);
    if (wl_display_roundtrip(display) < 0) {
      why = "the Wayland display does not answer";
    } else if (globals.manager == nullptr) {
      why = std::string("the compositor offers no virtual pointer (") + kVirtualPointerGlobal + ")";
    }
    wl_registry_destroy(registry);
  }
  wl_display_disconnect(display);
  return why;
}

// One connection with its virtual pointer and the output layout, used under its own lock.
class VirtualPointer {
 public:
  explicit VirtualPointer(const std::string& displayName) : display_(connect(displayName)) {
    if (display_ == nullptr) {
      return;
    }
    globals_->bindOutputs = true;
    registry_ = wl_display_get_registry(display_);
    wl_registry_add_listener(registry_, &kRegistryListener, globals_.get());
    // Globals, then the outputs' first events, then their xdg-output events.
    for (int i = 0; i < 3; ++i) {
      wl_display_roundtrip(display_);
    }
    if (globals_->manager == nullptr) {
      return;
    }
    pointer_ =
        zwlr_virtual_pointer_manager_v1_create_virtual_pointer(globals_->manager, globals_->seat);
    // The compositor adds the new device to the seat while handling this round trip; a button
    // sent before that is dropped.
    wl_display_roundtrip(display_);
    // On a seat whose first pointer this is (wlroots 0.18 and later give a seat pointer focus
    // only once it has a pointer device), the window under the cursor gets the pointer only at
    // its next motion; until then clicks at the cursor reach nobody. A motion of nothing gives
    // it the pointer now without moving it, so no click has to.
    zwlr_virtual_pointer_v1_motion(pointer_, nowMs(), wl_fixed_from_int(0), wl_fixed_from_int(0));
    zwlr_virtual_pointer_v1_frame(pointer_);
    wl_display_flush(display_);
  }
  ~VirtualPointer() {
    if (display_ == nullptr) {
      return;
    }
    releaseAll();
    if (pointer_ != nullptr) {
      zwlr_virtual_pointer_v1_destroy(pointer_);
    }
    if (registry_ != nullptr) {
      wl_registry_destroy(registry_);
    }
    globals_.reset();
    wl_display_roundtrip(display_);
    wl_display_disconnect(display_);
  }
  VirtualPointer(const VirtualPointer&) = delete;
  VirtualPointer& operator=(const VirtualPointer&) = delete;

  [[nodiscard]] bool healthy() const {
    std::lock_guard lock(mutex_);
    return usable();
  }

  // The layout box (the union of every output), current as of the events already sent.
  std::optional<Box> layout() {
    std::lock_guard lock(mutex_);
    if (!usable()) {
      return std::nullopt;
    }
    readPending();
    return layoutBox();
  }

  // layout: the box a click checked its point against, or nothing to read it now.
  void post(const MouseEvent& event, std::optional<Box> layout) {
    std::lock_guard lock(mutex_);
    if (!usable()) {
      return;
    }
    const std::uint32_t button = event.button == MouseButton::right ? BTN_RIGHT : BTN_LEFT;
    const bool press = event.action == MouseAction::down;
    const std::uint32_t time = nowMs();
    if (event.at) {
      if (!layout) {
        readPending();
      }
      const std::optional<Box> box = layout ? layout : layoutBox();
      if (!box) {
        return;
      }
      const auto x = static_cast<std::uint32_t>(std::lround(event.at->x) - box->x);
      const auto y = static_cast<std::uint32_t>(std::lround(event.at->y) - box->y);
      zwlr_virtual_pointer_v1_motion_absolute(pointer_, time, x, y,
                                              static_cast<std::uint32_t>(box->width),
                                              static_cast<std::uint32_t>(box->height));
      zwlr_virtual_pointer_v1_frame(pointer_);
    }
    zwlr_virtual_pointer_v1_button(
        pointer_, time, button,
        press ? WL_POINTER_BUTTON_STATE_PRESSED : WL_POINTER_BUTTON_STATE_RELEASED);
    zwlr_virtual_pointer_v1_frame(pointer_);
    if (press) {
      held_.insert(button);
    } else {
      held_.erase(button);
    }
    wl_display_flush(display_);
  }

  void releaseAll() {
    std::lock_guard lock(mutex_);
    if (!usable() || held_.empty()) {
      return;
    }
    for (const std::uint32_t button : held_) {
      zwlr_virtual_pointer_v1_button(pointer_, nowMs(), button, WL_POINTER_BUTTON_STATE_RELEASED);
      zwlr_virtual_pointer_v1_frame(pointer_);
    }
    held_.clear();
    // Waits until the compositor has them, so that an exit right after leaves nothing held.
    wl_display_roundtrip(display_);
  }

 private:
  [[nodiscard]] bool usable() const {
    return display_ != nullptr && pointer_ != nullptr && wl_display_get_error(display_) == 0;
  }

  // Handles whatever output changes arrived, without blocking.
  void readPending() {
    while (wl_display_prepare_read(display_) != 0) {
      wl_display_dispatch_pending(display_);
    }
    wl_display_flush(display_);
    pollfd fd{wl_display_get_fd(display_), POLLIN, 0};
    if (poll(&fd, 1, 0) > 0) {
      wl_display_read_events(display_);
    } else {
      wl_display_cancel_read(display_);
    }
    wl_display_dispatch_pending(display_);
    // An output that just appeared has no place yet: its first events follow one round trip,
    // and a motion scaled to the old layout would land elsewhere.
    for (int i = 0; i < 2 && anyOutputUnplaced(); ++i) {
      wl_display_roundtrip(display_);
    }
  }

  [[nodiscard]] bool anyOutputUnplaced() const {
    return std::any_of(globals_->outputs.begin(), globals_->outputs.end(), [](const Output& out) {
      const Box b = out.box();
      return b.width <= 0 || b.height <= 0 || (out.xdg != nullptr && !out.logical);
    });
  }

  [[nodiscard]] std::optional<Box> layoutBox() const {
    std::optional<Box> all;
    for (const Output& out : globals_->outputs) {
      const Box b = out.box();
      if (b.width <= 0 || b.height <= 0) {
        continue;
      }
      if (!all) {
        all = b;
        continue;
      }
      const std::int32_t right = std::max(all->x + all->width, b.x + b.width);
      const std::int32_t bottom = std::max(all->y + all->height, b.y + b.height);
      all->x = std::min(all->x, b.x);
      all->y = std::min(all->y, b.y);
      all->width = right - all->x;
      all->height = bottom - all->y;
    }
    return all;
  }

  mutable std::mutex mutex_;
  wl_display* display_;
  wl_registry* registry_ = nullptr;
  std::unique_ptr<Globals> globals_ = std::make_unique<Globals>();
  zwlr_virtual_pointer_v1* pointer_ = nullptr;
  std::set<std::uint32_t> held_;
};

WlrootsInjector::WlrootsInjector(const std::string& displayName)
    : pointer_(std::make_unique<VirtualPointer>(displayName)) {}

WlrootsInjector::~WlrootsInjector() = default;

bool WlrootsInjector::connected() const {
  return pointer_->healthy();
}

void WlrootsInjector::releaseAll() {
  pointer_->releaseAll();
}

bool WlrootsInjector::click(MouseButton button, std::optional<ClickPoint> at, int count,
                            ClickPacing& pacing) {
  // Checked once: every event of the click moves within the same layout.
  std::optional<Box> box;
  if (!at) {
    if (!connected()) {
      return false;
    }
  } else {
    if (!std::isfinite(at->x) || !std::isfinite(at->y)) {
      return false;
    }
    box = pointer_->layout();
    const double x = std::round(at->x);
    const double y = std::round(at->y);
    if (!box || x < box->x || y < box->y || x >= box->x + box->width || y >= box->y + box->height) {
      return false;
    }
  }
  postPresses(button, at, count, pacing,
              [&](const MouseEvent& event) { pointer_->post(event, box); });
  return true;
}

void WlrootsInjector::post(const MouseEvent& event) {
  pointer_->post(event, std::nullopt);
}

bool WlrootsTrust::isTrusted(bool /*prompt*/) {
  return !whyNoVirtualPointer(displayName_);
}

}  // namespace vorrik::wlroots
