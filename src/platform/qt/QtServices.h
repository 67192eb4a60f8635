// SPDX-License-Identifier: MIT
#pragma once

// Qt-backed ports for the language preference and the main thread. Create them on the main
// thread after the QCoreApplication exists.

#include <QObject>
#include <QSettings>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/DefaultsStore.h"
#include "platform/MainQueue.h"
#include "platform/NotificationCenter.h"
#include "platform/PreferredLanguages.h"

namespace vorrik::qt {

// Posts tasks through the Qt event loop of the thread that created it.
class QtMainQueue final : public MainQueue {
 public:
  void post(std::function<void()> task) override;

 private:
  QObject context_;  // queued tasks die with the queue instead of running after it
};

// QSettings in Vorrik/Vorrik.conf under the user's configuration directory. Where that path
// holds something other than a regular file (a named pipe would block reading for ever), the
// store keeps its values in memory for this session, says so once on stderr and leaves the
// path alone.
class QtDefaultsStore final : public DefaultsStore {
 public:
  QtDefaultsStore();
  // For tests: a store in its own file.
  explicit QtDefaultsStore(const QString& iniPath);
  std::optional<std::string> stringForKey(std::string_view key) override;
  void setString(std::string_view key, std::string_view value) override;

 private:
  std::optional<QSettings> settings_;
  std::map<std::string, std::string, std::less<>> memory_;
};

// The system's user-interface languages, as QLocale reports them (LANGUAGE, LC_ALL, LANG).
class QtPreferredLanguages final : public PreferredLanguages {
 public:
  std::vector<std::string> languages() override;
};

// Observers run on the main thread in the order they were added: at once when posted there,
// through the event loop when posted from another thread.
class QtNotificationCenter final : public NotificationCenter {
 public:
  void addObserver(std::string name, std::function<void()> handler) override;
  void post(std::string_view name) override;

 private:
  void deliver(const std::string& name);

  QObject context_;
  std::vector<std::pair<std::string, std::function<void()>>> observers_;
};

}  // namespace vorrik::qt
