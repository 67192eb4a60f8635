// SPDX-License-Identifier: MIT
#include "platform/wlroots/SwayBinding.h"

#include <regex>
#include <utility>

#include "platform/wayland/SwayIpc.h"

namespace vorrik::wlroots {
namespace {

using wayland::swayRequest;
using wayland::swaySucceeded;

constexpr std::uint32_t kRunCommand = 0;
constexpr std::uint32_t kGetConfig = 9;

}  // namespace

std::string bindingLine(const std::string& key, const std::string& command) {
  return "bindsym " + key + " exec " + command;
}

SwayBinding::SwayBinding(std::string key, const std::string& command, std::string socketPath)
    : key_(std::move(key)), socketPath_(std::move(socketPath)) {
  if (socketPath_.empty()) {
    why_ = "no sway IPC socket (SWAYSOCK is not set)";
    return;
  }
  const std::optional<std::string> config = swayRequest(socketPath_, kGetConfig, {});
  if (!config) {
    why_ = "sway does not answer on " + socketPath_;
    return;
  }
  // The user's own binding wins; replacing it and then unbinding on quit would lose it. The
  // configuration comes as a JSON string: its line breaks and tabs are escapes.
  const std::regex theirs(R"((^|\\n|\n|")(\\t|\s)*bindsym(\s+--\S+)*\s+)" + key_ + R"(\s)",
                          std::regex::icase);
  if (std::regex_search(*config, theirs)) {
    why_ = "the sway configuration already binds " + key_;
    return;
  }
  const std::optional<std::string> reply =
      swayRequest(socketPath_, kRunCommand, bindingLine(key_, command));
  bound_ = reply && swaySucceeded(*reply);
  if (!bound_) {
    why_ = "sway refused the binding: " + reply.value_or("no answer");
  }
}

SwayBinding::~SwayBinding() {
  if (bound_) {
    swayRequest(socketPath_, kRunCommand, "unbindsym " + key_);
  }
}

}  // namespace vorrik::wlroots
