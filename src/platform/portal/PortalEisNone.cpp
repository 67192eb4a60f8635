// SPDX-License-Identifier: MIT
// A build without libei: every portal click takes the D-Bus calls.
#include <unistd.h>

#include "platform/portal/PortalEis.h"

namespace vorrik::portal {

bool EisPointer::builtIn() {
  return false;
}

// The libei build moves the handlers in; this one drops them.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
std::shared_ptr<EisPointer> EisPointer::open(int fd, Handlers /*handlers*/) {
  ::close(fd);
  return nullptr;
}

}  // namespace vorrik::portal
