// SPDX-License-Identifier: MIT
#include "Report.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace vorrik::bench {

namespace {

// printf-style formatting into a std::string (no <format> in the toolchain we support).
[[gnu::format(printf, 1, 2)]] std::string fmt(const char* format, ...) {
  va_list args;
  va_start(args, format);
  va_list copy;
  va_copy(copy, args);
  const int length = std::vsnprintf(nullptr, 0, format, copy);
  va_end(copy);
  std::string out(static_cast<std::size_t>(std::max(length, 0)), '\0');
  std::vsnprintf(out.data(), out.size() + 1, format, args);
  va_end(args);
  return out;
}

std::string jsonString(const std::string& text) {
  std::string out = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
    }
    if (static_cast<unsigned char>(c) < 0x20) {
      out += fmt("\\u%04x", c);
      continue;
    }
    out += c;
  }
  return out + "\"";
}

std::string jsonNumber(std::optional<double> value, int decimals = 3) {
  if (!value || !std::isfinite(*value)) {
    return "null";
  }
  return fmt("%.*f", decimals, *value);
}

const TimingCase* findCase(const BenchResults& results, bool reference, double nominalMs,
                           bool busyCore) {
  for (const auto& timing : results.cases) {
    if (timing.reference == reference && timing.busyCore == busyCore &&
        std::abs(timing.summary.nominalMs - nominalMs) < 1e-9) {
      return &timing;
    }
  }
  return nullptr;
}

std::string loadName(bool busyCore) {
  return busyCore ? "busy core" : "idle";
}

std::string verdict(const TimingCase& timing, const Targets& targets) {
  if (timing.reference) {
    return "reference";
  }
  const auto missed = shortfalls(timing, targets);
  if (missed.empty()) {
    return "met";
  }
  std::string out = "MISSED:";
  for (const auto& what : missed) {
    out += " " + what;
  }
  return out;
}

std::string metOrMissed(bool met) {
  return met ? "met" : "MISSED";
}

std::string spread(const Spread& s) {
  return fmt("%.3f/%.3f", s.medianMs, s.p99Ms);
}

std::string jsonSpread(const Spread& s) {
  return "{\"median\": " + jsonNumber(s.medianMs) + ", \"p99\": " + jsonNumber(s.p99Ms) + "}";
}

const char* const breakdownFormat = "%7s %-9s %13s %13s %13s %9s %10s %13s\n";

}  // namespace

std::vector<std::string> shortfalls(const TimingCase& timing, const Targets& targets) {
  std::vector<std::string> missed;
  const auto& s = timing.summary;
  if (s.presses < timing.expectedPresses || s.periods == 0) {
    missed.emplace_back("presses");
  }
  if (std::abs(s.biasMs) > targets.maxAbsBiasMs) {
    missed.emplace_back("bias");
  }
  const double maxP99 = timing.busyCore ? targets.maxP99BusyMs : targets.maxP99IdleMs;
  if (s.jitterP99Ms > maxP99) {
    missed.emplace_back("p99");
  }
  return missed;
}

std::optional<double> jitterRatio(const BenchResults& results, double nominalMs, bool busyCore) {
  const TimingCase* ours = findCase(results, false, nominalMs, busyCore);
  const TimingCase* theirs = findCase(results, true, nominalMs, busyCore);
  if (ours == nullptr || theirs == nullptr || ours->summary.periods == 0 ||
      theirs->summary.periods == 0 || ours->summary.jitterP99Ms <= 0) {
    return std::nullopt;
  }
  return theirs->summary.jitterP99Ms / ours->summary.jitterP99Ms;
}

