// SPDX-License-Identifier: MIT
#pragma once

// Clicks and the injection check on a wlroots compositor (sway, Hyprland, river, labwc,
// Wayfire) through its virtual-pointer protocol. Each object owns its own Wayland connection,
// so the click worker never shares one with the toolkit's.

#include <memory>
#include <optional>
#include <string>

#include "platform/AccessibilityTrust.h"
#include "platform/ClickPoint.h"
#include "platform/EventInjector.h"

namespace vorrik::wlroots {

// The global this backend needs from the compositor.
inline constexpr const char* kVirtualPointerGlobal = "zwlr_virtual_pointer_manager_v1";

// Why the compositor at displayName (or $WAYLAND_DISPLAY when empty) cannot take virtual
// pointer clicks, or nothing when it can.
std::optional<std::string> whyNoVirtualPointer(const std::string& displayName = {});

class VirtualPointer;

// Posts button events through a virtual pointer of its own. Meant for the click worker; a
// mutex keeps it correct from any other thread too. Every press it posted and did not release
// is released when it is destroyed.
class WlrootsInjector final : public EventInjector {
 public:
  // Connects to displayName, or to $WAYLAND_DISPLAY when it is empty.
  explicit WlrootsInjector(const std::string& displayName = {});
  ~WlrootsInjector() override;
  WlrootsInjector(const WlrootsInjector&) = delete;
  WlrootsInjector& operator=(const WlrootsInjector&) = delete;

  // False when the compositor is gone or the point lies outside every output.
  bool click(MouseButton button, std::optional<ClickPoint> at, int count,
             ClickPacing& pacing) override;
  // One event of a click, unchecked: moves the pointer to the event's point (if it has one),
  // presses or releases the left or right button and flushes; does nothing when the
  // compositor is gone.
  void post(const MouseEvent& event);

  // True while the connection is open and the virtual pointer exists.
  [[nodiscard]] bool connected() const;
  // Releases every button this injector holds down; safe to call at any time.
  void releaseAll();

 private:
  std::unique_ptr<VirtualPointer> pointer_;
};

// Trusted when the compositor offers the virtual-pointer global; there is nothing to grant.
class WlrootsTrust final : public AccessibilityTrust {
 public:
  // Connects to displayName, or to $WAYLAND_DISPLAY when it is empty, at each query.
  explicit WlrootsTrust(std::string displayName = {}) : displayName_(std::move(displayName)) {}

  // True when the compositor answers and offers the global; prompt changes nothing.
  bool isTrusted(bool prompt) override;

 private:
  std::string displayName_;
};

}  // namespace vorrik::wlroots
