// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include <functional>
#include <memory>
#include <vector>

class QSocketNotifier;

namespace vorrik {

class ClickEngine;

// Ends Vorrik in order however it is asked to, so that no button stays held:
// - SIGTERM, SIGINT, SIGHUP and SIGQUIT quit as the Quit command does; finish() then ends the
//   process by that signal's default action;
// - SIGTSTP waits for the click in progress to release, stops, and carries on at SIGCONT;
// - an exit() from inside the event loop (Qt's xcb plugin reacts to a lost display connection
//   so) first halts the engine, joining its worker, and says why on stderr.
// A signal ignored at start-up (nohup, a background job) stays ignored. Handlers only write the
// signal's number into a pipe that the event loop reads. Create one,
// on the main thread, once the QApplication exists.
class ExitGuard final : public QObject {
 public:
  ExitGuard();
  ~ExitGuard() override;
  ExitGuard(const ExitGuard&) = delete;
  ExitGuard& operator=(const ExitGuard&) = delete;

  // Where the engine is, or null while there is none; replace it with an empty function before
  // whatever it reaches is destroyed.
  void watch(std::function<ClickEngine*()> engine);

  // Ends the process by the termination signal that made it quit, if one did; otherwise
  // returns status. Call it after everything that clicks has been destroyed.
  int finish(int status);

 private:
  void readSignals();
  void onSignal(int signo);
  static void atExit();

  std::function<ClickEngine*()> engine_;
  std::unique_ptr<QSocketNotifier> notifier_;
  std::vector<int> handled_;
  int quitSignal_ = 0;
};

}  // namespace vorrik
