// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

#include <optional>

#include "platform/ToggleShortcut.h"

namespace vorrik::portal {

// A GNOME custom keyboard shortcut (org.gnome.settings-daemon.plugins.media-keys), which
// gsd-media-keys runs whichever application has the keyboard: GNOME 43 has no global shortcuts
// portal. Vorrik's entry has a path of its own, so adding and removing it touch no other
// shortcut. Written with the gsettings tool, which every GNOME has and which writes where GNOME
// reads.
class GnomeShortcut final : public ToggleShortcut {
 public:
  // command is what F6 runs, a command line as GNOME parses it (shell quoting).
  explicit GnomeShortcut(QString command);

  // True in a GNOME session whose settings take custom shortcuts.
  static bool available();
  // The command line that runs this program with --toggle.
  static QString toggleCommand();

  bool installed() override;
  bool install() override;
  bool remove() override;

 private:
  QString command_;
};

}  // namespace vorrik::portal
