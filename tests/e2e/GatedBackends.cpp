// SPDX-License-Identifier: MIT
// The backend table of `vorrik-gated`, a test build of Vorrik: the real X11 backend, except that
// the first press of the session is held down until the test says so. With VORRIK_TEST_GATE
// naming a directory, that press creates DIR/pressed and then waits for a line on the FIFO
// DIR/go; this lets a test end Vorrik at a moment inside a press, every time.
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <optional>
#include <string>

#include "platform/Backend.h"
#include "platform/x11/X11Desktop.h"

namespace vorrik {
namespace {

class GatedInjector final : public EventInjector {
 public:
  GatedInjector(EventInjector& real, std::string gate) : real_(real), gate_(std::move(gate)) {}

  bool click(MouseButton button, std::optional<ClickPoint> at, int count,
             ClickPacing& pacing) override {
    // The first press of the session waits, held, before its own hold begins.
    struct Gated final : ClickPacing {
      GatedInjector& owner;
      ClickPacing& inner;
      Gated(GatedInjector& o, ClickPacing& i) : owner(o), inner(i) {}
      // Every press waits out its hold here, where the gate can keep it down.
      std::optional<std::chrono::microseconds> press() override {
        inner.press();
        return std::nullopt;
      }
      void sent() override { inner.sent(); }
      void hold() override {
        owner.wait();
        inner.hold();
      }
      void gap() override { inner.gap(); }
    } gated(*this, pacing);
    return real_.click(button, at, count, gated);
  }
  void settle() override { real_.settle(); }

 private:
  void wait() {
    if (held_) {
      return;
    }
    held_ = true;
    close(open((gate_ + "/pressed").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    const int go = open((gate_ + "/go").c_str(), O_RDONLY | O_CLOEXEC);
    std::array<char, 16> line{};
    while (go >= 0 && read(go, line.data(), line.size()) < 0) {
    }
    close(go);
  }

  EventInjector& real_;
  std::string gate_;
  bool held_ = false;  // the worker's alone
};

class GatedDesktop final : public Desktop {
 public:
  GatedDesktop(std::unique_ptr<Desktop> real, const char* gate)
      : real_(std::move(real)), injector_(real_->injector(), gate) {}

  MainQueue& mainQueue() override { return real_->mainQueue(); }
  AccessibilityTrust& trust() override { return real_->trust(); }
  EventInjector& injector() override { return injector_; }
  PointPick& picker() override { return real_->picker(); }
  InputMonitor* input() override { return real_->input(); }
  WindowSystem* windows() override { return real_->windows(); }
  SettingsLink& settingsLink() override { return real_->settingsLink(); }
  DefaultsStore& defaults() override { return real_->defaults(); }
  PreferredLanguages& preferredLanguages() override { return real_->preferredLanguages(); }
  NotificationCenter& center() override { return real_->center(); }

 private:
  std::unique_ptr<Desktop> real_;
  GatedInjector injector_;
};

std::unique_ptr<Desktop> openGated(const Session& session) {
  std::unique_ptr<Desktop> real = x11::openDesktop(session);
  const char* gate = std::getenv("VORRIK_TEST_GATE");
  if (gate == nullptr || *gate == '\0') {
    return real;
  }
  return std::make_unique<GatedDesktop>(std::move(real), gate);
}

}  // namespace

std::span<const Backend> availableBackends() {
  static const std::array kBackends{Backend{
      "x11", [](const Session&) -> std::string_view { return "xcb"; }, &x11::unfit, &openGated}};
  return kBackends;
}

}  // namespace vorrik
