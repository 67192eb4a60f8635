// SPDX-License-Identifier: MIT
#include "l10n/L.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "l10n/Catalogue.h"

namespace vorrik::L {
namespace {

std::mutex servicesMutex;
Services installed;

Services current() {
  std::lock_guard lock(servicesMutex);
  return installed;
}

bool isSupported(std::string_view code) {
  const auto& codes = supported();
  return std::find(codes.begin(), codes.end(), code) != codes.end();
}

void replaceAll(std::string& text, const std::string& token, std::string_view value) {
  std::size_t at = 0;
  while ((at = text.find(token, at)) != std::string::npos) {
    text.replace(at, token.size(), value);
    at += value.size();
  }
}

Table buildTable() {
  const std::pair<std::string_view, const catalogue::List*> lists[] = {
      {"en", &catalogue::en}, {"ht", &catalogue::ht}, {"fr", &catalogue::fr},
      {"es", &catalogue::es}, {"pt", &catalogue::pt},
  };
  Table table;
  table.reserve(std::size(lists));
  for (const auto& [code, list] : lists) {
    table.emplace(code, buildTexts(code, *list));
  }
  return table;
}

}  // namespace

Texts buildTexts(std::string_view code, std::span<const Entry> list) {
  Texts texts;
  texts.reserve(list.size());
  for (const auto& [key, text] : list) {
    if (!texts.emplace(key, text).second) {
      // The lists are compiled in: a repeated key is a bug in the program, not a runtime state.
      std::fprintf(stderr, "vorrik: catalogue '%.*s' repeats the key '%.*s'\n",
                   static_cast<int>(code.size()), code.data(), static_cast<int>(key.size()),
                   key.data());
      std::abort();
    }
  }
  return texts;
}

const Table& table() {
  static const Table built = buildTable();  // thread-safe one-time build
  return built;
}

const std::vector<std::string>& supported() {
  static const std::vector<std::string> codes{"en", "ht", "fr", "es", "pt"};
  return codes;
}

const std::map<std::string, std::string, std::less<>>& names() {
  static const std::map<std::string, std::string, std::less<>> byCode{
      {"en", "English"}, {"ht", "Kreyòl Ayisyen"}, {"fr", "Français"},
      {"es", "Español"}, {"pt", "Português"},
  };
  return byCode;
}

const std::string& changed() {
  static const std::string name = "VorrikLanguageChanged";
  return name;
}

std::string t(std::string_view key, const Values& values) {
  const Table& all = table();
  const std::string wanted(key);
  auto lookup = [&](const std::string& code) -> const std::string* {
    auto language = all.find(code);
    if (language == all.end()) {
      return nullptr;
    }
    auto found = language->second.find(wanted);
    return found == language->second.end() ? nullptr : &found->second;
  };
  const std::string* text = lookup(lang());
  if (text == nullptr) {
    text = lookup("en");
  }
  std::string result = text != nullptr ? *text : wanted;
  for (const auto& [name, value] : values) {
    replaceAll(result, "{" + name + "}", value);
  }
  return result;
}

std::string lang() {
  const Services services = current();
  if (services.defaults != nullptr) {
    if (auto stored = services.defaults->stringForKey(kLangKey); stored && isSupported(*stored)) {
      return *stored;
    }
  }
  std::string preferred = "en";
  if (services.preferred != nullptr) {
    if (auto languages = services.preferred->languages(); !languages.empty()) {
      preferred = languages.front();
    }
  }
  std::transform(preferred.begin(), preferred.end(), preferred.begin(), [](unsigned char c) {
    return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  });
  for (const std::string& code : supported()) {
    if (preferred.starts_with(code)) {
      return code;
    }
  }
  return "en";
}

void setLang(std::string_view code) {
  const Services services = current();
  const std::string_view stored = isSupported(code) ? code : std::string_view("en");
  if (services.defaults != nullptr) {
    services.defaults->setString(kLangKey, stored);
  }
  if (services.center != nullptr) {
    services.center->post(changed());
  }
}

void install(Services services) {
  std::lock_guard lock(servicesMutex);
  installed = services;
}

RefusalKeys refusalKeys(Refusal refusal) {
  switch (refusal) {
    case Refusal::unsupportedWayland:
      return {"wl_title", "wl_body", "wl_needed"};
    case Refusal::notAllowed:
      return {"rd_title", "rd_body", "rd_needed"};
    case Refusal::noInjection:
      break;
  }
  return {"ax_title", "ax_body", "ax_needed"};
}

std::string_view consentKey(ConsentDialog dialog) {
  switch (dialog.desktop) {
    case ConsentDialog::Desktop::gnome:
      return dialog.remembers ? "rd_gnome" : "rd_gnome_once";
    case ConsentDialog::Desktop::kde:
      return dialog.remembers ? "rd_kde" : "rd_kde_once";
    case ConsentDialog::Desktop::other:
      break;
  }
  return "rd_other";
}

}  // namespace vorrik::L
