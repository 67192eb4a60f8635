// SPDX-License-Identifier: MIT
// Click timing through whichever backend serves the session it runs in (X11, wlroots or the
// portal), measured the same way on each: the engine clicks at the cursor into a full-screen
// Qt window (tests/e2e/WaylandReceiver.cpp) that prints each press and release with its
// monotonic time, and the periods seen there are held against the nominal one. Run it through
// bench/desktops.sh, which provides the sessions; on GNOME, --hand gives the program that
// accepts the desktop's consent dialog as a user would.
//   vorrik_desktop_timing --receiver PATH [--hand PATH] [--nominal MS] [--periods N]

#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QScreen>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "Stats.h"
#include "engine/ClickEngine.h"
#include "platform/Backend.h"
#include "platform/posix/PosixServices.h"

namespace vorrik::bench {
namespace {

using namespace std::chrono_literals;

// The engine holds each click's button down this long, within the period.
constexpr long kPressMs = 8;
constexpr int kPatienceMs = 20000;

struct Options {
  std::string receiver;
  std::string hand;
  long nominalMs = 128;
  long periods = 300;
};

std::optional<Options> parse(int argc, char** argv) {
  Options o;
  for (int i = 1; i + 1 < argc; i += 2) {
    const std::string_view arg = argv[i];
    const char* value = argv[i + 1];
    if (arg == "--receiver") {
      o.receiver = value;
    } else if (arg == "--hand") {
      o.hand = value;
    } else if (arg == "--nominal" || arg == "--periods") {
      char* end = nullptr;
      const long n = std::strtol(value, &end, 10);
      if (*end != '\0' || n < 2 || n > 100000) {
        return std::nullopt;
      }
      (arg == "--nominal" ? o.nominalMs : o.periods) = n;
    } else {
      return std::nullopt;
    }
  }
  if (argc % 2 == 0 || o.receiver.empty() || o.nominalMs <= kPressMs + 50) {
    return std::nullopt;
  }
  return o;
}

// Runs the event loop until done() or the patience runs out; true when done.
bool pumpUntil(const std::function<bool()>& done, int patienceMs = kPatienceMs) {
  QElapsedTimer clock;
  clock.start();
  while (!done()) {
    if (clock.elapsed() > patienceMs) {
      return false;
    }
    QApplication::processEvents(QEventLoop::AllEvents, 5);
    QThread::msleep(1);
  }
  return true;
}

// Runs the event loop for ms milliseconds.
void pause(int ms) {
  pumpUntil([] { return false; }, ms);
}

// A child process that talks in lines on stdout, kept as they arrive.
class LineChild {
 public:
  explicit LineChild(const std::string& program, const QStringList& arguments = {}) {
    QObject::connect(&process_, &QProcess::readyReadStandardOutput, &process_, [this] {
      while (process_.canReadLine()) {
        lines_.push_back(QString::fromUtf8(process_.readLine()).trimmed().toStdString());
      }
    });
    process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process_.start(QString::fromStdString(program), arguments);
  }
  ~LineChild() {
    process_.closeWriteChannel();
    process_.terminate();
    process_.waitForFinished(3000);
  }
  LineChild(const LineChild&) = delete;
  LineChild& operator=(const LineChild&) = delete;

  [[nodiscard]] const std::vector<std::string>& lines() const { return lines_; }
  [[nodiscard]] bool said(std::string_view prefix, std::size_t from = 0) const {
    for (std::size_t i = from; i < lines_.size(); ++i) {
      if (lines_[i].starts_with(prefix)) {
        return true;
      }
    }
    return false;
  }
  // The last of focus and blur said, or nothing.
  [[nodiscard]] std::string focus() const {
    const auto last = std::find_if(lines_.rbegin(), lines_.rend(), [](const std::string& line) {
      return line == "focus" || line == "blur";
    });
    return last == lines_.rend() ? std::string() : *last;
  }
  // Sends a command and waits for its "ok".
  bool tell(const std::string& command) {
    const std::size_t before = lines_.size();
    process_.write(QByteArray::fromStdString(command + "\n"));
    return pumpUntil([&] { return said("ok", before); });
  }