std::string formatTable(const BenchResults& results, const Targets& targets) {
  std::string out =
      fmt("Press-to-press periods on a private X server (%s), in ms\n", results.display.c_str());
  const char* rowFormat = "%-8s %7s %-9s %7s %9s %8s %7s %6s %6s %6s %8s  %s\n";
  out += fmt(rowFormat, "clicker", "setting", "load", "nominal", "presses", "median", "bias",
             "jit50", "jit99", "jitmax", "cpu/1k", "target");
  for (const auto& t : results.cases) {
    const auto& s = t.summary;
    out += fmt(
        rowFormat, t.clicker.c_str(), fmt("%lld", static_cast<long long>(t.settingMs)).c_str(),
        loadName(t.busyCore).c_str(), fmt("%.0f", s.nominalMs).c_str(),
        fmt("%zu/%zu", s.presses, t.expectedPresses).c_str(), fmt("%.3f", s.medianPeriodMs).c_str(),
        fmt("%+.3f", s.biasMs).c_str(), fmt("%.3f", s.jitterMedianMs).c_str(),
        fmt("%.3f", s.jitterP99Ms).c_str(), fmt("%.3f", s.jitterMaxMs).c_str(),
        t.cpuMsPer1000 ? fmt("%.1f", *t.cpuMsPer1000).c_str() : "n/a", verdict(t, targets).c_str());
  }
  out +=
      fmt("targets: |bias| <= %.1f; jit99 <= %.1f idle, <= %.1f with a busy core; "
          "reference jit99 / Vorrik jit99 >= %.0f\n",
          targets.maxAbsBiasMs, targets.maxP99IdleMs, targets.maxP99BusyMs, targets.minRatio);

  for (const auto& t : results.cases) {
    if (!t.reference) {
      continue;
    }
    const auto ratio = jitterRatio(results, t.summary.nominalMs, t.busyCore);
    out += fmt("p99 jitter ratio at %.0f ms, %s: %s (%s)\n", t.summary.nominalMs,
               loadName(t.busyCore).c_str(), ratio ? fmt("%.2f", *ratio).c_str() : "n/a",
               metOrMissed(ratio && *ratio >= targets.minRatio).c_str());
  }
  bool header = false;
  for (const auto& t : results.cases) {
    if (!t.breakdown) {
      continue;
    }
    if (!header) {
      out += "\nWhere the engine's time goes (median / p99, ms):\n";
      out += fmt(breakdownFormat, "setting", "load", "timer late", "pointer", "press held",
                 "bias@post", "jit99@post", "post->recv");
      header = true;
    }
    const Breakdown& b = *t.breakdown;
    out += fmt(breakdownFormat, fmt("%lld", static_cast<long long>(t.settingMs)).c_str(),
               loadName(t.busyCore).c_str(), spread(b.timerLate).c_str(),
               spread(b.pointerQuery).c_str(), spread(b.pressHeld).c_str(),
               fmt("%+.3f", b.atPost.biasMs).c_str(), fmt("%.3f", b.atPost.jitterP99Ms).c_str(),
               spread(b.postToReceiver).c_str());
  }
  if (header) {
    out += "\n";
  }
  if (results.wakeFloor) {
    const WakeFloor& f = *results.wakeFloor;
    out +=
        fmt("machine floor: a %s thread wakes %.3f / %.3f / %.3f ms late (median / p99 / max, "
            "%zu sleeps)\n",
            f.realtime ? "SCHED_FIFO" : "normal-priority", f.late.medianMs, f.late.p99Ms,
            f.maxLateMs, f.wakeups);
  }
  if (results.rssKiB) {
    out += fmt("resident memory: %.1f MiB (peak %.1f MiB), receiver and X connections included\n",
               static_cast<double>(*results.rssKiB) / 1024.0,
               static_cast<double>(results.peakRssKiB.value_or(*results.rssKiB)) / 1024.0);
  }
  if (results.idleWakeups) {
    out += fmt("worker wake-ups in %.1f s idle after a stop: %llu (%s)\n", results.idleSeconds,
               static_cast<unsigned long long>(*results.idleWakeups),
               metOrMissed(*results.idleWakeups <= targets.maxIdleWakeups).c_str());
  }
  return out;
}

