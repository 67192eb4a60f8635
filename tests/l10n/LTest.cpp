// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "l10n/L.h"
#include "platform/fake/FakeDesktop.h"

namespace vorrik {
namespace {

class LanguageTest : public ::testing::Test {
 protected:
  void SetUp() override { L::install({&defaults, &preferred, &center}); }
  void TearDown() override { L::install({}); }

  fake::FakeDesktop desktop;
  fake::FakeDefaultsStore& defaults = desktop.fakeDefaults;
  fake::FakePreferredLanguages& preferred = desktop.fakeLanguages;
  fake::FakeNotificationCenter& center = desktop.fakeCenter;
};

struct LookupCase {
  const char* lang;
  const char* key;
  L::Values values;
  const char* expected;
};

void PrintTo(const LookupCase& c, std::ostream* os) {
  *os << c.lang << " " << c.key;
}

class LookupTest : public LanguageTest, public ::testing::WithParamInterface<LookupCase> {};

TEST_P(LookupTest, FillsPlaceholdersAndFallsBack) {
  const LookupCase& c = GetParam();
  defaults.setString(L::kLangKey, c.lang);
  EXPECT_EQ(L::t(c.key, c.values), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Catalogue, LookupTest,
    ::testing::Values(LookupCase{"fr", "ready", {}, "Prêt"},
                      LookupCase{"es", "done", {{"n", "5"}}, "Hecho: 5 clics."},
                      // A placeholder without a value stays as written, braces included.
                      LookupCase{"en", "burst_x", {}, "Burst: x{n}"},
                      // An entry whose token is not in the text changes nothing.
                      LookupCase{
                          "en", "done", {{"n", "12"}, {"list", "ignored"}}, "Done: 12 clicks."},
                      LookupCase{"en",
                                 "target_points",
                                 {{"n", "2"}, {"list", "(10,20) (30,40)"}},
                                 "Target: 2 point(s) (10,20) (30,40)"},
                      // An unknown key shows as itself, in every language, and is still filled in.
                      LookupCase{"pt", "no_such_key", {}, "no_such_key"},
                      LookupCase{"en", "{n} and {n}", {{"n", "7"}}, "7 and 7"}));

struct ReadCase {
  std::optional<std::string> stored;
  std::vector<std::string> preferred;
  std::string expected;
};

void PrintTo(const ReadCase& c, std::ostream* os) {
  *os << "stored=" << c.stored.value_or("(none)")
      << " first=" << (c.preferred.empty() ? "(none)" : c.preferred.front());
}

class ReadTest : public LanguageTest, public ::testing::WithParamInterface<ReadCase> {};

TEST_P(ReadTest, StoredChoiceElseFirstPreferredLanguage) {
  const ReadCase& c = GetParam();
  if (c.stored) {
    defaults.setString(L::kLangKey, *c.stored);
  }
  const int writesBefore = defaults.writes();
  preferred.set(c.preferred);

  EXPECT_EQ(L::lang(), c.expected);
  // Reading never writes: a stored value that is not a code is ignored, not replaced.
  EXPECT_EQ(defaults.writes(), writesBefore);
  EXPECT_EQ(defaults.stringForKey(L::kLangKey), c.stored);
}

INSTANTIATE_TEST_SUITE_P(
    Preference, ReadTest,
    ::testing::Values(ReadCase{std::nullopt, {"fr-CA", "en-US"}, "fr"},
                      ReadCase{std::nullopt, {"ht"}, "ht"},
                      ReadCase{std::nullopt, {"zh-Hans-CN"}, "en"},
                      ReadCase{std::nullopt, {"de-DE", "fr-FR"}, "en"},  // only the first counts
                      ReadCase{std::nullopt, {}, "en"},
                      ReadCase{std::nullopt, {"FR-ca"}, "fr"},  // lower-cased first
                      ReadCase{std::nullopt, {"frr"}, "fr"},    // a plain prefix test
                      ReadCase{std::nullopt, {""}, "en"}, ReadCase{"es", {"fr-FR"}, "es"},
                      ReadCase{"EN", {"fr-FR"}, "fr"},  // not exactly a code: ignored
                      ReadCase{"de", {"pt-PT"}, "pt"}, ReadCase{"", {}, "en"},
                      ReadCase{"es ", {"ht-HT"}, "ht"}));

struct WriteCase {
  std::string written;
  std::string stored;
};

void PrintTo(const WriteCase& c, std::ostream* os) {
  *os << "'" << c.written << "'";
}

class WriteTest : public LanguageTest, public ::testing::WithParamInterface<WriteCase> {};

TEST_P(WriteTest, StoresASupportedCodeAndAlwaysPosts) {
  const WriteCase& c = GetParam();
  int observed = 0;
  center.addObserver(L::changed(), [&] { ++observed; });

  L::setLang(c.written);
  EXPECT_EQ(defaults.stringForKey(L::kLangKey), c.stored);
  EXPECT_EQ(L::lang(), c.stored);
  // The same code again still posts: observers relabel even without a visible change.
  L::setLang(c.written);
  EXPECT_EQ(observed, 2);
  EXPECT_EQ(center.posts(),
            (std::vector<std::string>{"VorrikLanguageChanged", "VorrikLanguageChanged"}));
}

INSTANTIATE_TEST_SUITE_P(Preference, WriteTest,
                         ::testing::Values(WriteCase{"ht", "ht"}, WriteCase{"xx", "en"},
                                           WriteCase{"FR", "en"}, WriteCase{"", "en"},
                                           WriteCase{"fr-FR", "en"}));

TEST(LanguageWithoutServices, FallsBackToEnglishAndStoresNothing) {
  L::install({});
  EXPECT_EQ(L::lang(), "en");
  L::setLang("fr");  // nowhere to store it
  EXPECT_EQ(L::lang(), "en");
  EXPECT_EQ(L::t("ready"), "Ready");
}

TEST(LanguageTableDeathTest, RepeatedKeyIsFatal) {
  const L::Entry list[] = {{"ready", "Ready"}, {"start", "Start"}, {"ready", "Again"}};
  EXPECT_DEATH(L::buildTexts("xx", list), "repeats the key 'ready'");
}

}  // namespace
}  // namespace vorrik
