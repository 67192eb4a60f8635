// SPDX-License-Identifier: MIT
#include "app/ExitGuard.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

#include "engine/ClickEngine.h"

namespace vorrik {
namespace {

constexpr std::array kQuitSignals{SIGTERM, SIGINT, SIGHUP, SIGQUIT};

// The pipe's write end, for the handlers; -1 while no guard lives.
std::atomic<int> signalPipe{-1};
// The guard an exit() from inside the event loop finds, and the thread that may halt it.
std::atomic<ExitGuard*> current{nullptr};
std::thread::id mainThread;

void onSignalled(int signo) {
  const int saved = errno;
  const auto byte = static_cast<unsigned char>(signo);
  const int fd = signalPipe.load();
  if (fd >= 0) {
    const ssize_t written = write(fd, &byte, 1);
    static_cast<void>(written);  // a full pipe already holds a wake-up
  }
  errno = saved;
}

// A signal ignored when Vorrik started stays ignored, as nohup and background jobs expect.
bool ignoredAtStart(int signo) {
  struct sigaction old {};
  sigaction(signo, nullptr, &old);
  return old.sa_handler == SIG_IGN;
}

void setHandler(int signo, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  sigaction(signo, &action, nullptr);
}

int readEnd = -1;

}  // namespace

ExitGuard::ExitGuard() {
  std::array<int, 2> ends{-1, -1};
  if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
    std::perror("vorrik: cannot watch for signals");
    return;
  }
  readEnd = ends[0];
  signalPipe.store(ends[1]);
  mainThread = std::this_thread::get_id();
  current.store(this);
  static std::once_flag registered;
  std::call_once(registered, [] { std::atexit(&ExitGuard::atExit); });

  notifier_ = std::make_unique<QSocketNotifier>(readEnd, QSocketNotifier::Read);
  connect(notifier_.get(), &QSocketNotifier::activated, this, &ExitGuard::readSignals);
  for (const int signo : kQuitSignals) {
    if (!ignoredAtStart(signo)) {
      setHandler(signo, &onSignalled);
      handled_.push_back(signo);
    }
  }
  if (!ignoredAtStart(SIGTSTP)) {
    setHandler(SIGTSTP, &onSignalled);
    handled_.push_back(SIGTSTP);
  }
}

ExitGuard::~ExitGuard() {
  current.store(nullptr);
  if (!notifier_) {
    return;
  }
  for (const int signo : handled_) {
    setHandler(signo, SIG_DFL);
  }
  notifier_.reset();
  close(signalPipe.exchange(-1));
  close(readEnd);
  readEnd = -1;
}

void ExitGuard::watch(std::function<ClickEngine*()> engine) {
  engine_ = std::move(engine);
}

void ExitGuard::readSignals() {
  std::array<unsigned char, 64> bytes{};
  ssize_t count = 0;
  while ((count = read(readEnd, bytes.data(), bytes.size())) > 0) {
    for (ssize_t i = 0; i < count; ++i) {
      onSignal(bytes[static_cast<std::size_t>(i)]);
    }
  }
}

void ExitGuard::onSignal(int signo) {
  if (signo == SIGTSTP) {
    ClickEngine* engine = engine_ ? engine_() : nullptr;
    std::unique_lock<std::mutex> hold;
    if (engine != nullptr) {
      hold = engine->holdClicks();
    }
    // SIGSTOP, not SIGTSTP: the handler stays ours for the next time. Returns at SIGCONT.
    raise(SIGSTOP);
    return;
  }
  if (quitSignal_ == 0) {
    quitSignal_ = signo;
    QCoreApplication::quit();
  }
}

int ExitGuard::finish(int status) {
  if (notifier_) {
    readSignals();  // a signal that came while quitting still decides how the process ends
  }
  const int signo = quitSignal_;
  if (signo == 0) {
    return status;
  }
  setHandler(signo, SIG_DFL);
  sigset_t only;
  sigemptyset(&only);
  sigaddset(&only, signo);
  // NOLINTNEXTLINE(concurrency-mt-unsafe): the worker has been joined; one thread is left
  sigprocmask(SIG_UNBLOCK, &only, nullptr);
  raise(signo);
  return 128 + signo;  // only if the default action did not end the process
}

void ExitGuard::atExit() {
  ExitGuard* guard = current.load();
  if (guard == nullptr || std::this_thread::get_id() != mainThread) {
    return;
  }
  // Only a library ends the process while the guard lives: Qt's xcb plugin when its display
  // connection breaks. Stopping here keeps the worker out of Xlib while the process tears down.
  if (ClickEngine* engine = guard->engine_ ? guard->engine_() : nullptr) {
    engine->halt();
  }
  std::fputs("vorrik: lost the connection to the display; stopped clicking and quit\n", stderr);
}

}  // namespace vorrik
