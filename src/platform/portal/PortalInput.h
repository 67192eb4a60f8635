// SPDX-License-Identifier: MIT
#pragma once

// Clicks and the permission on a desktop that lets applications click only through its
// portal's remote-desktop session (GNOME, KDE Plasma on Wayland).

#include <QRect>
#include <QSize>
#include <QString>

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>

#include "platform/AccessibilityTrust.h"
#include "platform/ClickPoint.h"
#include "platform/EventInjector.h"
#include "platform/portal/PortalSession.h"

namespace vorrik::portal {

// Posts buttons through the session's EIS connection where it has one: a picked point is then
// reached by absolute motion in the layout, on whichever monitor holds it, and each event goes
// without an answer, in order on the one socket. Else through the portal's D-Bus calls, where a
// picked point is reached by relative motion, since
// absolute motion through the portal needs a screen-cast stream (the user would be asked to
// share the screen): a motion far beyond the bottom-right corner leaves the pointer on the
// corner's pixel, then one motion by the distance from there lands exactly. The top-left
// corner is avoided because GNOME opens its overview there. The second press of a double click
// lands where the first did, without motion in between. Meant for the click worker; each event
// waits for the portal's answer (0.5 ms median, 3.6 ms p99 measured here), which keeps them in
// order: a press must never overtake its motion, nor a release its press.
class PortalInjector final : public EventInjector {
 public:
  explicit PortalInjector(PortalSession& session) : session_(session) {}

  // The screen the pointer moves on, in logical pixels; set on the main thread from the
  // toolkit's screens, read by the worker.
  void setScreen(QRect screen);
  // The size of Xwayland's root in its own pixels where picks come from it, else empty; main
  // thread, read by the worker.
  void setRoot(QSize root);

  // False while the session is not started, or for a point off the screen.
  bool click(MouseButton button, std::optional<ClickPoint> at, int count,
             ClickPacing& pacing) override;

 private:
  // Presses or releases the left or right button, after moving to the event's point for the
  // first press of a click at a picked point.
  void post(const MouseEvent& event);

  PortalSession& session_;
  mutable std::mutex mutex_;
  QRect screen_;  // guarded by mutex_
  QSize root_;    // guarded by mutex_
};

// Trusted while the session is started. Asking (prompt) asks the desktop for the session and
// answers false at once; the answer arrives later through the answer handler. Where the desktop
// remembers the user's consent it restores the session without a dialog; else it opens its
// consent dialog, over the window parentWindow names. A refusal or revocation leaves it
// untrusted, so the next prompt asks again.
class PortalTrust final : public AccessibilityTrust {
 public:
  // parentWindow: the portal's handle of the window the dialog belongs to, or empty; asked at
  // each prompt. desktop: the desktop's name as XDG_CURRENT_DESKTOP gives it.
  PortalTrust(PortalSession& session, std::function<QString()> parentWindow,
              const QString& desktop);

  bool isTrusted(bool prompt) override;
  [[nodiscard]] Refusal refusal() const override { return Refusal::notAllowed; }
  void setRevokedHandler(std::function<void()> handler) override;
  [[nodiscard]] bool remembersConsent() const override { return session_.remembersConsent(); }
  void setAnswerHandler(std::function<void(bool)> handler) override;
  [[nodiscard]] ConsentDialog consentDialog() const override { return dialog_; }

 private:
  PortalSession& session_;
  std::function<QString()> parentWindow_;
  ConsentDialog dialog_;
  std::function<void()> revoked_;       // main thread only
  std::function<void(bool)> answered_;  // main thread only
};

}  // namespace vorrik::portal