 private:
  QProcess process_;
  std::vector<std::string> lines_;
};

// The consent dialog answered as a user would, by the desktop's hand, which knows where its
// desktop draws it. A dialog whose controls did not take the answer yet is refused and asked
// anew: accepting again would turn GNOME 48's remote-interaction switch back off.
bool consent(LineChild& hand, LineChild& receiver, ClickEngine& engine, AccessibilityTrust& trust) {
  for (int attempt = 0; attempt < 3; ++attempt) {
    if (attempt > 0) {
      // Granted late after all: asking again would start a run.
      if (trust.isTrusted(false)) {
        return true;
      }
      engine.start();
    }
    if (!pumpUntil([&] { return receiver.focus() == "blur"; })) {
      return false;
    }
    // The dialog takes the keyboard before it has settled where the hand aims.
    pause(1000);
    if (!hand.tell("consent accept")) {
      return false;
    }
    if (pumpUntil([&] { return trust.isTrusted(false); }, 5000)) {
      return true;
    }
    if (receiver.focus() == "blur" && !hand.tell("consent refuse")) {
      return false;
    }
    pumpUntil([&] { return receiver.focus() == "focus"; }, 5000);
    // The refusal's answer on its way back to the portal client, which asks nothing meanwhile.
    pause(1000);
  }
  return false;
}

const char* grantName(posix::RealtimeGrant grant) {
  switch (grant) {
    case posix::RealtimeGrant::direct:
      return "SCHED_FIFO directly";
    case posix::RealtimeGrant::realtimeKit:
      return "SCHED_FIFO from RealtimeKit";
    case posix::RealtimeGrant::none:
      break;
  }
  return "normal priority";
}

int run(const Options& o) {
  const Session session = Session::fromEnvironment();
  const BackendChoice choice = chooseBackend(session, availableBackends());
  if (choice.backend == nullptr) {
    std::fprintf(stderr, "vorrik_desktop_timing: no backend: %s\n", choice.why.c_str());
    return 2;
  }
  const std::unique_ptr<Desktop> desktop = choice.backend->open(session);
  // Without a window manager (a bare X server) nobody makes the window full-screen but Qt.
  const QString screen = QStringLiteral("%1x%2+0+0")
                             .arg(QApplication::primaryScreen()->size().width())
                             .arg(QApplication::primaryScreen()->size().height());
  LineChild receiver(o.receiver, QGuiApplication::platformName() == QStringLiteral("xcb")
                                     ? QStringList{QStringLiteral("-geometry"), screen}
                                     : QStringList{});
  if (!pumpUntil([&] { return receiver.said("ready"); })) {
    std::fprintf(stderr, "vorrik_desktop_timing: the receiver did not show\n");
    return 2;
  }
  std::optional<LineChild> hand;
  if (!o.hand.empty()) {
    hand.emplace(o.hand);
    // The seat has a keyboard while the hand is there: the receiver has it then.
    pumpUntil([&] { return receiver.focus() == "focus"; });
  }

  posix::MonotonicSleeper sleeper;
  posix::SystemRandom random;
  auto timer = std::make_unique<posix::WorkerTimer>();
  const posix::WorkerTimer& worker = *timer;
  ClickEngine engine(ClickEngine::Ports{desktop->mainQueue(), desktop->trust(), desktop->injector(),
                                        sleeper, random},
                     std::move(timer));
  std::optional<std::string> stopped;
  engine.onStop = [&](const std::optional<std::string>& why) { stopped = why.value_or("-"); };

  if (!desktop->trust().isTrusted(false)) {
    // The first start asks the desktop; the run itself is refused meanwhile.
    engine.start();
    if (!hand || !consent(*hand, receiver, engine, desktop->trust())) {
      std::fprintf(stderr, "vorrik_desktop_timing: no permission to click\n");
      return 2;
    }
  }

  const std::size_t from = receiver.lines().size();
  stopped.reset();
  engine.intervalMs = o.nominalMs - kPressMs;
  engine.maxClicks = o.periods + 1;
  engine.start();
  const int runMs = static_cast<int>(o.nominalMs * (o.periods + 1)) + kPatienceMs;
  if (!pumpUntil([&] { return stopped.has_value(); }, runMs)) {
    engine.stop(std::nullopt);
  }
  // The last release on its way to the receiver.
  pause(500);

  std::vector<std::chrono::nanoseconds> presses;
  std::vector<std::chrono::nanoseconds> releases;
  for (std::size_t i = from; i < receiver.lines().size(); ++i) {
    std::istringstream line(receiver.lines()[i]);
    std::string kind;
    std::string button;
    double x = 0;
    double y = 0;
    double ms = 0;
    if (std::getenv("VORRIK_TIMING_LINES") != nullptr) {  // NOLINT(concurrency-mt-unsafe)
      std::fprintf(stderr, "%s\n", receiver.lines()[i].c_str());
    }
    if (line >> kind >> button >> x >> y >> ms && button == "left") {
      const auto at = std::chrono::nanoseconds(static_cast<std::int64_t>(ms * 1e6));
      // Qt reports a press that makes a double click as that alone.
      if (kind == "press" || kind == "double") {
        presses.push_back(at);
      } else if (kind == "release") {
        releases.push_back(at);
      }
    }
  }
  const Series s = summarise(presses, releases, static_cast<double>(o.nominalMs));
  const Jitter period = s.periodJitter();
  // Portal rows are named after the desktop behind the portal.
  std::string label(choice.backend->name);
  if (const QString desktop = qEnvironmentVariable("XDG_CURRENT_DESKTOP").section(':', 0, 0);
      label == "portal" && !desktop.isEmpty()) {
    label = desktop.toLower().toStdString();
  }
  std::printf("%-7s %7ld %7zu %9.3f %+7.3f %6.3f %6.3f %7.3f %7.3f %6.3f %9.3f  %s\n",
              label.c_str(), o.nominalMs, s.presses, s.medianPeriodMs, s.biasMs(), period.p50Ms,
              period.p99Ms, period.maxMs, s.medianHoldMs, s.holdJitter().p99Ms, s.shortestMs(),
              grantName(worker.realtime()));
  return s.presses == static_cast<std::size_t>(o.periods + 1) ? 0 : 1;
}

}  // namespace
}  // namespace vorrik::bench

int main(int argc, char** argv) {
  const auto options = vorrik::bench::parse(argc, argv);
  if (!options) {
    std::fprintf(stderr,
                 "usage: vorrik_desktop_timing --receiver PATH [--hand PATH] [--nominal MS] "
                 "[--periods N]\n");
    return 2;
  }
  QApplication app(argc, argv);
  return vorrik::bench::run(*options);
}
