// SPDX-License-Identifier: MIT
#include "engine/ClickType.h"

namespace vorrik {

std::string_view rawValue(ClickType type) {
  switch (type) {
    case ClickType::left:
      return "left";
    case ClickType::right:
      return "right";
    case ClickType::double_:
      return "double";
  }
  return "left";
}

std::optional<ClickType> clickTypeFromRaw(std::string_view raw) {
  for (ClickType type : allClickTypes) {
    if (rawValue(type) == raw) {
      return type;
    }
  }
  return std::nullopt;
}

}  // namespace vorrik
