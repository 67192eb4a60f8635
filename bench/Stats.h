// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <span>
#include <vector>

namespace vorrik::bench {

// The median and 99th percentile of a set of durations, in milliseconds.
struct Spread {
  double medianMs = 0;
  double p99Ms = 0;
};

// How far a set of durations strays from its own median: the median, 99th percentile and
// maximum of the absolute deviations, in milliseconds.
struct Jitter {
  double p50Ms = 0;
  double p99Ms = 0;
  double maxMs = 0;
};

// One clicker's button events, seen at one place (where they left the program, or at the
// receiver), in milliseconds. Holds run from a press to its release, gaps from a release to the
// next press; a period is one of each.
struct Series {
  std::size_t presses = 0;
  double nominalMs = 0;
  std::vector<double> periods;
  // Each period, hold and gap minus the median of its own kind in this series, so that series
  // with different medians can be pooled.
  std::vector<double> periodDeviations;
  std::vector<double> holdDeviations;
  std::vector<double> gapDeviations;
  double medianPeriodMs = 0;
  double medianHoldMs = 0;
  double medianGapMs = 0;

  [[nodiscard]] double biasMs() const { return medianPeriodMs - nominalMs; }
  [[nodiscard]] Jitter periodJitter() const;
  [[nodiscard]] Jitter holdJitter() const;
  [[nodiscard]] Jitter gapJitter() const;
  // The shortest period, or 0 for none.
  [[nodiscard]] double shortestMs() const;
};

// The median of values (the mean of the middle two for an even count); 0 for none.
double median(std::vector<double> values);
// The nearest-rank percentile p (0 < p <= 100): the smallest value with at least p% of the
// values at or below it; 0 for none.
double percentile(std::vector<double> values, double p);
// The jitter of a set of signed deviations; zeros for none.
Jitter jitterOf(std::span<const double> deviations);

Spread spreadOf(std::span<const std::chrono::nanoseconds> durations);

// Summarises presses and releases (each in order of arrival) against the period they were meant
// to have. Releases pair with presses in order; a release before the first press (a click cut
// in half by the start of recording) is dropped.
Series summarise(std::span<const std::chrono::nanoseconds> presses,
                 std::span<const std::chrono::nanoseconds> releases, double nominalMs);

// Several series of one clicker as one: every period and deviation together, with medians over
// the whole; the nominal period of the first.
Series pool(std::span<const Series* const> series);

}  // namespace vorrik::bench
