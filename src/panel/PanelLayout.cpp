// SPDX-License-Identifier: MIT
#include "panel/PanelLayout.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "panel/Controls.h"
#include "panel/PanelTexts.h"
#include "panel/Theme.h"

namespace vorrik::ui {
namespace {

// The width of the column and of every full-width item in it.
constexpr int kColumnWidth = 272;
constexpr int kContentWidth = 300;
constexpr int kContentHeight = 480;
constexpr int kBurstMax = 10;
constexpr int kLampSize = 10;
constexpr int kRowSpacing = 6;

// Font sizes are logical pixels, so the column looks the same at every screen density.
QFont pixelFont(const QFont& base, int pixels, QFont::Weight weight) {
  QFont font = base;
  font.setPixelSize(pixels);
  font.setWeight(weight);
  return font;
}

// The statistics line must not jiggle while its count changes: the interface font when all its
// digits are equally wide (most are), else the system's fixed-pitch font.
QFont digitFont(const QFont& base) {
  const QFont font = pixelFont(base, 12, QFont::DemiBold);
  const QFontMetricsF metrics(font);
  const qreal zero = metrics.horizontalAdvance(QLatin1Char('0'));
  bool tabular = true;
  for (char digit = '1'; digit <= '9'; ++digit) {
    tabular = tabular && qFuzzyCompare(metrics.horizontalAdvance(QLatin1Char(digit)), zero);
  }
  if (tabular) {
    return font;
  }
  return pixelFont(QFontDatabase::systemFont(QFontDatabase::FixedFont), 12, QFont::DemiBold);
}

void setTextColor(QWidget* widget, const QColor& color) {
  QPalette palette = widget->palette();
  palette.setColor(QPalette::WindowText, color);
  widget->setPalette(palette);
}

// Long texts (a refusal, five points) wrap inside the column instead of being cut off.
QLabel* makeLabel(const QString& content, QWidget* parent, bool wraps = false) {
  auto* label = new QLabel(content, parent);
  label->setTextInteractionFlags(Qt::NoTextInteraction);
  label->setWordWrap(wraps);
  return label;
}

QPushButton* makeButton(const QString& title, QWidget* parent) {
  auto* button = new QPushButton(title, parent);
  button->setFocusPolicy(Qt::NoFocus);
  button->setAutoDefault(false);
  return button;
}

QComboBox* makePopUp(QWidget* parent) {
  auto* popUp = new QComboBox(parent);
  popUp->setFocusPolicy(Qt::NoFocus);
  popUp->setSizeAdjustPolicy(QComboBox::AdjustToContents);
  return popUp;
}

}  // namespace

PanelWidgets makeWidgets(QWidget* window) {
  // In this order: it is the order of the window's children.
  PanelWidgets w;
  w.status = makeLabel(text("ready"), window, true);
  w.dot = new Lamp(window);
  w.startBtn = makeButton(text("start"), window);
  w.presetPop = makePopUp(window);
  w.customMs = new QLineEdit(QString(), window);
  w.typePop = makePopUp(window);
  w.burstStep = new Stepper(window);
  w.burstLabel = makeLabel(text("burst_off"), window);
  w.jitterCheck = new QCheckBox(text("jitter"), window);
  w.maxClicks = new QLineEdit(QString(), window);
  w.pointsLabel = makeLabel(text("target_cursor"), window, true);
  w.addPointBtn = makeButton(text("add_point"), window);
  w.clearPointsBtn = makeButton(text("clear"), window);
  w.stats = makeLabel(text("zero_clicks"), window);
  w.langPop = makePopUp(window);
  return w;
}

void styleWindow(QWidget* window) {
  // A floating utility panel with a title, close and minimise buttons but no maximise: its
  // size is fixed by its layout.
  // WindowDoesNotAcceptFocus: Qt would otherwise activate the window on every click.
  window->setWindowFlags(Qt::Tool | Qt::WindowStaysOnTopHint | Qt::CustomizeWindowHint |
                         Qt::WindowTitleHint | Qt::WindowCloseButtonHint |
                         Qt::WindowMinimizeButtonHint | Qt::WindowDoesNotAcceptFocus);
  window->setWindowTitle(QStringLiteral("Vorrik"));
  // Showing the panel must not take the keyboard from the application being clicked.
  window->setAttribute(Qt::WA_ShowWithoutActivating);
  // Closing the panel only hides it; the application ends through its Quit commands.
  window->setAttribute(Qt::WA_QuitOnClose, false);

  QPalette palette = window->palette();
  palette.setColor(QPalette::Window, theme::panelBackground());
  window->setPalette(palette);
  window->setAutoFillBackground(true);
  // Controls are sized like a desktop's 13-pixel interface font, whatever the platform's size.
  window->setFont(pixelFont(QApplication::font(), 13, QFont::Normal));
}

void layOut(QWidget* window, PanelWidgets& w) {
  const QFont& font = window->font();
  // The column sits in one fixed content widget so that a menu bar can later go above it
  // (layout()->setMenuBar) without moving or resizing anything in the column.
  auto* outer = new QVBoxLayout(window);
  outer->setContentsMargins(0, 0, 0, 0);
  outer->setSpacing(0);
  outer->setSizeConstraint(QLayout::SetFixedSize);
  auto* content = new QWidget(window);
  content->setObjectName(QStringLiteral("content"));
  content->setFixedSize(kContentWidth, kContentHeight);
  outer->addWidget(content);

  auto* column = new QVBoxLayout(content);
  column->setSpacing(8);
  column->setContentsMargins(14, 12, 14, 0);
  const auto add = [column](QWidget* widget) { column->addWidget(widget, 0, Qt::AlignLeft); };
  const auto addRow = [column](std::initializer_list<QWidget*> widgets) {
    auto* row = new QHBoxLayout;
    row->setSpacing(kRowSpacing);
    for (QWidget* widget : widgets) {
      row->addWidget(widget, 0, Qt::AlignVCenter);
    }
    row->addStretch(1);
    column->addLayout(row);
  };
  const auto addSection = [&w, &font, content, &add](std::string_view key) {
    QLabel* header = makeLabel(text(key), content);
    header->setFont(pixelFont(font, 10, QFont::Bold));
    setTextColor(header, theme::tertiaryLabel());
    w.sectionLabels.emplace(std::string(key), header);
    add(header);
  };

  // Header: lamp, status line, spare width. The lamp stays level with the first line when a
  // long status wraps.
  auto* header = new QWidget(content);
  header->setObjectName(QStringLiteral("header"));
  header->setFixedWidth(kColumnWidth);
  auto* headerRow = new QHBoxLayout(header);
  headerRow->setContentsMargins(0, 0, 0, 0);
  headerRow->setSpacing(8);
  w.status->setFont(pixelFont(font, 13, QFont::Bold));
  w.dot->setFixedSize(kLampSize, kLampSize);
  w.dot->setColor(theme::lampStopped());
  auto* lampBox = new QVBoxLayout;
  const int lineHeight = QFontMetrics(w.status->font()).height();
  lampBox->setContentsMargins(0, std::max(0, (lineHeight - kLampSize) / 2), 0, 0);
  lampBox->addWidget(w.dot);
  lampBox->addStretch(1);
  headerRow->addLayout(lampBox);
  headerRow->addWidget(w.status, 1);
  add(header);

  w.startBtn->setFont(pixelFont(font, 14, QFont::Bold));
  w.startBtn->setFixedWidth(kColumnWidth);
  add(w.startBtn);

  addSection(kSectionKeys[0]);
  w.presetPop->addItems(texts(kPresetKeys));
  w.presetPop->setCurrentIndex(0);
  w.customMs->setPlaceholderText(text("ms_placeholder"));
  w.customMs->setFixedWidth(110);
  w.customMs->setHidden(true);
  addRow({w.presetPop, w.customMs});

  addSection(kSectionKeys[1]);
  w.typePop->addItems(texts(kTypeKeys));
  w.typePop->setCurrentIndex(0);
  w.burstStep->setRange(0, kBurstMax);
  w.burstStep->setSingleStep(1);
  w.burstStep->setValue(0);
  addRow({w.typePop, w.burstLabel, w.burstStep});

  w.jitterCheck->setFocusPolicy(Qt::NoFocus);
  w.jitterCheck->setChecked(false);
  add(w.jitterCheck);

  addSection(kSectionKeys[2]);
  w.pointsLabel->setFont(pixelFont(font, 12, QFont::Normal));
  setTextColor(w.pointsLabel, theme::secondaryLabel());
  // Full column width, so that a long list of points wraps at the column's edge.
  column->addWidget(w.pointsLabel);
  addRow({w.addPointBtn, w.clearPointsBtn});

  addSection(kSectionKeys[3]);
  w.maxClicks->setPlaceholderText(text("stop_placeholder"));
  w.maxClicks->setFixedWidth(kColumnWidth);
  add(w.maxClicks);

  w.stats->setFont(digitFont(font));
  add(w.stats);

  addSection(kSectionKeys[4]);
  w.langPop->addItems(languageNames());
  w.langPop->setCurrentIndex(languageIndex());
  w.langPop->setFixedWidth(kColumnWidth);
  add(w.langPop);

  // The column hangs from the top; spare height stays below it.
  column->addStretch(1);
}

void refill(QComboBox* popUp, const QStringList& items) {
  const int selected = popUp->currentIndex();
  popUp->clear();
  popUp->addItems(items);
  popUp->setCurrentIndex(std::max(selected, 0));
}

}  // namespace vorrik::ui
