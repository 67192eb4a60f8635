// SPDX-License-Identifier: MIT
// The strict integer reading behind the custom interval and the stop-after count: everyday
// texts a user might type, and the edges of the format and of 64 bits.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>

#include "panel/ReadInteger.h"

namespace vorrik {
namespace {

TEST(PanelIntegerReading, ValueOfASignAndAsciiDigits) {
  const std::pair<std::string_view, std::int64_t> accepted[] = {
      {"0", 0},
      {"+200", 200},
      {"-5", -5},
      {"007", 7},
      {"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
      {"-9223372036854775808", std::numeric_limits<std::int64_t>::min()}};
  for (const auto& [text, value] : accepted) {
    EXPECT_EQ(readInteger(text), value) << '"' << text << '"';
  }
}

TEST(PanelIntegerReading, NothingForAnyOtherText) {
  for (const std::string_view text :
       {"", "abc", "2.5", " 200", "200ms", "1,000", "1e3", "\u0663\u0660\u0660", "+", "-", "+-5",
        "--5", "2 00", "0x10", "9223372036854775808", "-9223372036854775809"}) {
    EXPECT_EQ(readInteger(text), std::nullopt) << '"' << text << '"';
  }
}

}  // namespace
}  // namespace vorrik
