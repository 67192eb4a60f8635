// SPDX-License-Identifier: MIT
// Checks over the whole catalogue: what every translation must keep from the English texts.
#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <regex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "l10n/Catalogue.h"
#include "l10n/L.h"

namespace vorrik {
namespace {

namespace cat = L::catalogue;

struct Language {
  const char* code;
  const cat::List* list;
};

void PrintTo(const Language& language, std::ostream* os) {
  *os << language.code;
}

const Language kLanguages[] = {
    {"en", &cat::en}, {"ht", &cat::ht}, {"fr", &cat::fr}, {"es", &cat::es}, {"pt", &cat::pt}};

std::multiset<std::string> placeholders(std::string_view text) {
  static const std::regex token(R"(\{[a-z]+\})");
  std::multiset<std::string> found;
  const std::string s(text);
  for (auto it = std::sregex_iterator(s.begin(), s.end(), token); it != std::sregex_iterator();
       ++it) {
    found.insert(it->str());
  }
  return found;
}

class TranslationTest : public ::testing::TestWithParam<Language> {};

TEST_P(TranslationTest, HasEveryKeyInEnglishOrderWithItsPlaceholders) {
  const cat::List& list = *GetParam().list;
  for (std::size_t i = 0; i < cat::kKeyCount; ++i) {
    SCOPED_TRACE(cat::en[i].first);
    EXPECT_EQ(list[i].first, cat::en[i].first);
    EXPECT_EQ(placeholders(list[i].second), placeholders(cat::en[i].second));
    EXPECT_FALSE(list[i].second.empty());
  }
}

TEST_P(TranslationTest, KeepsTheVisualConventions) {
  for (const auto& [key, text] : *GetParam().list) {
    SCOPED_TRACE(key);
    const std::string s(text);
    // Three full stops, never the single ellipsis character.
    EXPECT_EQ(s.find("\u2026"), std::string::npos);
    if (key == "start" || key == "stop") {
      EXPECT_TRUE(s.ends_with("  (F6)"));
      EXPECT_FALSE(s.ends_with("   (F6)"));
    }
    if (key == "m_toggle") {
      EXPECT_TRUE(s.ends_with(" (F6)"));
      EXPECT_FALSE(s.ends_with("  (F6)"));
    }
    if (key.starts_with("sec_")) {
      EXPECT_TRUE(std::none_of(s.begin(), s.end(), [](char c) { return c >= 'a' && c <= 'z'; }));
      for (const char* lower : {"à", "á", "â", "ã", "ç", "è", "é", "ê", "í", "ò", "ó", "ô", "ú"}) {
        EXPECT_EQ(s.find(lower), std::string::npos) << lower;
      }
    }
    if (key == "about_body") {
      EXPECT_EQ(std::count(s.begin(), s.end(), '\n'), 2);
    }
    if (s.find("orrik") != std::string::npos) {
      EXPECT_NE(s.find("Vorrik"), std::string::npos);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Catalogue, TranslationTest, ::testing::ValuesIn(kLanguages),
                         [](const auto& info) { return std::string(info.param.code); });

TEST_P(TranslationTest, NamesNoOtherSystemsSettings) {
  // Another system's names for its permission list, in the five languages.
  static const char* const kForeign[] = {"Mac",
                                         "macOS",
                                         "System Settings",
                                         "Accessibility",
                                         "Privacy & Security",
                                         "Paramèt Sistèm",
                                         "Aksesibilite",
                                         "Vi prive",
                                         "Réglages Système",
                                         "Accessibilité",
                                         "Confidentialité",
                                         "Ajustes del Sistema",
                                         "Accesibilidad",
                                         "Privacidad",
                                         "Ajustes do Sistema",
                                         "Acessibilidade",
                                         "Privacidade"};
  for (const auto& [key, text] : *GetParam().list) {
    for (const char* word : kForeign) {
      EXPECT_EQ(std::string(text).find(word), std::string::npos) << key << ": " << word;
    }
  }
}

TEST(CatalogueTest, FrenchSpacesColonsAndFrenchAndPortugueseUseDecimalCommas) {
  const std::regex decimalPoint(R"(\d\.\d)");
  for (const auto& [key, text] : cat::fr) {
    const std::string s(text);
    for (std::size_t at = s.find(':'); at != std::string::npos; at = s.find(':', at + 1)) {
      if (s.compare(at, 3, "://") == 0) {
        continue;  // a web address
      }
      EXPECT_TRUE(at > 0 && s[at - 1] == ' ') << key << ": " << s;
    }
  }
  for (const cat::List* list : {&cat::fr, &cat::pt}) {
    for (const auto& [key, text] : *list) {
      EXPECT_FALSE(std::regex_search(std::string(text), decimalPoint)) << key;
    }
  }
}

}  // namespace
}  // namespace vorrik
