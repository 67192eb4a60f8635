// SPDX-License-Identifier: MIT
#include "panel/VorrikPanel.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>
#include <QWindow>

#include <algorithm>
#include <array>
#include <cmath>
#include <span>
#include <string_view>
#include <utility>

#include "l10n/L.h"
#include "panel/Controls.h"
#include "panel/ReadInteger.h"
#include "panel/Theme.h"

namespace vorrik {
namespace {

// The catalogue text of key in the current language.
QString text(std::string_view key, const L::Values& values = {}) {
  return QString::fromStdString(L::t(key, values));
}

constexpr std::array<std::string_view, 5> kSectionKeys{"sec_interval", "sec_click", "sec_target",
                                                       "sec_stop", "sec_language"};
constexpr std::array<std::string_view, 4> kPresetKeys{"preset_game", "preset_idle",
                                                      "preset_refresh", "preset_custom"};
constexpr std::array<std::int64_t, 3> kPresetMs{120, 2500, 3000};
constexpr int kCustomPreset = 3;
constexpr std::array<std::string_view, 3> kTypeKeys{"left", "right", "double"};

constexpr std::int64_t kDefaultMs = 120;
constexpr std::int64_t kMaxMs = 60000;
constexpr std::int64_t kMinJitterMs = 5;
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

QStringList texts(std::span<const std::string_view> keys) {
  QStringList list;
  for (const auto key : keys) {
    list << text(key);
  }
  return list;
}

std::int64_t customInterval(const QString& content) {
  if (content.isEmpty()) {
    return kDefaultMs;
  }
  const std::int64_t ms = readInteger(content.toStdString()).value_or(kDefaultMs);
  return std::clamp(ms, ClickEngine::kIntervalFloorMs, kMaxMs);
}

// The burst readout for a number of clicks per tick.
QString burstText(std::int64_t burst) {
  return burst == 0 ? text("burst_off") : text("burst_x", {{"n", std::to_string(burst)}});
}

// A coordinate as the target line shows it: truncated toward zero, within 64 bits.
long long truncated(double value) {
  constexpr double kLimit = 1e15;
  return std::isfinite(value) ? static_cast<long long>(std::clamp(value, -kLimit, kLimit)) : 0;
}

// The first position of the current language among the supported ones, else 0.
int languageIndex() {
  const auto& supported = L::supported();
  const auto found = std::find(supported.begin(), supported.end(), L::lang());
  return found == supported.end() ? 0 : static_cast<int>(found - supported.begin());
}

}  // namespace

VorrikPanel::Services VorrikPanel::Services::from(Desktop& desktop, Sleeper& sleeper,
                                                  RandomSource& random,
                                                  std::unique_ptr<OneShotTimer> timer) {
  return {{desktop.mainQueue(), desktop.trust(), desktop.injector(), desktop.clickPointer(),
           sleeper, random},
          std::move(timer),
          desktop.center(),
          desktop.pickPointer(),
          desktop.input(),
          desktop.windows()};
}

VorrikPanel::VorrikPanel(Services services)
    : QWidget(nullptr),
      engine(services.engine, std::move(services.timer)),
      status(makeLabel(text("ready"), this, true)),
      dot(new Lamp(this)),
      startBtn(makeButton(text("start"), this)),
      presetPop(makePopUp(this)),
      customMs(new QLineEdit(QString(), this)),
      typePop(makePopUp(this)),
      burstStep(new Stepper(this)),
      burstLabel(makeLabel(text("burst_off"), this)),
      jitterCheck(new QCheckBox(text("jitter"), this)),
      maxClicks(new QLineEdit(QString(), this)),
      pointsLabel(makeLabel(text("target_cursor"), this, true)),
      addPointBtn(makeButton(text("add_point"), this)),
      clearPointsBtn(makeButton(text("clear"), this)),
      stats(makeLabel(text("zero_clicks"), this)),
      langPop(makePopUp(this)),
      pointer_(services.pointer),
      input_(services.input),
      windows_(services.windows) {
  // A floating utility panel with a title, close and minimise buttons but no maximise: its
  // size is fixed by its layout.
  // WindowDoesNotAcceptFocus: Qt would otherwise activate the window on every click.
  setWindowFlags(Qt::Tool | Qt::WindowStaysOnTopHint | Qt::CustomizeWindowHint |
                 Qt::WindowTitleHint | Qt::WindowCloseButtonHint | Qt::WindowMinimizeButtonHint |
                 Qt::WindowDoesNotAcceptFocus);
  setWindowTitle(QStringLiteral("Vorrik"));
  // Showing the panel must not take the keyboard from the application being clicked.
  setAttribute(Qt::WA_ShowWithoutActivating);
  // Closing the panel only hides it; the application ends through its Quit commands.
  setAttribute(Qt::WA_QuitOnClose, false);

  QPalette palette = this->palette();
  palette.setColor(QPalette::Window, theme::panelBackground());
  setPalette(palette);
  setAutoFillBackground(true);
  // Controls are sized like a desktop's 13-pixel interface font, whatever the platform's size.
  setFont(pixelFont(QApplication::font(), 13, QFont::Normal));

  buildUI();
  wire();
  installHotkey();

  adjustSize();
  if (const QScreen* screen = QGuiApplication::primaryScreen()) {
    move(screen->availableGeometry().center() - rect().center());
  }

  QPointer<VorrikPanel> self(this);
  services.center.addObserver(L::changed(), [self] {
    if (self) {
      self->relabel();
    }
  });
}

VorrikPanel::~VorrikPanel() = default;

void VorrikPanel::buildUI() {
  // The column sits in one fixed content widget so that a menu bar can later go above it
  // (layout()->setMenuBar) without moving or resizing anything in the column.
  auto* outer = new QVBoxLayout(this);
  outer->setContentsMargins(0, 0, 0, 0);
  outer->setSpacing(0);
  outer->setSizeConstraint(QLayout::SetFixedSize);
  auto* content = new QWidget(this);
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
  const auto addSection = [this, content, &add](std::string_view key) {
    QLabel* header = makeLabel(text(key), content);
    header->setFont(pixelFont(font(), 10, QFont::Bold));
    setTextColor(header, theme::tertiaryLabel());
    sectionLabels.emplace(std::string(key), header);
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
  status->setFont(pixelFont(font(), 13, QFont::Bold));
  dot->setFixedSize(kLampSize, kLampSize);
  dot->setColor(theme::lampStopped());
  auto* lampBox = new QVBoxLayout;
  const int lineHeight = QFontMetrics(status->font()).height();
  lampBox->setContentsMargins(0, std::max(0, (lineHeight - kLampSize) / 2), 0, 0);
  lampBox->addWidget(dot);
  lampBox->addStretch(1);
  headerRow->addLayout(lampBox);
  headerRow->addWidget(status, 1);
  add(header);

  startBtn->setFont(pixelFont(font(), 14, QFont::Bold));
  startBtn->setFixedWidth(kColumnWidth);
  add(startBtn);

  addSection(kSectionKeys[0]);
  presetPop->addItems(texts(kPresetKeys));
  presetPop->setCurrentIndex(0);
  customMs->setPlaceholderText(text("ms_placeholder"));
  customMs->setFixedWidth(110);
  customMs->setHidden(true);
  addRow({presetPop, customMs});

  addSection(kSectionKeys[1]);
  typePop->addItems(texts(kTypeKeys));
  typePop->setCurrentIndex(0);
  burstStep->setRange(0, kBurstMax);
  burstStep->setSingleStep(1);
  burstStep->setValue(0);
  addRow({typePop, burstLabel, burstStep});

  jitterCheck->setFocusPolicy(Qt::NoFocus);
  jitterCheck->setChecked(false);
  add(jitterCheck);

  addSection(kSectionKeys[2]);
  pointsLabel->setFont(pixelFont(font(), 12, QFont::Normal));
  setTextColor(pointsLabel, theme::secondaryLabel());
  // Full column width, so that a long list of points wraps at the column's edge.
  column->addWidget(pointsLabel);
  addRow({addPointBtn, clearPointsBtn});

  addSection(kSectionKeys[3]);
  maxClicks->setPlaceholderText(text("stop_placeholder"));
  maxClicks->setFixedWidth(kColumnWidth);
  add(maxClicks);

  stats->setFont(digitFont(font()));
  add(stats);

  addSection(kSectionKeys[4]);
  QStringList names;
  for (const std::string& code : L::supported()) {
    const auto name = L::names().find(code);
    names << QString::fromStdString(name == L::names().end() ? code : name->second);
  }
  langPop->addItems(names);
  langPop->setCurrentIndex(languageIndex());
  langPop->setFixedWidth(kColumnWidth);
  add(langPop);

  // The column hangs from the top; spare height stays below it.
  column->addStretch(1);

  // A click in a text field is the one time the panel wants the keyboard.
  customMs->installEventFilter(this);
  maxClicks->installEventFilter(this);
}

void VorrikPanel::wire() {
  connect(startBtn, &QPushButton::clicked, this, &VorrikPanel::toggle);
  // activated, not currentIndexChanged: selecting an item in code must not run the action.
  connect(presetPop, &QComboBox::activated, this, &VorrikPanel::presetChanged);
  connect(typePop, &QComboBox::activated, this, &VorrikPanel::typeChanged);
  connect(burstStep, &Stepper::stepped, this, &VorrikPanel::burstChanged);
  connect(addPointBtn, &QPushButton::clicked, this, &VorrikPanel::addPoint);
  connect(clearPointsBtn, &QPushButton::clicked, this, &VorrikPanel::clearPoints);
  connect(jitterCheck, &QCheckBox::clicked, this, &VorrikPanel::jitterChanged);
  connect(langPop, &QComboBox::activated, this, &VorrikPanel::langChanged);

  // The engine delivers both on the main thread; they must not keep a closed panel alive.
  QPointer<VorrikPanel> self(this);
  engine.onTick = [self](std::int64_t count) {
    if (!self) {
      return;
    }
    self->stats->setText(text("clicks_session", {{"n", std::to_string(count)}}));
  };
  engine.onStop = [self](const std::optional<std::string>& reason) {
    if (!self) {
      return;
    }
    self->setRunning(false);
    if (reason) {
      self->status->setText(QString::fromStdString(*reason));
    }
  };
}

void VorrikPanel::toggle() {
  if (engine.running()) {
    engine.stop(L::t("stopped"));
    return;
  }
  applySettings();
  status->setText(text("clicking"));
  setRunning(true);
  // Without accessibility trust the engine calls onStop before returning.
  engine.start();
}

void VorrikPanel::setRunning(bool running) {
  startBtn->setText(text(running ? "stop" : "start"));
  dot->setColor(running ? theme::lampRunning() : theme::lampStopped());
  if (!running && status->text() == text("clicking")) {
    status->setText(text("ready"));
  }
}

void VorrikPanel::applySettings() {
  const int preset = presetPop->currentIndex();
  std::int64_t ms = kPresetMs[0];
  if (preset == kCustomPreset) {
    ms = customInterval(customMs->text());
  } else if (preset > 0 && preset < kCustomPreset) {
    ms = kPresetMs[static_cast<std::size_t>(preset)];
  }
  engine.intervalMs = ms;
  engine.jitterMs = jitterCheck->isChecked() ? std::max(ms / 10, kMinJitterMs) : 0;
  engine.maxClicks = readInteger(maxClicks->text().toStdString()).value_or(0);
}

void VorrikPanel::presetChanged() {
  // Only the visibility changes: a value typed earlier is there again on a later return.
  customMs->setHidden(presetPop->currentIndex() != kCustomPreset);
}

void VorrikPanel::typeChanged() {
  const int index = typePop->currentIndex();
  if (index < 0 || index >= static_cast<int>(allClickTypes.size())) {
    return;
  }
  engine.clickType = allClickTypes[static_cast<std::size_t>(index)];
}

void VorrikPanel::burstChanged() {
  const int value = burstStep->value();
  engine.burst = value;
  burstLabel->setText(burstText(value));
}

void VorrikPanel::jitterChanged() {
  // Nothing to do: the check box is read when a run starts.
}

void VorrikPanel::langChanged() {
  const auto& supported = L::supported();
  const int index = std::max(langPop->currentIndex(), 0);
  if (index >= static_cast<int>(supported.size())) {
    return;
  }
  // Storing the language posts the change notification, which relabels the panel.
  L::setLang(supported[static_cast<std::size_t>(index)]);
}

void VorrikPanel::addPoint() {
  const std::size_t held = engine.points.size();
  if (held >= kMaxPoints) {
    status->setText(text("max_points"));
    return;
  }
  status->setText(text("click_to_set", {{"n", std::to_string(held + 1)}}));
  // Only reachable from the keyboard while a pick is pending (a press on the button ends it
  // first): one pair of monitors at a time.
  endPick();
  QPointer<VorrikPanel> self(this);
  if (input_ != nullptr) {
    pickMonitor = input_->addLeftPressMonitor([self] {
      if (self) {
        self->capture();
      }
    });
  }
  // The in-process twin: a press on one of this application's windows ends the pick before
  // the press reaches the control under it, whatever order the display reports it in.
  pickLocal = true;
  qApp->installEventFilter(this);
}

void VorrikPanel::endPick() {
  if (pickMonitor) {
    input_->remove(*pickMonitor);
    pickMonitor.reset();
  }
  if (pickLocal) {
    qApp->removeEventFilter(this);
    pickLocal = false;
  }
}

void VorrikPanel::capture() {
  endPick();
  // Where the pointer is now, not where the press was reported: the same space clicks use.
  if (const std::optional<ClickPoint> at = pointer_.query()) {
    // The frame in device pixels, the pointer's unit, with the right and bottom edges outside.
    const qreal ratio = devicePixelRatioF();
    const QRectF frame(QPointF(frameGeometry().topLeft()) * ratio,
                       QSizeF(frameGeometry().size()) * ratio);
    const bool onPanel = at->x >= frame.left() && at->x < frame.left() + frame.width() &&
                         at->y >= frame.top() && at->y < frame.top() + frame.height();
    if (!onPanel) {
      engine.points.append(*at);
      pointsLabel->setText(pointsText());
    }
  }
  // Without a screen there is no point to take; the pick still ends.
  status->setText(text("ready"));
}

QString VorrikPanel::pointsText() const {
  const PointList::Snapshot points = engine.points.snapshot();
  std::string list;
  for (const ClickPoint& point : *points) {
    if (!list.empty()) {
      list += ' ';
    }
    list +=
        '(' + std::to_string(truncated(point.x)) + ',' + std::to_string(truncated(point.y)) + ')';
  }
  return text("target_points", {{"n", std::to_string(points->size())}, {"list", list}});
}

void VorrikPanel::clearPoints() {
  // The status line and a pending pick stay as they are.
  engine.points.clear();
  pointsLabel->setText(text("target_cursor"));
}

void VorrikPanel::installHotkey() {
  if (input_ == nullptr) {
    return;
  }
  QPointer<VorrikPanel> self(this);
  hotkeyMonitor = input_->addKeyMonitor([self](Key key) {
    if (key != Key::f6 || !self) {
      return;
    }
    // A key meant for this application itself (a text field of the panel, an open menu) is
    // not a global hotkey; only other applications' F6 toggles. The display knows where the
    // keyboard is at once; Qt's focus window follows only some 100 ms later.
    const bool ours =
        self->input_->keyboardInThisProcess().value_or(QGuiApplication::focusWindow() != nullptr);
    if (ours || QApplication::activePopupWidget() != nullptr) {
      return;
    }
    // Later, on the main loop: presses in quick succession toggle once each, in order.
    QMetaObject::invokeMethod(self, &VorrikPanel::toggle, Qt::QueuedConnection);
  });
}

void VorrikPanel::relabel() {
  for (const auto& [key, label] : sectionLabels) {
    label->setText(text(key));
  }
  // Refilling a pop-up by index does not run its action, so the engine is left alone.
  const int preset = presetPop->currentIndex();
  const int type = typePop->currentIndex();
  presetPop->clear();
  presetPop->addItems(texts(kPresetKeys));
  presetPop->setCurrentIndex(std::max(preset, 0));
  typePop->clear();
  typePop->addItems(texts(kTypeKeys));
  typePop->setCurrentIndex(std::max(type, 0));

  customMs->setPlaceholderText(text("ms_placeholder"));
  maxClicks->setPlaceholderText(text("stop_placeholder"));
  jitterCheck->setText(text("jitter"));
  addPointBtn->setText(text("add_point"));
  clearPointsBtn->setText(text("clear"));

  const bool running = engine.running();
  startBtn->setText(text(running ? "stop" : "start"));
  // A run's own status and count stay until its next tick or its end.
  if (!running) {
    status->setText(text("ready"));
    stats->setText(text("zero_clicks"));
  }
  burstLabel->setText(burstText(engine.burst));
  pointsLabel->setText(engine.points.empty() ? text("target_cursor") : pointsText());
  langPop->setCurrentIndex(languageIndex());
}

void VorrikPanel::keyPressEvent(QKeyEvent* event) {
  // Return (or keypad Enter) is the start/stop button's key while the panel has the keyboard.
  const bool plain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
  if (plain && (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)) {
    startBtn->click();
    return;
  }
  QWidget::keyPressEvent(event);
}

void VorrikPanel::present() {
  setWindowState(windowState() & ~Qt::WindowMinimized);
  show();
  raise();
  setTakesKeyboard(true);
  activateWindow();
}

void VorrikPanel::setTakesKeyboard(bool takes) {
  // On the window itself rather than the widget, which would re-create a shown window.
  if (QWindow* window = windowHandle();
      window != nullptr && window->flags().testFlag(Qt::WindowDoesNotAcceptFocus) == takes) {
    window->setFlag(Qt::WindowDoesNotAcceptFocus, !takes);
  }
  if (windows_ != nullptr) {
    windows_->setTakesKeyboard(winId(), takes);
  }
}

void VorrikPanel::showEvent(QShowEvent* event) {
  // Sent before the window is mapped, so these reach the window manager as the window's wishes.
  if (windows_ != nullptr) {
    windows_->showOnAllWorkspaces(winId());
  }
  setTakesKeyboard(false);
  QWidget::showEvent(event);
}

bool VorrikPanel::event(QEvent* event) {
  // Once the user works elsewhere, clicks on the panel leave the keyboard alone again.
  if (event->type() == QEvent::WindowDeactivate) {
    setTakesKeyboard(false);
  }
  return QWidget::event(event);
}

bool VorrikPanel::eventFilter(QObject* watched, QEvent* event) {
  // Installed on the application while a pick is pending; the press goes on afterwards.
  if (pickLocal && event->type() == QEvent::MouseButtonPress &&
      static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) {
    capture();
  }
  if (event->type() == QEvent::MouseButtonPress && (watched == customMs || watched == maxClicks)) {
    setTakesKeyboard(true);
    activateWindow();
    static_cast<QWidget*>(watched)->setFocus(Qt::MouseFocusReason);
  }
  return QWidget::eventFilter(watched, event);
}

}  // namespace vorrik
