// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vorrik::wayland {

// One sway IPC request: the reply's payload, or nothing when the socket does not answer.
// type 0 runs commands, 4 returns the window tree, 9 the loaded configuration.
std::optional<std::string> swayRequest(const std::string& socketPath, std::uint32_t type,
                                       const std::string& payload);

// Whether a reply to a run-command request says that every command succeeded.
bool swaySucceeded(const std::string& reply);

}  // namespace vorrik::wayland
