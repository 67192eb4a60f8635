// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "platform/ClickPoint.h"

namespace vorrik {

enum class MouseButton { left, right };
enum class MouseAction { down, up };

// One button event of a click.
struct MouseEvent {
  MouseAction action = MouseAction::down;
  MouseButton button = MouseButton::left;
  // Nothing: wherever the pointer is when the event is posted, whoever moved it last.
  std::optional<ClickPoint> at;
  // The click count receivers use to recognise a double click (1 or 2).
  std::int64_t clickState = 1;
  friend bool operator==(const MouseEvent&, const MouseEvent&) = default;
};

// The time inside a click, kept by whoever asks for it; called on the posting thread.
class ClickPacing {
 public:
  virtual ~ClickPacing() = default;
  // Right before each press is posted. Returns how long the press is to be held when nothing of
  // the tick follows its release, so that an injector whose system can release the button itself
  // after a delay may post both at once and skip hold(); nothing: hold() is always waited out.
  virtual std::optional<std::chrono::microseconds> press() = 0;
  // Right after each press has left, before anything else of the click.
  virtual void sent() = 0;
  // Lasts as long as a press is held, between sent() and its release.
  virtual void hold() = 0;
  // Between the two presses of a double click.
  virtual void gap() = 0;
};

// Every click's shape: `count` presses, each announced by pacing.press(), followed by
// pacing.sent() and released after pacing.hold(), pacing.gap() between them. post(event,
// releaseAfter) posts one event. An injector whose system can release a button by itself
// (releasesItself) gets the hold pacing.press() hands over with the press, as releaseAfter: that
// press's release is the system's to make, and is neither waited for nor posted.
template <typename Post>
void postPresses(MouseButton button, std::optional<ClickPoint> at, int count, ClickPacing& pacing,
                 bool releasesItself, Post&& post) {
  for (int state = 1; state <= count; ++state) {
    if (state > 1) {
      pacing.gap();
    }
    const std::optional<std::chrono::microseconds> handed = pacing.press();
    const std::optional<std::chrono::microseconds> releaseAfter =
        releasesItself ? handed : std::nullopt;
    post(MouseEvent{MouseAction::down, button, at, state}, releaseAfter);
    pacing.sent();
    if (!releaseAfter) {
      pacing.hold();
      post(MouseEvent{MouseAction::up, button, at, state}, std::nullopt);
    }
  }
}

// The same for an injector that posts every event itself: post(event).
template <typename Post>
void postPresses(MouseButton button, std::optional<ClickPoint> at, int count, ClickPacing& pacing,
                 Post&& post) {
  postPresses(
      button, at, count, pacing, false,
      [&post](const MouseEvent& event, std::optional<std::chrono::microseconds>) { post(event); });
}

// Injects mouse clicks at the lowest level of the input stream, so that every application
// receives them as if they came from the mouse.
class EventInjector {
 public:
  virtual ~EventInjector() = default;
  // Posts a whole click, `count` (1 or 2) presses of button with their releases, at a point
  // (nothing: at the pointer), as postPresses() shapes it. False, with nothing posted, when the
  // system cannot click there.
  virtual bool click(MouseButton button, std::optional<ClickPoint> at, int count,
                     ClickPacing& pacing) = 0;
  // Returns once every event of the clicks posted so far has been made, a release left to the
  // system included; at once for an injector that leaves none.
  virtual void settle() {}
};

}  // namespace vorrik
