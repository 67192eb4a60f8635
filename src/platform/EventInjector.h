// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>

#include "platform/ClickPoint.h"

namespace vorrik {

enum class MouseButton { left, right };
enum class MouseAction { down, up };

// One button event, made for a single post.
struct MouseEvent {
  MouseAction action = MouseAction::down;
  MouseButton button = MouseButton::left;
  // Nothing: wherever the pointer is when the event is posted, whoever moved it last.
  std::optional<ClickPoint> at;
  // The click count receivers use to recognise a double click (1 or 2).
  std::int64_t clickState = 1;
  friend bool operator==(const MouseEvent&, const MouseEvent&) = default;
};

// Injects mouse button events at the lowest level of the input stream.
class EventInjector {
 public:
  virtual ~EventInjector() = default;
  // Makes an event of that action and button at a point (nothing: at the pointer), or nothing
  // when the system cannot.
  virtual std::optional<MouseEvent> make(MouseAction action, MouseButton button,
                                         std::optional<ClickPoint> at) = 0;
  // Posts the event so that every application receives it as if it came from the mouse.
  virtual void post(const MouseEvent& event) = 0;
};

}  // namespace vorrik
