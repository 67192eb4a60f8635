// SPDX-License-Identifier: MIT
// The engine's hot path in isolation: one tick with the system's own costs taken out (events
// are made but go nowhere, pauses return at once), the jitter draw and a catalogue lookup.

#include <benchmark/benchmark.h>

#include <memory>
#include <optional>

#include "engine/ClickEngine.h"
#include "engine/Targets.h"
#include "l10n/L.h"
#include "platform/fake/FakeDesktop.h"
#include "platform/posix/PosixServices.h"

namespace vorrik {
namespace {

// Holds the armed handler until the benchmark runs it; keeps no history, unlike the test fake.
class ManualTimer final : public OneShotTimer {
 public:
  void arm(std::chrono::nanoseconds /*delay*/, Handler handler) override {
    handler_ = std::move(handler);
  }
  void cancel() override { handler_ = nullptr; }
  void fire() {
    auto due = std::move(handler_);
    handler_ = nullptr;
    if (due) {
      due();
    }
  }

 private:
  Handler handler_;
};

class NullInjector final : public EventInjector {
 public:
  bool click(MouseButton button, std::optional<ClickPoint> at, int count,
             ClickPacing& pacing) override {
    postPresses(button, at, count, pacing, [](const MouseEvent& event) {
      // A copy the optimiser must keep: Google Benchmark 1.9 deprecates the const overload.
      MouseEvent kept = event;
      benchmark::DoNotOptimize(kept);
    });
    return true;
  }
};

class NullSleeper final : public Sleeper {
 public:
  void sleepFor(std::chrono::microseconds /*duration*/) override {}
  [[nodiscard]] std::chrono::nanoseconds now() const override {
    return std::chrono::steady_clock::now().time_since_epoch();
  }
};

struct Rig {
  fake::FakeMainQueue queue;
  fake::FakeTrust trust;
  NullInjector injector;
  NullSleeper sleeper;
  posix::SystemRandom random;
  ManualTimer* timer = nullptr;
  std::unique_ptr<ClickEngine> engine;

  Rig() {
    auto owned = std::make_unique<ManualTimer>();
    timer = owned.get();
    engine = std::make_unique<ClickEngine>(
        ClickEngine::Ports{queue, trust, injector, sleeper, random}, std::move(owned));
    engine->onTick = [](std::int64_t count) { benchmark::DoNotOptimize(count); };
  }
};

// One tick of a running engine: target, click, count, the main-thread task and the re-arm.
void BM_EngineTick(benchmark::State& state) {
  Rig rig;
  rig.engine->jitterMs = state.range(0);
  rig.engine->burst = state.range(1);
  rig.engine->start();
  for (auto _ : state) {
    rig.timer->fire();
    rig.queue.drain();
  }
  rig.engine->stop(std::nullopt);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_EngineTick)->ArgNames({"jitter", "burst"})->Args({0, 0})->Args({12, 0})->Args({0, 10});

void BM_DrawJitter(benchmark::State& state) {
  posix::SystemRandom random;
  for (auto _ : state) {
    benchmark::DoNotOptimize(drawJitter(random, state.range(0)));
  }
}
BENCHMARK(BM_DrawJitter)->Arg(5)->Arg(12)->Arg(6000);

// The text the engine fetches when a run reaches its count.
void BM_LookupDoneText(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(L::t("done", {{"n", "300"}}));
  }
}
BENCHMARK(BM_LookupDoneText);

}  // namespace
}  // namespace vorrik

BENCHMARK_MAIN();
