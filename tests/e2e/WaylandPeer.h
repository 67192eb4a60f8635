// SPDX-License-Identifier: MIT
// The other side of end-to-end tests on a Wayland compositor (run through with-sway.sh): the
// receiver window as a child process whose printed events are read back, and the user's
// keyboard through wtype.
#pragma once

#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "platform/ClickPoint.h"

extern char** environ;  // NOLINT: POSIX

namespace vorrik::e2e {

// One line the receiver printed about a button.
struct WaylandButton {
  std::string kind;  // press, release or double
  bool right = false;
  ClickPoint at;
  double ms = 0;
};

// The receiver window (tests/e2e/WaylandReceiver.cpp) in a process of its own.
class WaylandReceiver {
 public:
  explicit WaylandReceiver(const char* path) {
    int fds[2];
    if (pipe(fds) != 0) {
      return;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, fds[0]);
    char* argv[] = {const_cast<char*>(path), nullptr};
    if (posix_spawn(&pid_, path, &actions, nullptr, argv, environ) != 0) {
      pid_ = -1;
    }
    posix_spawn_file_actions_destroy(&actions);
    close(fds[1]);
    out_ = fds[0];
    for (const std::string& line : lines(std::chrono::seconds(20), "ready")) {
      ready_ = ready_ || line.rfind("ready", 0) == 0;
    }
  }
  ~WaylandReceiver() {
    if (pid_ > 0) {
      kill(pid_, SIGTERM);
      waitpid(pid_, nullptr, 0);
    }
    if (out_ >= 0) {
      close(out_);
    }
  }
  WaylandReceiver(const WaylandReceiver&) = delete;
  WaylandReceiver& operator=(const WaylandReceiver&) = delete;

  [[nodiscard]] bool ready() const { return ready_; }

  // Whether the pointer has come onto the window, waiting up to within; lines read meanwhile
  // are dropped.
  bool entered(std::chrono::milliseconds within) {
    if (!entered_) {
      lines(within, "enter");
    }
    return entered_;
  }

  // Every line printed within settle, or until one starts with until.
  std::vector<std::string> lines(std::chrono::milliseconds settle, const std::string& until = {}) {
    std::vector<std::string> got;
    const auto deadline = std::chrono::steady_clock::now() + settle;
    for (;;) {
      for (std::size_t end = pending_.find('\n'); end != std::string::npos;
           end = pending_.find('\n')) {
        got.push_back(pending_.substr(0, end));
        pending_.erase(0, end + 1);
        entered_ = entered_ || got.back() == "enter";
        if (!until.empty() && got.back().rfind(until, 0) == 0) {
          return got;
        }
      }
      const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
          deadline - std::chrono::steady_clock::now());
      if (left.count() <= 0) {
        return got;
      }
      pollfd fd{out_, POLLIN, 0};
      if (poll(&fd, 1, static_cast<int>(left.count())) <= 0) {
        continue;
      }
      char buffer[4096];
      const ssize_t n = read(out_, buffer, sizeof buffer);
      if (n <= 0) {
        return got;
      }
      pending_.append(buffer, static_cast<std::size_t>(n));
    }
  }

  // The button lines among those printed within settle, or until one starts with until.
  std::vector<WaylandButton> buttons(std::chrono::milliseconds settle,
                                     const std::string& until = {}) {
    std::vector<WaylandButton> out;
    for (const std::string& line : lines(settle, until)) {
      std::istringstream in(line);
      WaylandButton b;
      std::string button;
      if (in >> b.kind >> button >> b.at.x >> b.at.y >> b.ms && b.kind != "key") {
        b.right = button == "right";
        out.push_back(b);
      }
    }
    return out;
  }

 private:
  pid_t pid_ = -1;
  int out_ = -1;
  bool ready_ = false;
  bool entered_ = false;
  std::string pending_;
};

// Presses and releases one key as a keyboard would, through the compositor's virtual keyboard.
inline bool tapKey(const std::string& key) {
  return std::system(("wtype -k " + key).c_str()) == 0;  // NOLINT(cert-env33-c): test tool
}

}  // namespace vorrik::e2e
