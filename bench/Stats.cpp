// SPDX-License-Identifier: MIT
#include "Stats.h"

#include <algorithm>
#include <cmath>

namespace vorrik::bench {

namespace {

double ms(std::chrono::nanoseconds d) {
  return std::chrono::duration<double, std::milli>(d).count();
}

std::vector<double> deviationsFrom(const std::vector<double>& values, double centre) {
  std::vector<double> out;
  out.reserve(values.size());
  for (double v : values) {
    out.push_back(v - centre);
  }
  return out;
}

void append(std::vector<double>& to, const std::vector<double>& from) {
  to.insert(to.end(), from.begin(), from.end());
}

}  // namespace

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

Jitter jitterOf(std::span<const double> deviations) {
  if (deviations.empty()) {
    return {};
  }
  std::vector<double> absolute;
  absolute.reserve(deviations.size());
  for (double d : deviations) {
    absolute.push_back(std::abs(d));
  }
  const double max = *std::max_element(absolute.begin(), absolute.end());
  return Jitter{median(absolute), percentile(absolute, 99), max};
}

Jitter Series::periodJitter() const {
  return jitterOf(periodDeviations);
}
Jitter Series::holdJitter() const {
  return jitterOf(holdDeviations);
}
Jitter Series::gapJitter() const {
  return jitterOf(gapDeviations);
}

double Series::shortestMs() const {
  return periods.empty() ? 0 : *std::min_element(periods.begin(), periods.end());
}

Spread spreadOf(std::span<const std::chrono::nanoseconds> durations) {
  std::vector<double> values;
  values.reserve(durations.size());
  for (auto d : durations) {
    values.push_back(ms(d));
  }
  return Spread{median(values), percentile(values, 99)};
}

Series summarise(std::span<const std::chrono::nanoseconds> presses,
                 std::span<const std::chrono::nanoseconds> releases, double nominalMs) {
  Series s;
  s.presses = presses.size();
  s.nominalMs = nominalMs;
  if (presses.empty()) {
    return s;
  }
  while (!releases.empty() && releases.front() < presses.front()) {
    releases = releases.subspan(1);
  }
  std::vector<double> holds;
  std::vector<double> gaps;
  for (std::size_t i = 0; i < presses.size(); ++i) {
    if (i + 1 < presses.size()) {
      s.periods.push_back(ms(presses[i + 1] - presses[i]));
    }
    if (i < releases.size()) {
      holds.push_back(ms(releases[i] - presses[i]));
      if (i + 1 < presses.size()) {
        gaps.push_back(ms(presses[i + 1] - releases[i]));
      }
    }
  }
  s.medianPeriodMs = median(s.periods);
  s.medianHoldMs = median(holds);
  s.medianGapMs = median(gaps);
  s.periodDeviations = deviationsFrom(s.periods, s.medianPeriodMs);
  s.holdDeviations = deviationsFrom(holds, s.medianHoldMs);
  s.gapDeviations = deviationsFrom(gaps, s.medianGapMs);
  return s;
}

Series pool(std::span<const Series* const> series) {
  Series out;
  if (series.empty()) {
    return out;
  }
  out.nominalMs = series.front()->nominalMs;
  std::vector<double> holds;
  std::vector<double> gaps;
  for (const Series* s : series) {
    out.presses += s->presses;
    append(out.periods, s->periods);
    append(out.periodDeviations, s->periodDeviations);
    append(out.holdDeviations, s->holdDeviations);
    append(out.gapDeviations, s->gapDeviations);
    for (double d : s->holdDeviations) {
      holds.push_back(s->medianHoldMs + d);
    }
    for (double d : s->gapDeviations) {
      gaps.push_back(s->medianGapMs + d);
    }
  }
  out.medianPeriodMs = median(out.periods);
  out.medianHoldMs = median(holds);
  out.medianGapMs = median(gaps);
  return out;
}

}  // namespace vorrik::bench
