// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <mutex>
#include <utility>

#include "platform/AccessibilityTrust.h"

namespace vorrik::fake {

// Trusted until told otherwise; counts the questions and the prompts. A prompt answers only
// through isTrusted unless the test answers it later (answer).
class FakeTrust final : public AccessibilityTrust {
 public:
  bool isTrusted(bool prompt) override {
    std::lock_guard lock(mutex_);
    ++queries_;
    prompts_ += prompt ? 1 : 0;
    return trusted_;
  }
  Refusal refusal() const override {
    std::lock_guard lock(mutex_);
    return refusal_;
  }
  void setRevokedHandler(std::function<void()> handler) override {
    std::lock_guard lock(mutex_);
    revoked_ = std::move(handler);
  }
  bool remembersConsent() const override {
    std::lock_guard lock(mutex_);
    return remembers_;
  }
  void setAnswerHandler(std::function<void(bool)> handler) override {
    std::lock_guard lock(mutex_);
    answered_ = std::move(handler);
  }
  ConsentDialog consentDialog() const override {
    std::lock_guard lock(mutex_);
    return dialog_;
  }
  void setRemembers(bool remembers) {
    std::lock_guard lock(mutex_);
    remembers_ = remembers;
  }
  void setConsentDialog(ConsentDialog dialog) {
    std::lock_guard lock(mutex_);
    dialog_ = dialog;
  }
  // Answers a prompt later, as a desktop does: trusted or not, then the answer handler.
  void answer(bool trusted) {
    setTrusted(trusted);
    std::unique_lock lock(mutex_);
    const auto handler = answered_;
    lock.unlock();
    if (handler) {
      handler(trusted);
    }
  }
  void setTrusted(bool trusted) {
    std::lock_guard lock(mutex_);
    trusted_ = trusted;
  }
  void setRefusal(Refusal refusal) {
    std::lock_guard lock(mutex_);
    refusal_ = refusal;
  }
  // Takes trust back as a desktop does: untrusted, and the revoked handler is called.
  void revoke() {
    setTrusted(false);
    std::unique_lock lock(mutex_);
    const auto handler = revoked_;
    lock.unlock();
    if (handler) {
      handler();
    }
  }
  // How often the system prompt was asked for, and how often trust was asked at all.
  int prompts() const {
    std::lock_guard lock(mutex_);
    return prompts_;
  }
  int queries() const {
    std::lock_guard lock(mutex_);
    return queries_;
  }

 private:
  mutable std::mutex mutex_;
  bool trusted_ = true;
  Refusal refusal_ = Refusal::noInjection;
  int prompts_ = 0;
  int queries_ = 0;
  bool remembers_ = false;
  ConsentDialog dialog_;
  std::function<void()> revoked_;
  std::function<void(bool)> answered_;
};

}  // namespace vorrik::fake
