// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/AccessibilityTrust.h"
#include "platform/DefaultsStore.h"
#include "platform/NotificationCenter.h"
#include "platform/PreferredLanguages.h"

// Every user-visible text, in five languages, and the current language.
namespace vorrik::L {

// Placeholder name (without braces) to the text that replaces it.
using Values = std::map<std::string, std::string, std::less<>>;
using Texts = std::unordered_map<std::string, std::string>;
using Table = std::unordered_map<std::string, Texts>;

// The text of key in the current language with its placeholders filled; falls back to English,
// then to the key itself.
std::string t(std::string_view key, const Values& values = {});

// Language code to key to text; built once, on first use, from the compiled-in lists.
const Table& table();
// "en", "ht", "fr", "es", "pt", in menu order.
const std::vector<std::string>& supported();
// Language code to its name written in that language.
const std::map<std::string, std::string, std::less<>>& names();
// The notification posted after every assignment of the language.
const std::string& changed();

// The current language code: the stored choice, else the system's first preferred language.
std::string lang();
// Stores code (an unsupported one as "en") and posts changed().
void setLang(std::string_view code);

// Where the language preference lives; every pointer must outlive its use.
struct Services {
  DefaultsStore* defaults = nullptr;
  PreferredLanguages* preferred = nullptr;
  NotificationCenter* center = nullptr;
};
// Connects the preference to the platform (at start-up, or a test's fakes). Until then nothing
// is stored, no language is preferred and nothing is posted.
void install(Services services);

// The defaults key that holds the chosen language.
inline constexpr std::string_view kLangKey = "vorrik_lang";

// The keys that explain a refusal to click: the alert's title and body, and the status line.
struct RefusalKeys {
  std::string_view title;
  std::string_view body;
  std::string_view line;
};
RefusalKeys refusalKeys(Refusal refusal);
// The key of the sentence that tells how to answer that consent dialog: its switch, its remember
// box and its Share button, where it has them; rd_body takes it as {answer}.
std::string_view consentKey(ConsentDialog dialog);

using Entry = std::pair<std::string_view, std::string_view>;
// Builds one language's texts from its list; a repeated key is a fatal error of the program.
Texts buildTexts(std::string_view code, std::span<const Entry> list);

}  // namespace vorrik::L
