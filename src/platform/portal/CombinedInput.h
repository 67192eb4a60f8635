// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <utility>

#include "platform/InputMonitor.h"

namespace vorrik::portal {

// One input monitor made of two sources, where no single service of the desktop observes both
// keys and the pointer's left button: keys from one, left presses from the other. Either may be
// missing; its monitors are then refused. Main thread.
class CombinedInput final : public InputMonitor {
 public:
  // Where keys come from; set before the first monitor is added.
  void setKeySource(InputMonitor* keys) { keys_ = keys; }
  // Where left presses come from; set before the first monitor is added.
  void setLeftPressSource(InputMonitor* presses) { presses_ = presses; }
  std::optional<Handle> addKeyMonitor(std::function<void(Key)> handler) override {
    return keys_ != nullptr ? wrap(keys_, keys_->addKeyMonitor(std::move(handler))) : std::nullopt;
  }
  std::optional<Handle> addLeftPressMonitor(std::function<void()> handler) override {
    return presses_ != nullptr ? wrap(presses_, presses_->addLeftPressMonitor(std::move(handler)))
                               : std::nullopt;
  }
  void remove(Handle handle) override {
    if (const auto found = inner_.find(handle); found != inner_.end()) {
      const auto [source, innerHandle] = found->second;
      inner_.erase(found);
      source->remove(innerHandle);
    }
  }
  std::optional<bool> keyboardInThisProcess() override {
    return keys_ != nullptr ? keys_->keyboardInThisProcess() : std::nullopt;
  }

 private:
  // The sources number their monitors independently; this one hands out its own handles.
  std::optional<Handle> wrap(InputMonitor* source, std::optional<Handle> innerHandle) {
    if (!innerHandle) {
      return std::nullopt;
    }
    const Handle handle = next_++;
    inner_.emplace(handle, std::pair{source, *innerHandle});
    return handle;
  }

  InputMonitor* keys_ = nullptr;
  InputMonitor* presses_ = nullptr;
  Handle next_ = 1;
  std::map<Handle, std::pair<InputMonitor*, Handle>> inner_;
};

}  // namespace vorrik::portal
