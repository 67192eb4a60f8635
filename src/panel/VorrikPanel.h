// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

class QShortcut;

#include <memory>
#include <optional>

#include "engine/ClickEngine.h"
#include "panel/PanelLayout.h"
#include "platform/Desktop.h"
#include "platform/InputMonitor.h"
#include "platform/NotificationCenter.h"
#include "platform/OneShotTimer.h"
#include "platform/PointPick.h"
#include "platform/WindowSystem.h"

namespace vorrik {

namespace test {
struct PanelProbe;
}  // namespace test

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
    // How the user shows a click point.
    PointPick& picker;
    // Global key observation; null leaves the hotkey inert.
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

  // The panel's engine, for whoever must halt it before the process ends.
  ClickEngine& engine() { return engine_; }

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
  // Whether the status line, where it would say Ready, says instead that F6 is not available
  // and how to bind `vorrik --toggle`.
  void setHotkeyMissing(bool missing);

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void showEvent(QShowEvent* event) override;
  bool event(QEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  // Tests read the controls and the engine through this friend.
  friend struct test::PanelProbe;

  void wire();
  void installHotkey();

  // Control actions.
  void presetChanged();
  void typeChanged();
  void burstChanged();
  void addPoint();
  void clearPoints();
  void langChanged();
  // Where a pick ended: appends the point, if any, and says the panel is ready.
  void picked(std::optional<ClickPoint> at);

  // Writes the interval, jitter and stop-after count of the controls into the engine.
  void applySettings();
  void setRunning(bool running);
  // Lets a click or an activation hand the panel the keyboard (true), or never (false).
  void setTakesKeyboard(bool takes);
  // Rewrites every text in the current language.
  void relabel();
  // What the status line says when nothing is going on.
  [[nodiscard]] QString readyText() const;

  ClickEngine engine_;
  ui::PanelWidgets ui_;
  PointPick& picker_;
  // Escape typed into this application while a pick is pending cancels it (a cover that cannot
  // take the keyboard leaves it with the panel).
  QShortcut* cancelPick_;
  // The global F6 monitor, installed once for the life of the panel.
  std::optional<InputMonitor::Handle> hotkeyMonitor_;
  InputMonitor* input_;
  WindowSystem* windows_;
  bool hotkeyMissing_ = false;
};

}  // namespace vorrik
