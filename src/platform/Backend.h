// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/Desktop.h"

namespace vorrik {

// The desktop session as the environment describes it.
struct Session {
  std::string display;         // DISPLAY: an X server, native or Xwayland
  std::string waylandDisplay;  // WAYLAND_DISPLAY
  std::string type;            // XDG_SESSION_TYPE: "x11", "wayland", "tty" or empty
  std::string forcedBackend;   // VORRIK_BACKEND: a backend's name, or empty to choose
  static Session fromEnvironment();
  // Whether a Wayland compositor runs the session (then DISPLAY, if set, is its Xwayland): as
  // XDG_SESSION_TYPE says, else whether WAYLAND_DISPLAY is set.
  [[nodiscard]] bool isWayland() const;
};

// One way to serve a desktop session.
struct Backend {
  std::string_view name;
  // The Qt platform plugin its windows need on session ("xcb" for the X11 backend); runs before
  // Qt starts.
  std::string_view (*qtPlatform)(const Session& session);
  // Why it cannot serve session, in one line, or nothing when it can; runs before Qt starts.
  std::optional<std::string> (*unfit)(const Session& session);
  // Opens its services; called once, after the QApplication exists.
  std::unique_ptr<Desktop> (*open)(const Session& session);
};

// What start-up chose: a backend, or why none serves the session.
struct BackendChoice {
  const Backend* backend = nullptr;
  std::string why;
};

// The first of candidates that serves session, or the forced one when it is named and fits.
BackendChoice chooseBackend(const Session& session, std::span<const Backend> candidates);

// The backends this build holds, best first.
std::span<const Backend> availableBackends();

// The stored language choice and the system's preferred languages without a desktop, for what
// start-up says when no backend serves the session; after the QApplication exists.
class LanguageSettings {
 public:
  virtual ~LanguageSettings() = default;
  virtual DefaultsStore& defaults() = 0;
  virtual PreferredLanguages& preferredLanguages() = 0;
};
std::unique_ptr<LanguageSettings> openLanguageSettings();

}  // namespace vorrik
