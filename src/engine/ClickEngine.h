// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "engine/ClickType.h"
#include "engine/PointList.h"
#include "platform/AccessibilityTrust.h"
#include "platform/ClickPoint.h"
#include "platform/EventInjector.h"
#include "platform/MainQueue.h"
#include "platform/OneShotTimer.h"
#include "platform/RandomSource.h"
#include "platform/Sleeper.h"

namespace vorrik {

// Performs runs of automatic clicks: one click or a burst per tick, one tick per delay.
//
// start(), stop() and every write of the settings happen on the main thread; ticks run on the
// timer's worker thread and report back only through tasks on the main queue.
class ClickEngine {
 public:
  // The services the engine uses; each must outlive the engine.
  struct Ports {
    MainQueue& mainQueue;
    AccessibilityTrust& trust;
    EventInjector& injector;
    Sleeper& sleeper;
    RandomSource& random;
  };

  // Pauses that make up a click, fixed by design.
  static constexpr std::chrono::microseconds kDownToUp{8000};
  static constexpr std::chrono::microseconds kDoubleGap{40000};
  static constexpr std::chrono::microseconds kBurstGap{15000};
  static constexpr std::int64_t kIntervalFloorMs = 50;
  static constexpr std::int64_t kMinDelayMs = 20;
  // Count reports come at most about this often: a faster count is no easier to read, and each
  // report wakes the main thread.
  static constexpr std::chrono::milliseconds kReportSpacing{200};

  ClickEngine(Ports ports, std::unique_ptr<OneShotTimer> timer);
  // Stops the worker: a tick in progress finishes first, none follows.
  ~ClickEngine();
  ClickEngine(const ClickEngine&) = delete;
  ClickEngine& operator=(const ClickEngine&) = delete;

  // Settings, in milliseconds and clicks; the worker reads them, the owner writes them.
  std::atomic<std::int64_t> intervalMs{120};
  std::atomic<ClickType> clickType{ClickType::left};
  std::atomic<std::int64_t> jitterMs{0};
  std::atomic<std::int64_t> burst{0};
  PointList points;
  std::atomic<std::int64_t> maxClicks{0};

  bool running() const { return running_.load(); }
  // Clicks of the current run, or of the last one after it ended.
  std::int64_t sessionClicks() const { return sessionClicks_.load(); }
  std::int64_t pointIndex() const { return pointIndex_.load(); }

  // Told the latest click count on the main thread after clicks, about every kReportSpacing or
  // after every click when clicks are further apart; at most one report is queued at a time, so
  // clicks made meanwhile share it. The run's last count is told before its onStop.
  std::function<void(std::int64_t)> onTick;
  // Told that a run ended or could not begin, with its reason text, on the main thread.
  std::function<void(const std::optional<std::string>&)> onStop;

  // Begins a run unless one is in progress; without trust, reports the refusal's status line
  // (ax_needed, wl_needed or rd_needed) through onStop. Where the system remembers the user's
  // consent, the run begins at once but clicks only once the system has granted it again, and
  // ends with that line if the system refuses instead.
  void start();
  // Ends the run in progress and reports reason through onStop; does nothing when idle.
  void stop(std::optional<std::string> reason);
  // Ends any run without a report and waits until a tick in progress has finished with its
  // release; the engine clicks no more. For exits that cannot wait for the destructor.
  void halt();
  // Waits until the click in progress has released its button, or handed the release to the
  // system, which makes it on its own; no click begins until the returned lock is dropped.
  [[nodiscard]] std::unique_lock<std::mutex> holdClicks();

 private:
  // Marks a run as begun and returns its generation.
  std::uint64_t begin();
  // The trust's answer to a prompt, on the main thread.
  void answered(bool trusted);
  // The next delay: the interval (at least 50 ms) plus a jitter draw, at least 20 ms.
  std::int64_t nextDelayMs();
  // Arms the next tick: a delay after tickLength from now. Returns how far off it was armed,
  // or nothing when the run is over.
  std::optional<std::chrono::nanoseconds> schedule(std::uint64_t generation,
                                                   std::chrono::microseconds tickLength);
  // Arms the timer for the run's next tick, delay from now, unless the run is over.
  bool armTimer(std::uint64_t generation, std::chrono::nanoseconds delay);
  void tick(std::uint64_t generation);
  // Makes count clicks; spacing is how far apart they come, for the count reports, and tellLast
  // reports the last of them whatever the spacing.
  void fire(std::uint64_t generation, std::int64_t count, std::chrono::microseconds spacing,
            bool tellLast);
  // The next point of the list; nothing (the list is empty) means at the pointer.
  std::optional<ClickPoint> nextPoint();
  // Posts one click, the tick's last when lastOfTick; false when the injector could not click
  // there.
  bool post(std::optional<ClickPoint> at, bool lastOfTick);
  void armFromPress();
  // The tick's first press has been sent: a send slower than the recent ones postpones the
  // next tick by the difference.
  void pressSent();
  void postTask(std::function<void(ClickEngine&)> task);
  // Queues a count report when enough clicks have gone unreported to fill kReportSpacing at
  // this spacing between clicks, or now.
  void reportCount(std::chrono::microseconds spacing, bool now);
  // Tells the owner the count unless it has already been told it; main thread.
  void showCount();

  Ports ports_;
  // Held while the timer is armed or cancelled and the generation moves, so that a late tick
  // never arms the timer for a run that has ended or a timer that is being destroyed.
  std::mutex timerMutex_;
  std::unique_ptr<OneShotTimer> timer_;
  std::atomic<bool> running_{false};
  std::atomic<std::int64_t> sessionClicks_{0};
  std::atomic<std::int64_t> pointIndex_{0};
  // Bumped by every start and stop, so a tick of an earlier run never re-arms the timer.
  std::atomic<std::uint64_t> generation_{0};
  // The run waiting for the trust's grant before its first tick; main thread only.
  std::optional<std::uint64_t> awaiting_;
  // Held by the worker from a click's press to its release.
  std::mutex clickMutex_;
  // The next tick's arming, held by a tick until its first press is posted; worker only.
  struct PendingArm {
    std::uint64_t generation;
    std::chrono::microseconds tickLength;
  };
  std::optional<PendingArm> pendingArm_;
  // The tick's first send: when it began, and the deadline it armed; worker only.
  struct Send {
    std::uint64_t generation;
    std::chrono::nanoseconds began;
    std::chrono::nanoseconds deadline;
  };
  std::optional<Send> send_;
  // How long the last first presses took to send, oldest overwritten first; worker only.
  static constexpr std::size_t kSendsKept = 16;
  std::array<std::chrono::nanoseconds, kSendsKept> sends_{};
  std::size_t sendCount_ = 0;
  // Set while a count report is queued on the main thread and has not yet read the count.
  std::atomic<bool> countQueued_{false};
  // Clicks since the last queued report; a run starts high, so its first click is reported.
  std::atomic<std::int64_t> unreported_{0};
  // The count the owner was last told; main thread only.
  std::int64_t shown_ = 0;
  // Main-thread tasks hold this weakly and do nothing once the engine is gone.
  std::shared_ptr<ClickEngine*> self_;
};

}  // namespace vorrik
