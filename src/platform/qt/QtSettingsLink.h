// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QUrl>

#include <utility>

#include "platform/SettingsLink.h"

namespace vorrik::qt {

// Opens Vorrik's help page, which says what each kind of desktop session needs before Vorrik's
// clicks reach its applications, with the desktop's viewer for it. Linux has no list of
// applications allowed to click to open instead: an X server lets every client inject through
// XTEST, and a Wayland desktop decides by its protocols.
class QtSettingsLink final : public SettingsLink {
 public:
  // Where the help page is found: installed beside the executable (../share/doc/vorrik/), or
  // in the build tree that holds it.
  static constexpr const char* kHelpPath = "share/doc/vorrik/help.html";
  // The help page for an executable in exeDir: kHelpPath under its parent or, for a program in
  // a build tree, under a directory up to two levels higher; empty when none exists.
  static QUrl findHelpPage(const QString& exeDir);

  // The help page of the running executable, looked up when it is opened.
  QtSettingsLink() = default;
  explicit QtSettingsLink(QUrl url) : url_(std::move(url)) {}
  // Says on stderr when no help page is installed.
  void open() override;

 private:
  QUrl url_;
};

}  // namespace vorrik::qt
