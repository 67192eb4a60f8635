// SPDX-License-Identifier: MIT
#include "engine/ClickEngine.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "engine/Targets.h"
#include "l10n/L.h"

namespace vorrik {
namespace {

// About 285 years: far beyond any real setting, and small enough that neither adding a jitter
// draw nor converting to nanoseconds can overflow.
constexpr std::int64_t kMaxDelayMs = 9'000'000'000'000;

}  // namespace

ClickEngine::ClickEngine(Ports ports, std::unique_ptr<OneShotTimer> timer)
    : ports_(ports), timer_(std::move(timer)), self_(std::make_shared<ClickEngine*>(this)) {
  // A desktop that takes its permission back ends the run as if it had never been given, with
  // the same line. The handler holds the engine weakly, so it does nothing once the engine is
  // gone.
  ports_.trust.setRevokedHandler([weak = std::weak_ptr<ClickEngine*>(self_)] {
    if (const auto self = weak.lock()) {
      (*self)->stop(L::t(L::refusalKeys((*self)->ports_.trust.refusal()).line));
    }
  });
  ports_.trust.setAnswerHandler([weak = std::weak_ptr<ClickEngine*>(self_)](bool trusted) {
    if (const auto self = weak.lock()) {
      (*self)->answered(trusted);
    }
  });
}

ClickEngine::~ClickEngine() {
  {
    std::lock_guard lock(timerMutex_);
    ++generation_;
    running_.store(false);
    if (timer_) {
      timer_->cancel();
    }
  }
  // Destroying the timer waits for a tick in progress; that tick sees the new generation and
  // arms nothing. Its main-thread tasks find the engine gone and do nothing.
  timer_.reset();
}

void ClickEngine::start() {
  if (running_.load()) {
    return;
  }
  if (!ports_.trust.isTrusted(false)) {
    if (!ports_.trust.remembersConsent()) {
      // Only the prompt matters here; its answer is not needed.
      ports_.trust.isTrusted(true);
      if (onStop) {
        onStop(L::t(L::refusalKeys(ports_.trust.refusal()).line));
      }
      return;
    }
    // The system grants the remembered consent without the user, a moment later: the run is
    // on, and its first tick waits for that grant. Marked before the prompt, which may answer
    // before it returns.
    awaiting_ = begin();
    ports_.trust.isTrusted(true);
    return;
  }
  schedule(begin(), std::chrono::microseconds::zero());
}

std::uint64_t ClickEngine::begin() {
  std::uint64_t generation = 0;
  {
    std::lock_guard lock(timerMutex_);
    generation = ++generation_;
    running_.store(true);
  }
  sessionClicks_.store(0);
  pointIndex_.store(0);
  unreported_.store(std::numeric_limits<std::int64_t>::max() / 2);
  shown_ = 0;
  return generation;
}

void ClickEngine::answered(bool trusted) {
  // An answer for a run that has since been stopped, or for no run, starts nothing.
  const auto awaited = std::exchange(awaiting_, std::nullopt);
  if (!awaited || !running_.load() || generation_.load() != *awaited) {
    return;
  }
  if (trusted) {
    schedule(*awaited, std::chrono::microseconds::zero());
  } else {
    stop(L::t(L::refusalKeys(ports_.trust.refusal()).line));
  }
}

// The published signature takes the reason by value.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
void ClickEngine::stop(std::optional<std::string> reason) {
  if (!running_.load()) {
    return;
  }
  {
    std::lock_guard lock(timerMutex_);
    running_.store(false);
    ++generation_;
    if (timer_) {
      timer_->cancel();
    }
  }
  showCount();
  if (onStop) {
    onStop(reason);
  }
}

void ClickEngine::halt() {
  std::unique_ptr<OneShotTimer> timer;
  {
    std::lock_guard lock(timerMutex_);
    ++generation_;
    running_.store(false);
    // A tick that finishes meanwhile finds no timer to arm.
    timer = std::move(timer_);
    if (timer) {
      timer->cancel();
    }
  }
  // Waits for the tick in progress, as the destructor does, then for a release it left to the
  // system: the process may end before any connection closes.
  timer.reset();
  ports_.injector.settle();
}

std::unique_lock<std::mutex> ClickEngine::holdClicks() {
  return std::unique_lock(clickMutex_);
}

std::int64_t ClickEngine::nextDelayMs() {
  const std::int64_t base = std::clamp(intervalMs.load(), kIntervalFloorMs, kMaxDelayMs);
  const std::int64_t jitter = jitterMs.load();
  const std::int64_t offset = jitter >= 1 ? drawJitter(ports_.random, jitter) : 0;
  return std::max(base + offset, kMinDelayMs);
}

std::optional<std::chrono::nanoseconds> ClickEngine::schedule(
    std::uint64_t generation, std::chrono::microseconds tickLength) {
  const std::chrono::nanoseconds delay = std::chrono::milliseconds(nextDelayMs()) + tickLength;
  return armTimer(generation, delay) ? std::optional(delay) : std::nullopt;
}

bool ClickEngine::armTimer(std::uint64_t generation, std::chrono::nanoseconds delay) {
  std::lock_guard lock(timerMutex_);
  if (generation != generation_.load() || !timer_) {
    return false;
  }
  // The engine's destructor cancels the timer and waits for a running handler, so a plain
  // pointer is safe here; two words fit in the handler itself, with no allocation per tick.
  timer_->arm(delay, [self = this, generation] { self->tick(generation); });
  return true;
}

void ClickEngine::tick(std::uint64_t generation) {
  if (!running_.load() || generation != generation_.load()) {
    return;
  }
  const std::int64_t requested = burst.load();
  const std::int64_t count = requested >= 2 ? requested : 1;
  const std::chrono::microseconds click =
      clickType.load() == ClickType::double_ ? 2 * kDownToUp + kDoubleGap : kDownToUp;
  // Past a day the length only needs to stay far from overflowing.
  const std::int64_t counted = std::min<std::int64_t>(count, 1'000'000);
  pendingArm_ = PendingArm{
      generation, counted * (click + (count >= 2 ? kBurstGap : std::chrono::microseconds{}))};
  const std::chrono::milliseconds interval{
      std::clamp(intervalMs.load(), kIntervalFloorMs, kMaxDelayMs)};
  // A tick's last count waits for no later click when the next tick is far off.
  fire(generation, count, count >= 2 ? click + kBurstGap : click + interval,
       interval >= kReportSpacing);
  // No press went out (no target, or the run is over): the delay counts from now.
  if (pendingArm_) {
    pendingArm_.reset();
    schedule(generation, std::chrono::microseconds::zero());
  }
}

void ClickEngine::armFromPress() {
  // The first press of the tick is about to leave: the next tick is armed with the delay counted
  // from when this tick is meant to end, measured from that press, so a late pause inside the
  // tick does not lengthen the period. Armed before the press rather than after it: on a busy
  // machine the compositor that receives the press may run first, and the clicker only returns
  // once it has handled it; pressSent() then adds only what this send took beyond the usual.
  if (const auto arm = std::exchange(pendingArm_, std::nullopt)) {
    const std::chrono::nanoseconds began = ports_.sleeper.now();
    if (const auto delay = schedule(arm->generation, arm->tickLength)) {
      send_ = Send{arm->generation, began, began + *delay};
    }
  }
}

void ClickEngine::pressSent() {
  const auto send = std::exchange(send_, std::nullopt);
  if (!send) {
    return;
  }
  // Where the press is seen leaving, and often where the receiver sees it, is when its send
  // returns; that time varies with what the system does meanwhile (waking the server on another
  // core, a compositor that handles the press before the send returns). A send slower than the
  // fastest recent one moves the next tick later by the difference, so that no period is
  // shorter than asked wherever it is measured; the usual send time itself is not added.
  const std::chrono::nanoseconds now = ports_.sleeper.now();
  const std::chrono::nanoseconds took = now - send->began;
  sends_[sendCount_++ % kSendsKept] = took;
  const auto kept = sends_.begin() + static_cast<std::ptrdiff_t>(std::min(sendCount_, kSendsKept));
  const std::chrono::nanoseconds usual = *std::min_element(sends_.begin(), kept);
  if (took > usual) {
    armTimer(send->generation, send->deadline + (took - usual) - now);
  }
}

void ClickEngine::fire(std::uint64_t generation, std::int64_t count,
                       std::chrono::microseconds spacing, bool tellLast) {
  for (std::int64_t i = 0; i < count; ++i) {
    const std::int64_t limit = maxClicks.load();
    if (limit >= 1 && sessionClicks_.load() >= limit) {
      // A stop-after task of a run that has meanwhile ended, or been followed by a new one,
      // must not end the new run.
      postTask([generation](ClickEngine& engine) {
        if (!engine.running_.load() || engine.generation_.load() != generation) {
          return;
        }
        engine.stop(L::t("done", {{"n", std::to_string(engine.sessionClicks_.load())}}));
      });
      return;
    }
    // Only clicks that were made count; one the injector cannot make ends the run with a reason,
    // never a count of clicks that did not happen.
    if (!post(nextPoint(), i + 1 == count)) {
      postTask([generation](ClickEngine& engine) {
        if (engine.running_.load() && engine.generation_.load() == generation) {
          engine.stop(L::t("cannot_click"));
        }
      });
      return;
    }
    sessionClicks_.fetch_add(1);
    reportCount(spacing, tellLast && i + 1 == count);
    if (count >= 2) {
      ports_.sleeper.sleepFor(kBurstGap);
    }
  }
}

std::optional<ClickPoint> ClickEngine::nextPoint() {
  const PointList::Snapshot snapshot = points.snapshot();
  if (snapshot->empty()) {
    // The injector posts at the pointer itself, so a move by any program counts.
    return std::nullopt;
  }
  const auto size = static_cast<std::int64_t>(snapshot->size());
  const std::int64_t i = pointIndex_.fetch_add(1) % size;
  return (*snapshot)[static_cast<std::size_t>(i)];
}

bool ClickEngine::post(std::optional<ClickPoint> at, bool lastOfTick) {
  const ClickType type = clickType.load();
  const MouseButton button = type == ClickType::right ? MouseButton::right : MouseButton::left;
  const int presses = type == ClickType::double_ ? 2 : 1;
  // The first press arms the next tick; the pauses are the sleeper's. Only the tick's last
  // release may be left to the system: whatever follows it within the tick is timed from it.
  struct Pacing final : ClickPacing {
    ClickEngine& engine;
    int left;
    Pacing(ClickEngine& owner, int presses, bool last) : engine(owner), left(last ? presses : 0) {}
    std::optional<std::chrono::microseconds> press() override {
      engine.armFromPress();
      return --left == 0 ? std::optional(kDownToUp) : std::nullopt;
    }
    void sent() override { engine.pressSent(); }
    void hold() override { engine.ports_.sleeper.sleepFor(kDownToUp); }
    void gap() override { engine.ports_.sleeper.sleepFor(kDoubleGap); }
  } pacing(*this, presses, lastOfTick);
  const std::lock_guard click(clickMutex_);
  return ports_.injector.click(button, at, presses, pacing);
}

void ClickEngine::reportCount(std::chrono::microseconds spacing, bool now) {
  const std::int64_t every = (kReportSpacing + spacing - std::chrono::microseconds(1)) / spacing;
  if (unreported_.fetch_add(1) + 1 < every && !now) {
    return;
  }
  unreported_.store(0);
  // The queued report reads the count when it runs, so it carries every click made until then.
  if (countQueued_.exchange(true)) {
    return;
  }
  postTask([](ClickEngine& engine) {
    engine.countQueued_.store(false);
    engine.showCount();
  });
}

void ClickEngine::showCount() {
  const std::int64_t count = sessionClicks_.load();
  if (count == shown_) {
    return;
  }
  shown_ = count;
  if (onTick) {
    onTick(count);
  }
}

void ClickEngine::postTask(std::function<void(ClickEngine&)> task) {
  ports_.mainQueue.post([weak = std::weak_ptr<ClickEngine*>(self_), task = std::move(task)] {
    if (const auto self = weak.lock()) {
      task(**self);
    }
  });
}

}  // namespace vorrik
