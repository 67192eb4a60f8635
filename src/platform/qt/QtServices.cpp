// SPDX-License-Identifier: MIT
#include "platform/qt/QtServices.h"

#include <QLocale>
#include <QMetaObject>
#include <QThread>

namespace vorrik::qt {
namespace {

QString toQString(std::string_view s) {
  return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

}  // namespace

void QtMainQueue::post(std::function<void()> task) {
  QMetaObject::invokeMethod(&context_, std::move(task), Qt::QueuedConnection);
}

QtDefaultsStore::QtDefaultsStore()
    : settings_(QStringLiteral("Vorrik"), QStringLiteral("Vorrik")) {}

QtDefaultsStore::QtDefaultsStore(const QString& iniPath)
    : settings_(iniPath, QSettings::IniFormat) {}

std::optional<std::string> QtDefaultsStore::stringForKey(std::string_view key) {
  const QVariant value = settings_.value(toQString(key));
  if (value.typeId() != QMetaType::QString) return std::nullopt;
  return value.toString().toStdString();
}

void QtDefaultsStore::setString(std::string_view key, std::string_view value) {
  settings_.setValue(toQString(key), toQString(value));
  settings_.sync();
}

std::vector<std::string> QtPreferredLanguages::languages() {
  std::vector<std::string> result;
  for (const QString& language : QLocale::system().uiLanguages()) {
    result.push_back(language.toStdString());
  }
  return result;
}

void QtNotificationCenter::addObserver(std::string name, std::function<void()> handler) {
  observers_.emplace_back(std::move(name), std::move(handler));
}

void QtNotificationCenter::post(std::string_view name) {
  if (QThread::currentThread() == context_.thread()) {
    deliver(std::string(name));
    return;
  }
  QMetaObject::invokeMethod(
      &context_, [this, copy = std::string(name)] { deliver(copy); }, Qt::QueuedConnection);
}

void QtNotificationCenter::deliver(const std::string& name) {
  // An observer may add observers; they hear only later posts.
  const auto observers = observers_;
  for (const auto& [observed, handler] : observers) {
    if (observed == name) handler();
  }
}

}  // namespace vorrik::qt
