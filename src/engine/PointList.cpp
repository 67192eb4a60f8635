// SPDX-License-Identifier: MIT
#include "engine/PointList.h"

#include <utility>

namespace vorrik {

PointList::Snapshot PointList::snapshot() const {
  std::lock_guard lock(mutex_);
  return list_;
}

void PointList::append(ClickPoint point) {
  std::lock_guard lock(mutex_);
  auto next = std::make_shared<std::vector<ClickPoint>>(*list_);
  next->push_back(point);
  list_ = std::move(next);
}

void PointList::clear() {
  assign({});
}

void PointList::assign(std::vector<ClickPoint> points) {
  auto next = std::make_shared<const std::vector<ClickPoint>>(std::move(points));
  std::lock_guard lock(mutex_);
  list_ = std::move(next);
}

}  // namespace vorrik
