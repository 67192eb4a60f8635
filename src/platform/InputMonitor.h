// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace vorrik {

// Keys the application reacts to; every other key is `other`.
enum class Key { f6, other };

// Observes keys anywhere on the display without grabbing or consuming it.
class InputMonitor {
 public:
  using Handle = std::uint64_t;
  virtual ~InputMonitor() = default;
  // Calls handler on the main thread for every key press on the display; a handle, or nothing.
  virtual std::optional<Handle> addKeyMonitor(std::function<void(Key)> handler) = 0;
  // Uninstalls that monitor: its handler is never called again.
  virtual void remove(Handle handle) = 0;
  // Whether one of this process's windows has the keyboard now, as the display itself says (a
  // toolkit's own focus window can lag behind); nothing where the monitor cannot tell. Main
  // thread; meant for a key handler deciding whether a key was meant for this application.
  virtual std::optional<bool> keyboardInThisProcess() { return std::nullopt; }
};

}  // namespace vorrik
