// SPDX-License-Identifier: MIT
#include "platform/wlroots/WlrootsDesktop.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "platform/qt/QtDesktop.h"
#include "platform/wayland/PickOverlay.h"
#include "platform/wayland/SwayPickOverlay.h"
#include "platform/wlroots/SwayBinding.h"
#include "platform/wlroots/WlrootsInput.h"

namespace vorrik::wlroots {
namespace {

std::string env(const char* name) {
  const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): main thread
  return value != nullptr ? value : "";
}

// Members in the order they must be built: the Qt services first (the base), the injector with its
// own connection, the binding last so that it goes first on quit.
class WlrootsDesktop final : public qt::QtDesktop {
 public:
  explicit WlrootsDesktop(const Session& session)
      : trust_(session.waylandDisplay),
        injector_(session.waylandDisplay),
        binding_("F6", toggleCommand(), env("SWAYSOCK")) {
    if (!binding_.bound()) {
      std::fprintf(stderr,
                   "vorrik: F6 cannot be observed on this desktop and is not bound (%s); to "
                   "toggle runs with it, add to the compositor's configuration: %s\n",
                   binding_.why().c_str(), bindingLine("F6", "vorrik --toggle").c_str());
    }
  }
  ~WlrootsDesktop() override {
    // A run may still be ending: no button stays down after Vorrik.
    injector_.releaseAll();
  }
  WlrootsDesktop(const WlrootsDesktop&) = delete;
  WlrootsDesktop& operator=(const WlrootsDesktop&) = delete;

  AccessibilityTrust& trust() override { return trust_; }
  EventInjector& injector() override { return injector_; }
  PointPick& picker() override { return *picker_; }
  // No client observes keys here; F6 comes through sway's binding.
  InputMonitor* input() override { return nullptr; }
  WindowSystem* windows() override { return nullptr; }

 private:
  WlrootsTrust trust_;
  WlrootsInjector injector_;
  // On sway the covers float over the desktop; other compositors get full-screen ones.
  std::unique_ptr<wayland::PickOverlay> picker_ =
      env("SWAYSOCK").empty() ? std::make_unique<wayland::PickOverlay>()
                              : std::make_unique<wayland::SwayPickOverlay>(env("SWAYSOCK"));
  SwayBinding binding_;
};

// Safe to hand to sway's exec unquoted.
bool plainPath(const std::string& path) {
  return !path.empty() && std::all_of(path.begin(), path.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '/' ||
           c == '.' || c == '_' || c == '-' || c == '+';
  });
}

}  // namespace

std::string toggleCommand() {
  if (std::string command = env("VORRIK_TOGGLE_COMMAND"); !command.empty()) {
    return command;
  }
  std::array<char, 4096> path{};
  const ssize_t n = ::readlink("/proc/self/exe", path.data(), path.size() - 1);
  const std::string self = n > 0 ? std::string(path.data(), static_cast<std::size_t>(n)) : "";
  return (plainPath(self) ? self : std::string("vorrik")) + " --toggle";
}

std::optional<std::string> unfit(const Session& session) {
  if (session.waylandDisplay.empty()) {
    return "no Wayland display (WAYLAND_DISPLAY is not set)";
  }
  return whyNoVirtualPointer(session.waylandDisplay);
}

std::unique_ptr<Desktop> openDesktop(const Session& session) {
  return std::make_unique<WlrootsDesktop>(session);
}

}  // namespace vorrik::wlroots
