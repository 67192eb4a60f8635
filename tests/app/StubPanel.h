// SPDX-License-Identifier: MIT
#pragma once

#include <QLineEdit>
#include <QVBoxLayout>
#include <QWidget>

namespace vorrik {

// The panel's shape as the delegate sees it: a layout to hang the menu bar on, a text field
// and a slot named "toggle".
class StubPanel final : public QWidget {
  Q_OBJECT

 public:
  StubPanel() {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* column = new QWidget;
    column->setFixedSize(300, 480);
    field = new QLineEdit(column);
    layout->addWidget(column);
  }
  QLineEdit* field = nullptr;
  int toggles = 0;
  bool running = false;

 public slots:
  void toggle() {
    ++toggles;
    running = !running;
  }
};

}  // namespace vorrik
