// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "engine/ClickEngine.h"
#include "platform/Desktop.h"
#include "platform/InputMonitor.h"
#include "platform/NotificationCenter.h"
#include "platform/OneShotTimer.h"
#include "platform/Pointer.h"
#include "platform/WindowSystem.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace vorrik {

class Lamp;
class Stepper;

// The application's one control window: a floating utility panel that stays above other
// windows, shows on every workspace and keeps the keyboard away from the application being
// clicked unless one of its text fields is clicked. One column holds every control.
class VorrikPanel : public QWidget {
  Q_OBJECT

 public:
  // What the panel and its engine run on; every reference and pointer must outlive the panel.
  struct Services {
    ClickEngine::Ports engine;
    std::unique_ptr<OneShotTimer> timer;
    // Delivers the language-change notification.
    NotificationCenter& center;
    // Where the pointer is when a pick ends; the panel's own, read on the main thread.
    Pointer& pointer;
    // Global key and mouse observation; null leaves the hotkey and point picking inert.
    InputMonitor* input = nullptr;
    // Window-manager requests; null when there is no window manager to ask.
    WindowSystem* windows = nullptr;

    // Everything from one desktop, the machine's pauses and random numbers, and the timer.
    static Services from(Desktop& desktop, Sleeper& sleeper, RandomSource& random,
                         std::unique_ptr<OneShotTimer> timer);
  };

  // Builds, wires and centres the panel; it is not shown.
  explicit VorrikPanel(Services services);
  ~VorrikPanel() override;
  VorrikPanel(const VorrikPanel&) = delete;
  VorrikPanel& operator=(const VorrikPanel&) = delete;

  // The fields, created once by the constructor and never replaced.
  ClickEngine engine;
  QLabel* const status;
  Lamp* const dot;
  QPushButton* const startBtn;
  QComboBox* const presetPop;
  QLineEdit* const customMs;
  QComboBox* const typePop;
  Stepper* const burstStep;
  QLabel* const burstLabel;
  QCheckBox* const jitterCheck;
  QLineEdit* const maxClicks;
  QLabel* const pointsLabel;
  QPushButton* const addPointBtn;
  QPushButton* const clearPointsBtn;
  QLabel* const stats;
  QComboBox* const langPop;
  // The five section headers by catalogue key.
  std::map<std::string, QLabel*> sectionLabels;
  // The global F6 monitor, installed once for the life of the panel.
  std::optional<InputMonitor::Handle> hotkeyMonitor;
  // The pending pick's display-wide left-press monitor, and its in-process twin that sees a
  // press on this application's own windows before the press is handed on: set together by
  // addPoint, cleared together by the first press.
  std::optional<InputMonitor::Handle> pickMonitor;
  bool pickLocal = false;

  // The most points a user can pick.
  static constexpr std::size_t kMaxPoints = 5;

  // The width of the column and of every full-width item in it.
  static constexpr int kColumnWidth = 272;
  static constexpr int kContentWidth = 300;
  static constexpr int kContentHeight = 480;

 public slots:  // NOLINT(readability-redundant-access-specifiers): moc needs the slot section
  // Shows the panel in front with the keyboard, as launching Vorrik or Show Vorrik asks; any
  // other click on it leaves the keyboard with the application being clicked.
  void present();
  // Starts a stopped run with the panel's settings, or stops the run in progress.
  void toggle();
  // Starts a run unless one is in progress.
  void startRun();
  // Stops the run in progress, if any.
  void stopRun();

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void showEvent(QShowEvent* event) override;
  bool event(QEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void buildUI();
  void wire();
  void installHotkey();

  // Control actions.
  void presetChanged();
  void typeChanged();
  void burstChanged();
  void jitterChanged();
  void addPoint();
  void clearPoints();
  void langChanged();

  // Ends the pending pick and, unless the pointer is on the panel, appends the pointer's
  // position to the engine's points.
  void capture();
  // The target line for a non-empty list of points.
  QString pointsText() const;
  // Removes the pending pick's monitors, if any.
  void endPick();

  // Writes the interval, jitter and stop-after count of the controls into the engine.
  void applySettings();
  void setRunning(bool running);
  // Lets a click or an activation hand the panel the keyboard (true), or never (false).
  void setTakesKeyboard(bool takes);
  // Rewrites every text in the current language.
  void relabel();

  // Where the pointer is when a pick ends.
  Pointer& pointer_;
  InputMonitor* input_;
  WindowSystem* windows_;
};

}  // namespace vorrik
