// SPDX-License-Identifier: MIT
#include "panel/PanelTexts.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "engine/ClickEngine.h"
#include "panel/ReadInteger.h"

namespace vorrik::ui {
namespace {

constexpr std::array<std::int64_t, 3> kPresetMs{120, 2500, 3000};
constexpr std::int64_t kDefaultMs = 120;
constexpr std::int64_t kMaxMs = 60000;
constexpr std::int64_t kMinJitterMs = 5;

std::int64_t customInterval(const QString& content) {
  if (content.isEmpty()) {
    return kDefaultMs;
  }
  const std::int64_t ms = readInteger(content.toStdString()).value_or(kDefaultMs);
  return std::clamp(ms, ClickEngine::kIntervalFloorMs, kMaxMs);
}

// A coordinate as the target line shows it: truncated toward zero, within 64 bits.
long long truncated(double value) {
  constexpr double kLimit = 1e15;
  return std::isfinite(value) ? static_cast<long long>(std::clamp(value, -kLimit, kLimit)) : 0;
}

}  // namespace

RunSettings readSettings(int preset, const QString& customMs, bool jitter,
                         const QString& stopAfter) {
  std::int64_t ms = kPresetMs[0];
  if (preset == kCustomPreset) {
    ms = customInterval(customMs);
  } else if (preset > 0 && preset < kCustomPreset) {
    ms = kPresetMs[static_cast<std::size_t>(preset)];
  }
  return {ms, jitter ? std::max(ms / 10, kMinJitterMs) : 0,
          readInteger(stopAfter.toStdString()).value_or(0)};
}

QString text(std::string_view key, const L::Values& values) {
  return QString::fromStdString(L::t(key, values));
}

QStringList texts(std::span<const std::string_view> keys) {
  QStringList list;
  for (const auto key : keys) {
    list << text(key);
  }
  return list;
}

QString burstText(std::int64_t burst) {
  return burst == 0 ? text("burst_off") : text("burst_x", {{"n", std::to_string(burst)}});
}

QString targetText(std::span<const ClickPoint> points) {
  if (points.empty()) {
    return text("target_cursor");
  }
  std::string list;
  for (const ClickPoint& point : points) {
    if (!list.empty()) {
      list += ' ';
    }
    list +=
        '(' + std::to_string(truncated(point.x)) + ',' + std::to_string(truncated(point.y)) + ')';
  }
  return text("target_points", {{"n", std::to_string(points.size())}, {"list", list}});
}

QString clicksText(std::int64_t count) {
  return text("clicks_session", {{"n", std::to_string(count)}});
}

QStringList languageNames() {
  QStringList names;
  for (const std::string& code : L::supported()) {
    const auto name = L::names().find(code);
    names << QString::fromStdString(name == L::names().end() ? code : name->second);
  }
  return names;
}

int languageIndex() {
  const auto& supported = L::supported();
  const auto found = std::find(supported.begin(), supported.end(), L::lang());
  return found == supported.end() ? 0 : static_cast<int>(found - supported.begin());
}

}  // namespace vorrik::ui
