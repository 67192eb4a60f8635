// SPDX-License-Identifier: MIT
#include "platform/portal/GnomeShortcut.h"

#include <QCoreApplication>
#include <QProcess>
#include <QRegularExpression>

#include <utility>

namespace vorrik::portal {
namespace {

constexpr QLatin1String kSchema{"org.gnome.settings-daemon.plugins.media-keys"};
constexpr QLatin1String kListKey{"custom-keybindings"};
constexpr QLatin1String kEntry{
    "org.gnome.settings-daemon.plugins.media-keys.custom-keybinding:"
    "/org/gnome/settings-daemon/plugins/media-keys/custom-keybindings/vorrik/"};
constexpr QLatin1String kPath{
    "/org/gnome/settings-daemon/plugins/media-keys/custom-keybindings/vorrik/"};
constexpr int kTimeoutMs = 5000;

// What gsettings printed, or nothing when it failed or is missing.
std::optional<QString> gsettings(const QStringList& args) {
  QProcess process;
  process.start(QStringLiteral("gsettings"), args);
  if (!process.waitForFinished(kTimeoutMs)) {
    process.kill();
    process.waitForFinished();
    return std::nullopt;
  }
  if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
    return std::nullopt;
  }
  return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

// text as a GVariant string, as gsettings takes values.
QString variantString(QString text) {
  text.replace(QLatin1Char('\\'), QLatin1String("\\\\"))
      .replace(QLatin1Char('\''), QLatin1String("\\'"));
  return QLatin1Char('\'') + text + QLatin1Char('\'');
}

// The paths of every custom shortcut, in order; nothing when they cannot be read.
std::optional<QStringList> paths() {
  const std::optional<QString> value = gsettings({QStringLiteral("get"), kSchema, kListKey});
  if (!value) {
    return std::nullopt;
  }
  // "@as []" or "['/a/', '/b/']"; the paths hold no quotes, yet escapes are undone.
  static const QRegularExpression item(QStringLiteral(R"('((?:[^'\\]|\\.)*)')"));
  static const QRegularExpression escape(QStringLiteral(R"(\\(.))"));
  QStringList found;
  for (const QRegularExpressionMatch& match : item.globalMatch(*value)) {
    found << match.captured(1).replace(escape, QStringLiteral("\\1"));
  }
  return found;
}

bool setPaths(const QStringList& list) {
  QStringList quoted;
  for (const QString& path : list) {
    quoted << variantString(path);
  }
  const QString value =
      list.isEmpty() ? QStringLiteral("@as []")
                     : QLatin1Char('[') + quoted.join(QLatin1String(", ")) + QLatin1Char(']');
  return gsettings({QStringLiteral("set"), kSchema, kListKey, value}).has_value();
}

}  // namespace

GnomeShortcut::GnomeShortcut(QString command) : command_(std::move(command)) {}

bool GnomeShortcut::available() {
  const QStringList desktops =
      qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(QLatin1Char(':'), Qt::SkipEmptyParts);
  if (!desktops.contains(QStringLiteral("GNOME"), Qt::CaseInsensitive)) {
    return false;
  }
  return gsettings({QStringLiteral("writable"), kSchema, kListKey}) == QStringLiteral("true");
}

QString GnomeShortcut::toggleCommand() {
  // One word for GNOME's shell-like parser, whatever the path holds.
  QString path = QCoreApplication::applicationFilePath();
  path.replace(QLatin1Char('\''), QLatin1String("'\\''"));
  return QLatin1Char('\'') + path + QStringLiteral("' --toggle");
}

bool GnomeShortcut::installed() {
  const std::optional<QStringList> list = paths();
  return list && list->contains(kPath);
}

bool GnomeShortcut::install() {
  std::optional<QStringList> list = paths();
  if (!list) {
    return false;
  }
  // The entry first, so that GNOME never sees it listed half written.
  const std::pair<QLatin1String, QString> keys[] = {
      {QLatin1String("name"), QStringLiteral("Vorrik: start / stop")},
      {QLatin1String("command"), command_},
      {QLatin1String("binding"), QStringLiteral("F6")}};
  for (const auto& [key, value] : keys) {
    if (!gsettings({QStringLiteral("set"), kEntry, key, variantString(value)})) {
      return false;
    }
  }
  if (!list->contains(kPath)) {
    list->append(kPath);
    if (!setPaths(*list)) {
      return false;
    }
  }
  return installed();
}

bool GnomeShortcut::remove() {
  std::optional<QStringList> list = paths();
  if (!list) {
    return false;
  }
  if (list->removeAll(kPath) > 0 && !setPaths(*list)) {
    return false;
  }
  // Vorrik's own entry, which nothing lists any more.
  gsettings({QStringLiteral("reset-recursively"), kEntry});
  return !installed();
}

}  // namespace vorrik::portal
