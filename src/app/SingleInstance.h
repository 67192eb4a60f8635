// SPDX-License-Identifier: MIT
#pragma once

#include <QLocalServer>
#include <QObject>
#include <QString>

namespace vorrik {

// One running copy per user: the first launch listens on a local socket; a later launch finds
// it there, asks it to come to the front and ends.
class SingleInstance final : public QObject {
  Q_OBJECT

 public:
  // The socket name for this user; two users never share one.
  static QString defaultName();
  explicit SingleInstance(QString name = defaultName(), QObject* parent = nullptr);

  // True when this process is now the one instance; false when another one runs and has been
  // asked to show itself.
  bool claim();

 signals:
  // Another launch asked this instance to show itself.
  void reopenRequested();

 private:
  bool askRunningInstance();
  void accept();

  QString name_;
  QLocalServer server_;
};

}  // namespace vorrik
