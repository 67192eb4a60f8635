// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/PreferredLanguages.h"

namespace vorrik::fake {

class FakePreferredLanguages final : public PreferredLanguages {
 public:
  std::vector<std::string> languages() override { return languages_; }
  void set(std::vector<std::string> languages) { languages_ = std::move(languages); }

 private:
  std::vector<std::string> languages_;
};

}  // namespace vorrik::fake
