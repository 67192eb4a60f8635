// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Floor.h"
#include "Stats.h"

namespace vorrik::bench {

// One clicker's share of a paired round.
struct ClickerRun {
  Series source;    // when each event left the program (its flush returned)
  Series receiver;  // when the receiving client read it
  std::optional<double> cpuUsPerClick;
  // From each press leaving the program to the receiver reading it, in ms; empty when the two
  // places saw different numbers of presses.
  std::vector<double> deliveryMs;
  // Per press, where delivery is known: whether the receiver read it on the CPU it left the
  // clicker from.
  std::vector<bool> sameCpu;
  // Microseconds per click that tasks spent runnable but waiting for a CPU, by task ("X server",
  // "receiver", and the clicker's own "main" and "worker" where it reports them, with their time
  // on a CPU as "main ran" and "worker ran").
  std::map<std::string, double> waitUsPerClick;
};

// Vorrik and the reference clicking at the same time, each on its own X server.
struct PairedRound {
  int round = 0;
  double nominalMs = 0;
  bool busyCore = false;
  ClickerRun vorrik;
  ClickerRun reference;
};

// What the figures are held against.
struct Targets {
  // Source side: reference p99 / Vorrik p99 at least this, in at least roundsNeeded rounds.
  double minSourceRatio = 2.0;
  int roundsNeeded = 4;
  // Receiver side, pooled: reference p99 / Vorrik p99 at least this.
  double minReceiverRatio = 1.0;
  double maxAbsBiasMs = 0.1;
  // No period shorter than nominal by more than this.
  double maxShortMs = 0.05;
  std::uint64_t maxIdleWakeups = 0;
};

// Everything one paired benchmark run measured.
struct PairedResults {
  std::string setup;     // who ran the clickers, at what priority
  std::string realtime;  // whether Vorrik's worker got real-time priority, and how
  std::vector<PairedRound> rounds;
  std::optional<WakeFloor> wakeFloor;
  std::optional<long> rssKiB;
  std::optional<long> peakRssKiB;
  std::optional<std::uint64_t> idleWakeups;
  double idleSeconds = 0;
};

// Reference p99 period jitter over Vorrik's; nothing when either has no periods or Vorrik's is 0.
std::optional<double> p99Ratio(const Series& reference, const Series& vorrik);

// Every round, both clickers, both places, as an aligned table with the ratios per round.
std::string formatRounds(const PairedResults& results);
// The rounds pooled per period and load and over all, the targets, and as its last two lines
// "source p99 ratio (reference / Vorrik), pooled: R" and the same for the receiver.
std::string formatPooled(const PairedResults& results, const Targets& targets);
// Back-to-back runs side by side: each run's pooled source and receiver ratios and CPU per
// click, their minimum over the runs, and the receiver ratio per period and load pooled over
// every run; a single run decides nothing, as the receiver's figures move between runs.
std::string formatRuns(const std::vector<PairedResults>& runs, const Targets& targets);

}  // namespace vorrik::bench
