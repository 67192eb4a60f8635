// SPDX-License-Identifier: MIT
#include "Stats.h"

#include <algorithm>
#include <cmath>

namespace vorrik::bench {

double median(std::vector<double> values) {
  if (values.empty()) {
    return 0;
  }
  const std::size_t mid = values.size() / 2;
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(mid), values.end());
  const double upper = values[mid];
  if (values.size() % 2 == 1) {
    return upper;
  }
  const double lower =
      *std::max_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(mid));
  return (lower + upper) / 2;
}

double percentile(std::vector<double> values, double p) {
  if (values.empty()) {
    return 0;
  }
  std::sort(values.begin(), values.end());
  const double rank =
      std::ceil(std::clamp(p, 0.0, 100.0) / 100.0 * static_cast<double>(values.size()));
  const auto index = static_cast<std::size_t>(std::max(rank, 1.0)) - 1;
  return values[std::min(index, values.size() - 1)];
}

PeriodSummary summarisePresses(std::span<const std::chrono::nanoseconds> presses,
                               double nominalMs) {
  PeriodSummary summary;
  summary.presses = presses.size();
  summary.nominalMs = nominalMs;
  if (presses.size() < 2) {
    return summary;
  }

  std::vector<double> periods;
  periods.reserve(presses.size() - 1);
  for (std::size_t i = 1; i < presses.size(); ++i) {
    periods.push_back(
        std::chrono::duration<double, std::milli>(presses[i] - presses[i - 1]).count());
  }
  summary.periods = periods.size();
  summary.medianPeriodMs = median(periods);
  summary.biasMs = summary.medianPeriodMs - nominalMs;

  std::vector<double> deviations;
  deviations.reserve(periods.size());
  for (double period : periods) {
    deviations.push_back(std::abs(period - summary.medianPeriodMs));
  }
  summary.jitterMedianMs = median(deviations);
  summary.jitterP99Ms = percentile(deviations, 99);
  summary.jitterMaxMs = *std::max_element(deviations.begin(), deviations.end());
  return summary;
}

Spread spreadOf(std::span<const std::chrono::nanoseconds> durations) {
  std::vector<double> ms;
  ms.reserve(durations.size());
  for (auto d : durations) {
    ms.push_back(std::chrono::duration<double, std::milli>(d).count());
  }
  return Spread{median(ms), percentile(ms, 99)};
}

Breakdown breakDown(std::span<const std::chrono::nanoseconds> timerLateness,
                    std::span<const std::chrono::nanoseconds> pointerQueries,
                    std::span<const std::chrono::nanoseconds> downPosted,
                    std::span<const std::chrono::nanoseconds> upPosted,
                    std::span<const std::chrono::nanoseconds> presses, double nominalMs) {
  auto gaps = [](std::span<const std::chrono::nanoseconds> from,
                 std::span<const std::chrono::nanoseconds> to) {
    std::vector<std::chrono::nanoseconds> out;
    for (std::size_t i = 0; i < std::min(from.size(), to.size()); ++i) {
      out.push_back(to[i] - from[i]);
    }
    return out;
  };
  Breakdown b;
  b.timerLate = spreadOf(timerLateness);
  b.pointerQuery = spreadOf(pointerQueries);
  b.pressHeld = spreadOf(gaps(downPosted, upPosted));
  b.atPost = summarisePresses(downPosted, nominalMs);
  b.postToReceiver = spreadOf(gaps(downPosted, presses));
  return b;
}

}  // namespace vorrik::bench
