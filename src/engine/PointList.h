// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/ClickPoint.h"

namespace vorrik {

// The engine's click targets: written on the main thread, read by the click worker.
// Every change replaces the whole list, so a reader's snapshot never changes under it.
class PointList {
 public:
  using Snapshot = std::shared_ptr<const std::vector<ClickPoint>>;

  // The list as it stands now; never null.
  Snapshot snapshot() const;
  void append(ClickPoint point);
  void clear();
  void assign(std::vector<ClickPoint> points);
  std::size_t size() const { return snapshot()->size(); }
  bool empty() const { return size() == 0; }

 private:
  mutable std::mutex mutex_;
  Snapshot list_ = std::make_shared<const std::vector<ClickPoint>>();
};

}  // namespace vorrik