std::string formatJson(const BenchResults& results, const Targets& targets) {
  std::string out = "{\n  \"display\": " + jsonString(results.display) +
                    ",\n  \"measuringPath\": " + jsonString(results.measuringPath) +
                    ",\n  \"variants\": [";
  for (std::size_t i = 0; i < results.variants.size(); ++i) {
    out += (i == 0 ? "" : ", ") + jsonString(results.variants[i]);
  }
  out += "],\n  \"cases\": [";
  const char* separator = "\n";
  for (const auto& t : results.cases) {
    const auto& s = t.summary;
    const auto missed = shortfalls(t, targets);
    out += separator;
    separator = ",\n";
    out += "    {\"clicker\": " + jsonString(t.clicker) +
           fmt(", \"reference\": %s, \"settingMs\": %lld, \"load\": %s, \"nominalMs\": %.3f, "
               "\"presses\": %zu, \"expectedPresses\": %zu, \"periods\": %zu, ",
               t.reference ? "true" : "false", static_cast<long long>(t.settingMs),
               jsonString(t.busyCore ? "busy_core" : "idle").c_str(), s.nominalMs, s.presses,
               t.expectedPresses, s.periods) +
           "\"medianPeriodMs\": " + jsonNumber(s.medianPeriodMs) +
           ", \"biasMs\": " + jsonNumber(s.biasMs) + R"(, "jitterMs": {"median": )" +
           jsonNumber(s.jitterMedianMs) + ", \"p99\": " + jsonNumber(s.jitterP99Ms) +
           ", \"max\": " + jsonNumber(s.jitterMaxMs) + "}" +
           ", \"cpuMsPer1000Clicks\": " + jsonNumber(t.cpuMsPer1000, 1);
    if (!t.reference) {
      out += fmt(", \"meetsTargets\": %s", missed.empty() ? "true" : "false");
    }
    if (t.breakdown) {
      const Breakdown& b = *t.breakdown;
      out += R"(, "breakdown": {"timerLateMs": )" + jsonSpread(b.timerLate) +
             ", \"pointerQueryMs\": " + jsonSpread(b.pointerQuery) +
             ", \"pressHeldMs\": " + jsonSpread(b.pressHeld) +
             ", \"biasAtPostMs\": " + jsonNumber(b.atPost.biasMs) +
             ", \"jitterP99AtPostMs\": " + jsonNumber(b.atPost.jitterP99Ms) +
             ", \"postToReceiverMs\": " + jsonSpread(b.postToReceiver) + "}";
    }
    out += "}";
  }
  out += "\n  ],\n  \"jitterRatios\": [";
  separator = "\n";
  for (const auto& t : results.cases) {
    if (!t.reference) {
      continue;
    }
    out += separator;
    separator = ",\n";
    out += fmt(R"(    {"nominalMs": %.3f, "load": )", t.summary.nominalMs) +
           jsonString(t.busyCore ? "busy_core" : "idle") +
           ", \"ratio\": " + jsonNumber(jitterRatio(results, t.summary.nominalMs, t.busyCore), 2) +
           "}";
  }
  out += "\n  ],\n";
  auto optionalInt = [](const auto& value) {
    return value ? std::to_string(*value) : std::string("null");
  };
  if (results.wakeFloor) {
    const WakeFloor& f = *results.wakeFloor;
    out += fmt(R"(  "wakeFloor": {"realtime": %s, "wakeups": %zu, "lateMs": )",
               f.realtime ? "true" : "false", f.wakeups) +
           jsonSpread(f.late) + ", \"maxLateMs\": " + jsonNumber(f.maxLateMs) + "},\n";
  }
  out += "  \"rssKiB\": " + optionalInt(results.rssKiB) + ",\n";
  out += "  \"peakRssKiB\": " + optionalInt(results.peakRssKiB) + ",\n";
  out += "  \"idleSeconds\": " + jsonNumber(results.idleSeconds, 1) + ",\n";
  out += "  \"idleWakeups\": " + optionalInt(results.idleWakeups) + ",\n";
  out +=
      fmt("  \"targets\": {\"maxAbsBiasMs\": %.3f, \"maxP99IdleMs\": %.3f, "
          "\"maxP99BusyMs\": %.3f, \"minRatio\": %.3f, \"maxIdleWakeups\": %llu}\n",
          targets.maxAbsBiasMs, targets.maxP99IdleMs, targets.maxP99BusyMs, targets.minRatio,
          static_cast<unsigned long long>(targets.maxIdleWakeups));
  return out + "}\n";
}

std::string formatRatioLine(const BenchResults& results, double nominalMs) {
  const auto ratio = jitterRatio(results, nominalMs, false);
  return "p99 jitter ratio (reference / Vorrik): " + (ratio ? fmt("%.2f", *ratio) : "n/a");
}

}  // namespace vorrik::bench
