// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace vorrik::wlroots {

// A compositor key binding that runs a command, held for the life of this object: on sway, set
// through its IPC socket ($SWAYSOCK) and removed again when destroyed. Sway consumes a bound
// key: the focused application no longer sees it.
class SwayBinding {
 public:
  // Binds key (a sway key name such as "F6") to `exec command` unless sway is not there or
  // the user's configuration already binds that key; the user's binding is then left alone.
  SwayBinding(std::string key, const std::string& command, std::string socketPath);
  ~SwayBinding();
  SwayBinding(const SwayBinding&) = delete;
  SwayBinding& operator=(const SwayBinding&) = delete;

  // True while the binding is in place.
  [[nodiscard]] bool bound() const { return bound_; }
  // Why it is not in place, in one line; empty when bound.
  [[nodiscard]] const std::string& why() const { return why_; }

 private:
  std::string key_;
  std::string socketPath_;
  bool bound_ = false;
  std::string why_;
};

// The line a user adds to a sway-style configuration to toggle runs with key.
std::string bindingLine(const std::string& key, const std::string& command);

}  // namespace vorrik::wlroots
