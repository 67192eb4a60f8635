// SPDX-License-Identifier: MIT
// Starts a click timer and prints how its worker got real-time priority: "direct",
// "RealtimeKit" or "none"; exits 0 when that is what argv[1] expected.

#include <cstdio>
#include <string_view>

#include "platform/posix/PosixServices.h"

int main(int argc, char** argv) {
  using vorrik::posix::RealtimeGrant;
  const vorrik::posix::WorkerTimer timer;
  const RealtimeGrant grant = timer.realtime();
  const char* name = grant == RealtimeGrant::direct        ? "direct"
                     : grant == RealtimeGrant::realtimeKit ? "RealtimeKit"
                                                           : "none";
  std::printf("%s\n", name);
  return argc > 1 && std::string_view(argv[1]) == name ? 0 : 1;
}
