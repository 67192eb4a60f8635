// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <span>
#include <vector>

namespace vorrik::bench {

// How evenly a series of button presses was spaced, in milliseconds.
struct PeriodSummary {
  std::size_t presses = 0;
  std::size_t periods = 0;
  double nominalMs = 0;
  double medianPeriodMs = 0;
  // Median period minus the nominal period.
  double biasMs = 0;
  // Absolute deviation of each period from the median period.
  double jitterMedianMs = 0;
  double jitterP99Ms = 0;
  double jitterMaxMs = 0;
};

// The median and 99th percentile of a set of durations, in milliseconds.
struct Spread {
  double medianMs = 0;
  double p99Ms = 0;
};

// Where the time between an engine's presses went, from the timestamps of its ports.
struct Breakdown {
  Spread timerLate;     // timer handler start after its deadline
  Spread pointerQuery;  // reading the pointer position before each click
  Spread pressHeld;     // button-down post returned to button-up post returned
  // The periods between button-down posts, as the engine made them, before the X server.
  PeriodSummary atPost;
  // Button-down post returned to the receiver reading the press: the X server and receiver.
  Spread postToReceiver;
};

// The median of values (the mean of the middle two for an even count); 0 for none.
double median(std::vector<double> values);
// The nearest-rank percentile p (0 < p <= 100): the smallest value with at least p% of the
// values at or below it; 0 for none.
double percentile(std::vector<double> values, double p);

// Summarises press timestamps (in order of arrival) against the period they were meant to have.
// Fewer than two presses give a summary with no periods and zero figures.
PeriodSummary summarisePresses(std::span<const std::chrono::nanoseconds> presses, double nominalMs);

Spread spreadOf(std::span<const std::chrono::nanoseconds> durations);

// Splits an engine series into its parts. Presses and down posts are paired in order, and only
// as far as both lists go.
Breakdown breakDown(std::span<const std::chrono::nanoseconds> timerLateness,
                    std::span<const std::chrono::nanoseconds> pointerQueries,
                    std::span<const std::chrono::nanoseconds> downPosted,
                    std::span<const std::chrono::nanoseconds> upPosted,
                    std::span<const std::chrono::nanoseconds> presses, double nominalMs);

}  // namespace vorrik::bench
