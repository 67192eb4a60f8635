// SPDX-License-Identifier: MIT
#include "app/LetterIcon.h"

#include <QFont>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

#include <algorithm>

namespace vorrik {
namespace {

// The panel's background and its running lamp, so the mark matches the window it stands for.
constexpr QColor kBadge{5, 20, 43};
constexpr QColor kLetter{61, 232, 181};
constexpr QColor kRim{61, 232, 181, 90};

}  // namespace

void LetterIconEngine::paint(QPainter* painter, const QRect& rect, QIcon::Mode mode,
                             QIcon::State /*state*/) {
  const qreal side = std::min(rect.width(), rect.height());
  if (side <= 0) {
    return;
  }
  const QRectF square(rect.x() + (rect.width() - side) / 2.0,
                      rect.y() + (rect.height() - side) / 2.0, side, side);

  painter->save();
  painter->setRenderHint(QPainter::Antialiasing);
  if (mode == QIcon::Disabled) {
    painter->setOpacity(0.45);
  }

  // A faint rim keeps the badge visible on trays as dark as itself.
  const qreal rim = std::max(1.0, side / 32.0);
  const QRectF badge = square.adjusted(rim / 2, rim / 2, -rim / 2, -rim / 2);
  painter->setPen(QPen(kRim, rim));
  painter->setBrush(kBadge);
  painter->drawRoundedRect(badge, side * 0.22, side * 0.22);

  // The glyph is centred by its outline, not by font metrics, so it sits in the middle
  // whichever bold face the system supplies.
  QFont font;
  font.setBold(true);
  font.setWeight(QFont::Black);
  font.setPixelSize(100);
  QPainterPath glyph;
  glyph.addText(0, 0, font, QStringLiteral("V"));
  const QRectF bounds = glyph.boundingRect();
  if (!bounds.isEmpty()) {
    const qreal scale = side * 0.62 / std::max(bounds.width(), bounds.height());
    QTransform place;
    place.translate(square.center().x(), square.center().y());
    place.scale(scale, scale);
    place.translate(-bounds.center().x(), -bounds.center().y());
    painter->setPen(Qt::NoPen);
    painter->setBrush(kLetter);
    painter->drawPath(place.map(glyph));
  }
  painter->restore();
}

QPixmap LetterIconEngine::pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) {
  return scaledPixmap(size, mode, state, 1.0);
}

QPixmap LetterIconEngine::scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state,
                                       qreal scale) {
  const QSize device = (QSizeF(size) * scale).toSize();
  if (device.isEmpty()) {
    return {};
  }
  QPixmap pixmap(device);
  pixmap.fill(Qt::transparent);
  {
    QPainter painter(&pixmap);
    paint(&painter, QRect(QPoint(0, 0), device), mode, state);
  }
  pixmap.setDevicePixelRatio(scale);
  return pixmap;
}

QIconEngine* LetterIconEngine::clone() const {
  return new LetterIconEngine;
}

QString LetterIconEngine::key() const {
  return QStringLiteral("vorrik-letter");
}

QIcon letterIcon() {
  return QIcon(new LetterIconEngine);
}

}  // namespace vorrik
