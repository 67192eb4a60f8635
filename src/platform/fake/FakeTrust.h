// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <mutex>

#include "platform/AccessibilityTrust.h"

namespace vorrik::fake {

class FakeTrust final : public AccessibilityTrust {
 public:
  bool isTrusted(bool prompt) override;
  Refusal refusal() const override;
  void setTrusted(bool trusted);
  void setRefusal(Refusal refusal);
  void setRevokedHandler(std::function<void()> handler) override;
  // Takes trust back as a desktop does: untrusted, and the revoked handler is called.
  void revoke();
  // How often the system prompt was asked for.
  int prompts() const;
  int queries() const;

 private:
  mutable std::mutex mutex_;
  bool trusted_ = true;
  Refusal refusal_ = Refusal::noInjection;
  int prompts_ = 0;
  int queries_ = 0;
  std::function<void()> revoked_;
};

}  // namespace vorrik::fake
