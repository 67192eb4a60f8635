// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QSpinBox>
#include <QWidget>

namespace vorrik {

// A round lamp filled with one colour.
class Lamp : public QWidget {
  Q_OBJECT

 public:
  explicit Lamp(QWidget* parent = nullptr);
  // The fill colour.
  [[nodiscard]] QColor color() const { return color_; }
  // Changes the fill colour and repaints.
  void setColor(const QColor& color);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QColor color_;
};

// An up/down control without text of its own; it keeps its value within its range.
class Stepper : public QSpinBox {
  Q_OBJECT

 public:
  explicit Stepper(QWidget* parent = nullptr);
  void stepBy(int steps) override;

 signals:
  // Sent when the user moved the value (arrows, wheel); never for setValue().
  void stepped(int value);

 protected:
  [[nodiscard]] QString textFromValue(int value) const override;
};

}  // namespace vorrik
