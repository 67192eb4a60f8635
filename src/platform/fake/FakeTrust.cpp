// SPDX-License-Identifier: MIT
#include "platform/fake/FakeTrust.h"

#include <utility>

namespace vorrik::fake {

bool FakeTrust::isTrusted(bool prompt) {
  std::lock_guard lock(mutex_);
  ++queries_;
  if (prompt) {
    ++prompts_;
  }
  return trusted_;
}

Refusal FakeTrust::refusal() const {
  std::lock_guard lock(mutex_);
  return refusal_;
}

void FakeTrust::setRefusal(Refusal refusal) {
  std::lock_guard lock(mutex_);
  refusal_ = refusal;
}

void FakeTrust::setRevokedHandler(std::function<void()> handler) {
  std::lock_guard lock(mutex_);
  revoked_ = std::move(handler);
}

void FakeTrust::revoke() {
  std::function<void()> handler;
  {
    std::lock_guard lock(mutex_);
    trusted_ = false;
    handler = revoked_;
  }
  if (handler) {
    handler();
  }
}

void FakeTrust::setTrusted(bool trusted) {
  std::lock_guard lock(mutex_);
  trusted_ = trusted;
}

int FakeTrust::prompts() const {
  std::lock_guard lock(mutex_);
  return prompts_;
}

int FakeTrust::queries() const {
  std::lock_guard lock(mutex_);
  return queries_;
}

}  // namespace vorrik::fake
