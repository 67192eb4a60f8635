// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "l10n/L.h"
#include "platform/ClickPoint.h"

// What the panel's controls say and what a run reads from them, without any widget.
namespace vorrik::ui {

// The section headers, top to bottom, by catalogue key.
inline constexpr std::array<std::string_view, 5> kSectionKeys{
    "sec_interval", "sec_click", "sec_target", "sec_stop", "sec_language"};
// The interval pop-up's items; the last one lets the user type the interval.
inline constexpr std::array<std::string_view, 4> kPresetKeys{"preset_game", "preset_idle",
                                                             "preset_refresh", "preset_custom"};
inline constexpr int kCustomPreset = 3;
// The click-type pop-up's items, in the order of allClickTypes.
inline constexpr std::array<std::string_view, 3> kTypeKeys{"left", "right", "double"};

// What a run takes from the panel when it starts.
struct RunSettings {
  std::int64_t intervalMs = 0;
  std::int64_t jitterMs = 0;
  std::int64_t maxClicks = 0;
  friend bool operator==(const RunSettings&, const RunSettings&) = default;
};

// The run settings for a preset index (Custom reads customMs), the jitter box and the
// stop-after text: unreadable texts fall back (120 ms, no limit), intervals are kept within
// 50 ms to 60 s, and jitter is a tenth of the interval but at least 5 ms.
RunSettings readSettings(int preset, const QString& customMs, bool jitter,
                         const QString& stopAfter);

// The catalogue text of key in the current language.
QString text(std::string_view key, const L::Values& values = {});
// The catalogue texts of keys in the current language, in order.
QStringList texts(std::span<const std::string_view> keys);
// The burst readout for a number of extra clicks per tick (0 is off).
QString burstText(std::int64_t burst);
// The target line: the cursor without points, else their count and each point with its
// coordinates truncated toward zero.
QString targetText(std::span<const ClickPoint> points);
// The statistics line after a run's count-th click.
QString clicksText(std::int64_t count);
// Every supported language's name, written in that language, in menu order.
QStringList languageNames();
// The current language's position among the supported ones, else 0.
int languageIndex();

}  // namespace vorrik::ui
