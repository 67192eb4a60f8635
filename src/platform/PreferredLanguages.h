// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace vorrik {

// The user's preferred languages from the system settings.
class PreferredLanguages {
 public:
  virtual ~PreferredLanguages() = default;
  // Language identifiers such as "en-US" or "pt-BR", most preferred first; may be empty.
  virtual std::vector<std::string> languages() = 0;
};

}  // namespace vorrik
