// SPDX-License-Identifier: MIT
// The strict integer reading behind the custom interval and the stop-after count.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <ostream>
#include <string>

#include "panel/ReadInteger.h"

namespace vorrik {
namespace {

struct Reading {
  const char* name;
  std::string text;
  std::optional<std::int64_t> value;
};

void PrintTo(const Reading& reading, std::ostream* out) {
  *out << '"' << reading.text << '"';
}

class PanelIntegerReading : public testing::TestWithParam<Reading> {};

TEST_P(PanelIntegerReading, AcceptsOnlyASignAndAsciiDigits) {
  EXPECT_EQ(readInteger(GetParam().text), GetParam().value) << '"' << GetParam().text << '"';
}

constexpr auto kMin = std::numeric_limits<std::int64_t>::min();
constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
constexpr std::nullopt_t kNone = std::nullopt;

INSTANTIATE_TEST_SUITE_P(
    Texts, PanelIntegerReading,
    testing::Values(Reading{"Zero", "0", 0}, Reading{"Plain", "200", 200},
                    Reading{"Plus", "+200", 200}, Reading{"Minus", "-5", -5},
                    Reading{"LeadingZeros", "007", 7},
                    Reading{"Largest", "9223372036854775807", kMax},
                    Reading{"Smallest", "-9223372036854775808", kMin}, Reading{"Empty", "", kNone},
                    Reading{"PlusAlone", "+", kNone}, Reading{"MinusAlone", "-", kNone},
                    Reading{"TwoSigns", "+-5", kNone}, Reading{"DoubleMinus", "--5", kNone},
                    Reading{"LeadingSpace", " 200", kNone}, Reading{"TrailingSpace", "200 ", kNone},
                    Reading{"InnerSpace", "2 00", kNone}, Reading{"DecimalPoint", "2.5", kNone},
                    Reading{"GroupSeparator", "1,000", kNone}, Reading{"Unit", "200ms", kNone},
                    Reading{"Exponent", "1e3", kNone}, Reading{"Hex", "0x10", kNone},
                    Reading{"Letters", "abc", kNone},
                    Reading{"ArabicIndicDigit", "\xd9\xa3", kNone},
                    Reading{"AboveLargest", "9223372036854775808", kNone},
                    Reading{"TwentyDigits", "99999999999999999999", kNone},
                    Reading{"BelowSmallest", "-9223372036854775809", kNone}),
    [](const testing::TestParamInfo<Reading>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace vorrik
