// SPDX-License-Identifier: MIT
#include "platform/qt/QtSettingsLink.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>

#include <cstdio>

namespace vorrik::qt {

QUrl QtSettingsLink::findHelpPage(const QString& exeDir) {
  // bin/ under the installation prefix; src/app/ or tests/<area>/ under a build directory.
  QDir dir(exeDir);
  for (int up = 0; up < 3 && dir.cdUp(); ++up) {
    const QFileInfo page(dir.filePath(QString::fromLatin1(kHelpPath)));
    if (page.isFile()) {
      return QUrl::fromLocalFile(page.absoluteFilePath());
    }
  }
  return {};
}

void QtSettingsLink::open() {
  const QUrl url = url_.isEmpty() ? findHelpPage(QCoreApplication::applicationDirPath()) : url_;
  if (url.isEmpty()) {
    std::fprintf(stderr, "vorrik: the help page is not installed (%s next to the program)\n",
                 kHelpPath);
    return;
  }
  QDesktopServices::openUrl(url);
}

}  // namespace vorrik::qt
