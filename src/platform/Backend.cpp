// SPDX-License-Identifier: MIT
#include "platform/Backend.h"

#include <cstdlib>

namespace vorrik {
namespace {

std::string env(const char* name) {
  const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): read at start-up
  return value != nullptr ? value : "";
}

}  // namespace

Session Session::fromEnvironment() {
  return {env("DISPLAY"), env("WAYLAND_DISPLAY"), env("XDG_SESSION_TYPE"), env("VORRIK_BACKEND")};
}

bool Session::isWayland() const {
  if (type == "wayland" || type == "x11") {
    return type == "wayland";
  }
  return !waylandDisplay.empty();
}

BackendChoice chooseBackend(const Session& session, std::span<const Backend> candidates) {
  if (!session.forcedBackend.empty()) {
    for (const Backend& backend : candidates) {
      if (backend.name == session.forcedBackend) {
        if (auto why = backend.unfit(session)) {
          return {nullptr, "the " + session.forcedBackend + " backend cannot serve: " + *why};
        }
        return {&backend, {}};
      }
    }
    std::string known;
    for (const Backend& backend : candidates) {
      known += (known.empty() ? "" : ", ") + std::string(backend.name);
    }
    return {nullptr, "VORRIK_BACKEND names no backend of this build (" + session.forcedBackend +
                         "; known: " + known + ")"};
  }
  std::string why;
  for (const Backend& backend : candidates) {
    auto unfit = backend.unfit(session);
    if (!unfit) {
      return {&backend, {}};
    }
    why += (why.empty() ? "" : "; ") + *unfit;
  }
  return {nullptr, why.empty() ? "this build has no backend" : why};
}

}  // namespace vorrik
