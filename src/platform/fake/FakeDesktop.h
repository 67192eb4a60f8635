// SPDX-License-Identifier: MIT
#pragma once

// Every port faked: the desktop's services, and beside them the machine's clock services, all on
// one FakeClock. Pauses and timer firings advance it, and recorded events carry its time.

#include <memory>

#include "platform/Desktop.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeDefaultsStore.h"
#include "platform/fake/FakeInjector.h"
#include "platform/fake/FakeInputMonitor.h"
#include "platform/fake/FakeMainQueue.h"
#include "platform/fake/FakeNotificationCenter.h"
#include "platform/fake/FakePointPick.h"
#include "platform/fake/FakePreferredLanguages.h"
#include "platform/fake/FakeRandom.h"
#include "platform/fake/FakeSettingsLink.h"
#include "platform/fake/FakeSleeper.h"
#include "platform/fake/FakeTimer.h"
#include "platform/fake/FakeTrust.h"
#include "platform/fake/FakeWindowSystem.h"

namespace vorrik::fake {

class FakeDesktop final : public Desktop {
 public:
  MainQueue& mainQueue() override { return fakeQueue; }
  AccessibilityTrust& trust() override { return fakeTrust; }
  EventInjector& injector() override { return fakeInjector; }
  PointPick& picker() override { return fakePick; }
  InputMonitor* input() override { return &fakeInput; }
  WindowSystem* windows() override { return &fakeWindows; }
  SettingsLink& settingsLink() override { return fakeLink; }
  DefaultsStore& defaults() override { return fakeDefaults; }
  PreferredLanguages& preferredLanguages() override { return fakeLanguages; }
  NotificationCenter& center() override { return fakeCenter; }

  // A timer on this desktop's clock; the last one made stays reachable through `timer`.
  std::unique_ptr<FakeTimer> makeTimer() {
    auto made = std::make_unique<FakeTimer>(clock);
    timer = made.get();
    return made;
  }

  FakeClock clock;
  FakeMainQueue fakeQueue;
  FakeTrust fakeTrust;
  FakeInjector fakeInjector{clock};
  FakePointPick fakePick;
  FakeInputMonitor fakeInput;
  FakeWindowSystem fakeWindows;
  FakeSettingsLink fakeLink;
  FakeDefaultsStore fakeDefaults;
  FakePreferredLanguages fakeLanguages;
  FakeNotificationCenter fakeCenter;
  FakeSleeper sleeper{clock};
  FakeRandom random;
  FakeTimer* timer = nullptr;  // owned by whoever took it from makeTimer()
};

}  // namespace vorrik::fake
