// SPDX-License-Identifier: MIT
// What tests read inside a control panel: its engine and its controls.
#pragma once

#include "panel/VorrikPanel.h"

namespace vorrik::test {

// The panel's friend, for tests only.
struct PanelProbe {
  static ClickEngine& engine(VorrikPanel& panel) { return panel.engine_; }
  static const ui::PanelWidgets& widgets(const VorrikPanel& panel) { return panel.ui_; }
};

}  // namespace vorrik::test
