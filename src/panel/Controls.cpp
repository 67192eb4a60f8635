// SPDX-License-Identifier: MIT
#include "panel/Controls.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionSpinBox>

namespace vorrik {

Lamp::Lamp(QWidget* parent) : QWidget(parent) {}

void Lamp::setColor(const QColor& color) {
  if (color == color_) {
    return;
  }
  color_ = color;
  update();
}

void Lamp::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(color_);
  painter.drawEllipse(rect());
}

Stepper::Stepper(QWidget* parent) : QSpinBox(parent) {
  setFocusPolicy(Qt::NoFocus);
  setButtonSymbols(QAbstractSpinBox::UpDownArrows);
  setWrapping(false);
  // Only the arrows: as wide as the style's up/down buttons plus the frame.
  QStyleOptionSpinBox option;
  initStyleOption(&option);
  const QRect arrows =
      style()->subControlRect(QStyle::CC_SpinBox, &option, QStyle::SC_SpinBoxUp, this);
  const int frame = style()->pixelMetric(QStyle::PM_SpinBoxFrameWidth, &option, this);
  setFixedWidth(arrows.width() + 2 * frame);
  // What is left of the text area takes the arrows' colour instead of a field's.
  QPalette palette = this->palette();
  palette.setColor(QPalette::Base, palette.color(QPalette::Button));
  setPalette(palette);
}

void Stepper::stepBy(int steps) {
  const int before = value();
  QSpinBox::stepBy(steps);
  if (value() != before) {
    emit stepped(value());
  }
}

QString Stepper::textFromValue(int /*value*/) const {
  return {};
}

}  // namespace vorrik
