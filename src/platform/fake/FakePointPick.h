// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <utility>

#include "platform/PointPick.h"

namespace vorrik::fake {

// A pick that ends only when the test says where; main thread only.
class FakePointPick final : public PointPick {
 public:
  void start(Done done) override {
    ++starts_;
    done_ = std::move(done);
  }
  void cancel() override { done_ = nullptr; }

  // Ends the pending pick at `at` (nothing: cancelled or refused); false when none is pending.
  bool finish(std::optional<ClickPoint> at) {
    const Done done = std::exchange(done_, nullptr);
    if (done) {
      done(at);
    }
    return static_cast<bool>(done);
  }
  [[nodiscard]] bool pending() const { return static_cast<bool>(done_); }
  [[nodiscard]] int starts() const { return starts_; }

 private:
  Done done_;
  int starts_ = 0;
};

}  // namespace vorrik::fake
