// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <ctime>

namespace vorrik::bench {

// Timestamps every left-button press and release on an X display as the receiving client reads
// it.
//
// It listens for XInput 2.2 raw button presses on the root window, which reach every client
// selecting them whatever window is under the pointer and whichever client holds a grab, and it
// keeps the events of the XTEST devices that synthesised clicks come from. A dedicated thread
// blocks in poll() on its own X connection and reads CLOCK_MONOTONIC once per event it reads.
class PressReceiver {
 public:
  // Connects to display (nullptr: $DISPLAY) and starts listening; nothing, with why in error,
  // when the display or XInput 2.2 is not there.
  static std::unique_ptr<PressReceiver> open(const char* display, std::string& error);
  // Stops the thread and closes the connection.
  ~PressReceiver();
  PressReceiver(const PressReceiver&) = delete;
  PressReceiver& operator=(const PressReceiver&) = delete;

  // Forgets the events seen so far.
  void reset();
  // The presses since the last reset, on CLOCK_MONOTONIC, in the order they were read.
  std::vector<std::chrono::nanoseconds> presses() const;
  // The releases since the last reset, likewise.
  std::vector<std::chrono::nanoseconds> releases() const;
  // The CPU the thread read each press on, in the order of presses().
  std::vector<int> pressCpus() const;
  // The receiving thread's id, for the scheduler's counts of it.
  pid_t threadId() const { return tid_.load(); }
  // The X server's process, from its end of the connection; 0 when unknown.
  pid_t serverPid() const { return serverPid_; }
  // Waits until at least count releases have been seen since the last reset; false on timeout.
  bool waitFor(std::size_t count, std::chrono::milliseconds timeout) const;

 private:
  struct Connection;
  explicit PressReceiver(std::unique_ptr<Connection> connection);
  void run();

  std::unique_ptr<Connection> connection_;
  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  std::vector<std::chrono::nanoseconds> presses_;
  std::vector<std::chrono::nanoseconds> releases_;
  std::vector<int> pressCpus_;
  std::atomic<pid_t> tid_{0};
  pid_t serverPid_ = 0;
  std::thread thread_;
};

}  // namespace vorrik::bench
