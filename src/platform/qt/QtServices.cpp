// SPDX-License-Identifier: MIT
#include "platform/qt/QtServices.h"

#include <QFileInfo>
#include <QLocale>
#include <QMetaObject>
#include <QStandardPaths>
#include <QThread>

#include <iostream>
#include <memory>

#include "platform/Backend.h"

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
    : QtDefaultsStore(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                      QStringLiteral("/Vorrik/Vorrik.conf")) {}

QtDefaultsStore::QtDefaultsStore(const QString& iniPath) {
  // QSettings reads the whole file in its constructor; only a regular file surely ends.
  const QFileInfo file(iniPath);
  if (file.exists() && !file.isFile()) {
    std::cerr << "vorrik: " << iniPath.toStdString()
              << " is not a regular file; settings are kept for this session only\n";
    return;
  }
  settings_.emplace(iniPath, QSettings::IniFormat);
}

std::optional<std::string> QtDefaultsStore::stringForKey(std::string_view key) {
  if (!settings_) {
    const auto found = memory_.find(key);
    if (found == memory_.end()) {
      return std::nullopt;
    }
    return found->second;
  }
  const QVariant value = settings_->value(toQString(key));
  if (value.typeId() != QMetaType::QString) {
    return std::nullopt;
  }
  return value.toString().toStdString();
}

void QtDefaultsStore::setString(std::string_view key, std::string_view value) {
  if (!settings_) {
    memory_.insert_or_assign(std::string(key), std::string(value));
    return;
  }
  settings_->setValue(toQString(key), toQString(value));
  settings_->sync();
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
    if (observed == name) {
      handler();
    }
  }
}

}  // namespace vorrik::qt

namespace vorrik {

// Every Qt-based backend keeps the language where these look for it.
std::unique_ptr<LanguageSettings> openLanguageSettings() {
  class Settings final : public LanguageSettings {
   public:
    DefaultsStore& defaults() override { return defaults_; }
    PreferredLanguages& preferredLanguages() override { return preferred_; }

   private:
    qt::QtDefaultsStore defaults_;
    qt::QtPreferredLanguages preferred_;
  };
  return std::make_unique<Settings>();
}

}  // namespace vorrik
