// SPDX-License-Identifier: MIT
#include "panel/VorrikPanel.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QWindow>

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>

#include "l10n/L.h"
#include "panel/Controls.h"
#include "panel/PanelTexts.h"
#include "panel/Theme.h"

namespace vorrik {
namespace {

// The most points a user can pick.
constexpr std::size_t kMaxPoints = 5;

}  // namespace

using ui::text;

VorrikPanel::Services VorrikPanel::Services::from(Desktop& desktop, Sleeper& sleeper,
                                                  RandomSource& random,
                                                  std::unique_ptr<OneShotTimer> timer) {
  return {{desktop.mainQueue(), desktop.trust(), desktop.injector(), sleeper, random},
          std::move(timer),
          desktop.center(),
          desktop.picker(),
          desktop.input(),
          desktop.windows()};
}

VorrikPanel::VorrikPanel(Services services)
    : QWidget(nullptr),
      engine_(services.engine, std::move(services.timer)),
      ui_(ui::makeWidgets(this)),
      picker_(services.picker),
      cancelPick_(new QShortcut(QKeySequence(Qt::Key_Escape), this)),
      input_(services.input),
      windows_(services.windows) {
  ui::styleWindow(this);
  ui::layOut(this, ui_);
  // A click in a text field is the one time the panel wants the keyboard.
  ui_.customMs->installEventFilter(this);
  ui_.maxClicks->installEventFilter(this);

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

VorrikPanel::~VorrikPanel() {
  // The desktop's pick outlives the panel: no report may reach it afterwards.
  picker_.cancel();
}

void VorrikPanel::wire() {
  connect(ui_.startBtn, &QPushButton::clicked, this, &VorrikPanel::toggle);
  // activated, not currentIndexChanged: selecting an item in code must not run the action.
  connect(ui_.presetPop, &QComboBox::activated, this, &VorrikPanel::presetChanged);
  connect(ui_.typePop, &QComboBox::activated, this, &VorrikPanel::typeChanged);
  connect(ui_.burstStep, &Stepper::stepped, this, &VorrikPanel::burstChanged);
  connect(ui_.addPointBtn, &QPushButton::clicked, this, &VorrikPanel::addPoint);
  cancelPick_->setContext(Qt::ApplicationShortcut);
  cancelPick_->setEnabled(false);
  connect(cancelPick_, &QShortcut::activated, this, [this] {
    picker_.cancel();
    picked(std::nullopt);
  });
  connect(ui_.clearPointsBtn, &QPushButton::clicked, this, &VorrikPanel::clearPoints);
  // The jitter box needs no action: it is read when a run starts.
  connect(ui_.langPop, &QComboBox::activated, this, &VorrikPanel::langChanged);

  // The engine delivers both on the main thread; they must not keep a closed panel alive.
  QPointer<VorrikPanel> self(this);
  engine_.onTick = [self](std::int64_t count) {
    if (self) {
      self->ui_.stats->setText(ui::clicksText(count));
    }
  };
  engine_.onStop = [self](const std::optional<std::string>& reason) {
    if (!self) {
      return;
    }
    self->setRunning(false);
    if (reason) {
      self->ui_.status->setText(QString::fromStdString(*reason));
    }
  };
}

void VorrikPanel::toggle() {
  if (engine_.running()) {
    engine_.stop(L::t("stopped"));
    return;
  }
  applySettings();
  ui_.status->setText(text("clicking"));
  setRunning(true);
  // Without trust the engine calls onStop before returning, unless the desktop remembers the
  // user's consent: then the run waits for the desktop's grant before its first click.
  engine_.start();
}

void VorrikPanel::startRun() {
  if (!engine_.running()) {
    toggle();
  }
}

void VorrikPanel::stopRun() {
  if (engine_.running()) {
    toggle();
  }
}

void VorrikPanel::setHotkeyMissing(bool missing) {
  const bool idle = ui_.status->text() == readyText();
  hotkeyMissing_ = missing;
  if (idle) {
    ui_.status->setText(readyText());
  }
}

QString VorrikPanel::readyText() const {
  return text(hotkeyMissing_ ? "f6_missing" : "ready");
}

void VorrikPanel::setRunning(bool running) {
  ui_.startBtn->setText(text(running ? "stop" : "start"));
  ui_.dot->setColor(running ? theme::lampRunning() : theme::lampStopped());
  if (!running && ui_.status->text() == text("clicking")) {
    ui_.status->setText(readyText());
  }
}

void VorrikPanel::applySettings() {
  const ui::RunSettings settings =
      ui::readSettings(ui_.presetPop->currentIndex(), ui_.customMs->text(),
                       ui_.jitterCheck->isChecked(), ui_.maxClicks->text());
  engine_.intervalMs = settings.intervalMs;
  engine_.jitterMs = settings.jitterMs;
  engine_.maxClicks = settings.maxClicks;
}

void VorrikPanel::presetChanged() {
  // Only the visibility changes: a value typed earlier is there again on a later return.
  ui_.customMs->setHidden(ui_.presetPop->currentIndex() != ui::kCustomPreset);
}

void VorrikPanel::typeChanged() {
  const int index = ui_.typePop->currentIndex();
  if (index < 0 || index >= static_cast<int>(allClickTypes.size())) {
    return;
  }
  engine_.clickType = allClickTypes[static_cast<std::size_t>(index)];
}

void VorrikPanel::burstChanged() {
  const int value = ui_.burstStep->value();
  engine_.burst = value;
  ui_.burstLabel->setText(ui::burstText(value));
}

void VorrikPanel::langChanged() {
  const auto& supported = L::supported();
  const int index = std::max(ui_.langPop->currentIndex(), 0);
  if (index >= static_cast<int>(supported.size())) {
    return;
  }
  // Storing the language posts the change notification, which relabels the panel.
  L::setLang(supported[static_cast<std::size_t>(index)]);
}

void VorrikPanel::addPoint() {
  const std::size_t held = engine_.points.size();
  if (held >= kMaxPoints) {
    ui_.status->setText(text("max_points"));
    return;
  }
  ui_.status->setText(text("click_to_set", {{"n", std::to_string(held + 1)}}));
  cancelPick_->setEnabled(true);
  picker_.start([this](std::optional<ClickPoint> at) { picked(at); });
}

void VorrikPanel::picked(std::optional<ClickPoint> at) {
  cancelPick_->setEnabled(false);
  if (at) {
    engine_.points.append(*at);
    ui_.pointsLabel->setText(ui::targetText(*engine_.points.snapshot()));
  }
  // Without a screen, or on the panel, there is no point to take; the pick still ends.
  ui_.status->setText(readyText());
}

void VorrikPanel::clearPoints() {
  // The status line and a pending pick stay as they are.
  engine_.points.clear();
  ui_.pointsLabel->setText(text("target_cursor"));
}

void VorrikPanel::installHotkey() {
  if (input_ == nullptr) {
    return;
  }
  QPointer<VorrikPanel> self(this);
  hotkeyMonitor_ = input_->addKeyMonitor([self](Key key) {
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
  for (const auto& [key, label] : ui_.sectionLabels) {
    label->setText(text(key));
  }
  // Refilling a pop-up by index does not run its action, so the engine is left alone.
  ui::refill(ui_.presetPop, ui::texts(ui::kPresetKeys));
  ui::refill(ui_.typePop, ui::texts(ui::kTypeKeys));

  ui_.customMs->setPlaceholderText(text("ms_placeholder"));
  ui_.maxClicks->setPlaceholderText(text("stop_placeholder"));
  ui_.jitterCheck->setText(text("jitter"));
  ui_.addPointBtn->setText(text("add_point"));
  ui_.clearPointsBtn->setText(text("clear"));

  const bool running = engine_.running();
  ui_.startBtn->setText(text(running ? "stop" : "start"));
  // A run's own status and count stay until its next tick or its end.
  if (!running) {
    ui_.status->setText(readyText());
    ui_.stats->setText(text("zero_clicks"));
  }
  ui_.burstLabel->setText(ui::burstText(engine_.burst));
  ui_.pointsLabel->setText(ui::targetText(*engine_.points.snapshot()));
  ui_.langPop->setCurrentIndex(ui::languageIndex());
}

void VorrikPanel::keyPressEvent(QKeyEvent* event) {
  // Return (or keypad Enter) is the start/stop button's key while the panel has the keyboard.
  const bool plain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
  if (plain && (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)) {
    ui_.startBtn->click();
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
  // Installed on the two text fields.
  if (event->type() == QEvent::MouseButtonPress &&
      (watched == ui_.customMs || watched == ui_.maxClicks)) {
    setTakesKeyboard(true);
    activateWindow();
    static_cast<QWidget*>(watched)->setFocus(Qt::MouseFocusReason);
  }
  return QWidget::eventFilter(watched, event);
}

}  // namespace vorrik
