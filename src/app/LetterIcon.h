// SPDX-License-Identifier: MIT
#pragma once

#include <QIcon>
#include <QIconEngine>

namespace vorrik {

// The application's mark, a bold "V" on a dark rounded square, drawn at run time for whatever
// size and device pixel ratio is asked, so it is crisp in every tray and title bar.
class LetterIconEngine final : public QIconEngine {
 public:
  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override;
  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override;
  QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state,
                       qreal scale) override;
  [[nodiscard]] QIconEngine* clone() const override;
  [[nodiscard]] QString key() const override;
};

// The mark as an icon.
QIcon letterIcon();

}  // namespace vorrik
