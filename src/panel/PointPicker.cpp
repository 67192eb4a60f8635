// SPDX-License-Identifier: MIT
#include "panel/PointPicker.h"

#include <QApplication>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPointer>
#include <QWidget>

#include <utility>

namespace vorrik::ui {

PointPicker::PointPicker(Pointer& pointer, InputMonitor* input, const QWidget& excluded, Done done)
    : pointer_(pointer), input_(input), excluded_(excluded), done_(std::move(done)) {}

PointPicker::~PointPicker() {
  end();
}

void PointPicker::arm() {
  // One pair of monitors at a time: a press ends a pending pick before the button that arms the
  // next one acts, but the keyboard or code can arm again while one is pending.
  end();
  QPointer<PointPicker> self(this);
  if (input_ != nullptr) {
    monitor_ = input_->addLeftPressMonitor([self] {
      if (self) {
        self->capture();
      }
    });
  }
  // The in-process twin: a press on one of this application's windows ends the pick before the
  // press reaches the control under it, whatever order the display reports it in.
  filtering_ = true;
  qApp->installEventFilter(this);
}

void PointPicker::end() {
  if (monitor_) {
    input_->remove(*monitor_);
    monitor_.reset();
  }
  if (filtering_) {
    qApp->removeEventFilter(this);
    filtering_ = false;
  }
}

void PointPicker::capture() {
  end();
  // Where the pointer is now, not where the press was reported: the same space clicks use.
  std::optional<ClickPoint> at = pointer_.query();
  // A Wayland client does not know where its windows are; there the picking backend itself
  // answers nothing for a press on this application's windows.
  if (at && !QGuiApplication::platformName().startsWith(QLatin1String("wayland"))) {
    // The frame in device pixels, the pointer's unit, with the right and bottom edges outside.
    const qreal ratio = excluded_.devicePixelRatioF();
    const QRect geometry = excluded_.frameGeometry();
    const QRectF frame(QPointF(geometry.topLeft()) * ratio, QSizeF(geometry.size()) * ratio);
    const bool onExcluded = at->x >= frame.left() && at->x < frame.left() + frame.width() &&
                            at->y >= frame.top() && at->y < frame.top() + frame.height();
    if (onExcluded) {
      at.reset();
    }
  }
  done_(at);
}

bool PointPicker::eventFilter(QObject* watched, QEvent* event) {
  // Installed on the application while a pick is pending; the press goes on afterwards.
  if (filtering_ && event->type() == QEvent::MouseButtonPress &&
      static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) {
    capture();
  }
  // Escape cancels wherever the keyboard stays with this application during a pick (a cover
  // that cannot take the keyboard leaves it with the panel); it is not passed on.
  if (filtering_ && event->type() == QEvent::KeyPress &&
      static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
    end();
    done_(std::nullopt);
    return true;
  }
  return QObject::eventFilter(watched, event);
}

}  // namespace vorrik::ui
