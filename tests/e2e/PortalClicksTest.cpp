// SPDX-License-Identifier: MIT
// The click engine with the portal backend on a private desktop with its portal: headless GNOME
// Shell (with-gnome.sh, gnome_hand as the user's hand, mutter's own input, which asks nobody) or
// KDE Plasma's kwin (with-kde.sh, kde-hand.sh): the desktop's consent dialog refused and then
// accepted as a user would; then real clicks through the portal into a full-screen Qt Wayland
// window, at the cursor and at given points, counted and placed exactly; a point picked through
// the desktop's overlay clicked there; F6 the way the desktop offers it; last a run whose session
// the desktop loses. Where the desktop has more than one monitor there is a receiver on each,
// and runs at points go from one to the next. Time bounds are generous; bench/ measures precision.
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QDBusVariant>
#include <QDeadlineTimer>
#include <QGuiApplication>
#include <QProcess>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>
#include <QWindow>

#include <csignal>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ShellVersion.h"
#include "app/SingleInstance.h"
#include "engine/ClickEngine.h"
#include "l10n/L.h"
#include "platform/Backend.h"
#include "platform/portal/EisRegions.h"
#include "platform/portal/GnomeShortcut.h"
#include "platform/posix/PosixServices.h"

// Last: Xlib defines macros that other headers must not meet.
#include <X11/Xlib.h>

namespace vorrik {
namespace {

constexpr int kTimeoutMs = 30000;
const QString kMediaKeys = QStringLiteral("org.gnome.settings-daemon.plugins.media-keys");
const QString kOther =
    QStringLiteral("/org/gnome/settings-daemon/plugins/media-keys/custom-keybindings/custom0/");
const QString kVorrik =
    QStringLiteral("/org/gnome/settings-daemon/plugins/media-keys/custom-keybindings/vorrik/");

// The value gsettings prints for the list of custom shortcuts, after setting it to value.
QString customShortcuts(const QString& value = {}) {
  QProcess gsettings;
  if (!value.isEmpty()) {
    gsettings.start(QStringLiteral("gsettings"), {QStringLiteral("set"), kMediaKeys,
                                                  QStringLiteral("custom-keybindings"), value});
    gsettings.waitForFinished();
  }
  gsettings.start(QStringLiteral("gsettings"),
                  {QStringLiteral("get"), kMediaKeys, QStringLiteral("custom-keybindings")});
  gsettings.waitForFinished();
  return QString::fromUtf8(gsettings.readAllStandardOutput()).trimmed();
}
const QStringList kFocus{QStringLiteral("focus"), QStringLiteral("blur")};

// A child process that talks in lines on stdout, kept as they arrive.
class LineChild {
 public:
  explicit LineChild(const QString& program, const QStringList& args = {}) {
    QObject::connect(&process_, &QProcess::readyReadStandardOutput, &process_, [this] {
      while (process_.canReadLine()) {
        lines_.push_back(QString::fromUtf8(process_.readLine()).trimmed());
      }
    });
    process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process_.start(program, args);
  }
  ~LineChild() {
    process_.closeWriteChannel();
    process_.terminate();
    process_.waitForFinished(3000);
  }
  LineChild(const LineChild&) = delete;
  LineChild& operator=(const LineChild&) = delete;

  [[nodiscard]] const std::vector<QString>& lines() const { return lines_; }
  [[nodiscard]] std::size_t count(const QString& line) const {
    return static_cast<std::size_t>(std::count(lines_.begin(), lines_.end(), line));
  }
  // The last line that is one of these, or an empty one.
  [[nodiscard]] QString last(const QStringList& among) const {
    const auto found = std::find_if(lines_.rbegin(), lines_.rend(),
                                    [&](const QString& line) { return among.contains(line); });
    return found == lines_.rend() ? QString() : *found;
  }
  void write(const QString& line) { process_.write((line + QLatin1Char('\n')).toUtf8()); }

 private:
  QProcess process_;
  std::vector<QString> lines_;
};

// One button event a receiver saw.
struct Seen {
  QString what;  // press, release or double
  QString button;
  double x = 0;
  double y = 0;
  double ms = 0;
};

// The desktop's monitors in the layout's logical pixels, from the left.
QList<QRect> monitors() {
  QList<QRect> all;
  for (const QScreen* screen : QGuiApplication::screens()) {
    all.push_back(screen->geometry());
  }
  std::sort(all.begin(), all.end(), [](const QRect& a, const QRect& b) { return a.x() < b.x(); });
  return all;
}

// Xwayland's root pixels per layout pixel, which picks and a run's points are given in: the
// largest monitor scale where Xwayland scales natively (KDE Plasma's default with a scaled
// monitor), else 1; 0 when there is no X display. Read from the root's size, as the injector
// reads it.
double xwaylandScale(const QList<QRect>& monitors) {
  Display* display = XOpenDisplay(nullptr);
  if (display == nullptr) {
    return 0;
  }
  const int width = DisplayWidth(display, DefaultScreen(display));
  const int height = DisplayHeight(display, DefaultScreen(display));
  XCloseDisplay(display);
  std::vector<portal::EisRegion> regions;
  for (const QRect& m : monitors) {
    regions.push_back({double(m.x()), double(m.y()), double(m.width()), double(m.height())});
  }
  return portal::rootScale(regions, width, height);
}

}  // namespace

class PortalClicksTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() {
    QVERIFY(config_.isValid());
    panel_.setFlags(Qt::Tool | Qt::WindowStaysOnTopHint);
    sessionConfig_ = qgetenv("XDG_CONFIG_HOME");
    qputenv("XDG_CONFIG_HOME", config_.path().toUtf8());
    const Session session = Session::fromEnvironment();
    const BackendChoice choice = chooseBackend(session, availableBackends());
    QVERIFY2(choice.backend != nullptr, choice.why.c_str());
    QCOMPARE(QString::fromLatin1(choice.backend->name), QStringLiteral("portal"));
    desktop_ = choice.backend->open(session);
    desktop_->defaults().setString(L::kLangKey, "en");
    L::install({&desktop_->defaults(), &desktop_->preferredLanguages(), &desktop_->center()});

    // One receiver a monitor, the first one's last so that it has the keyboard.
    monitors_ = monitors();
    QCOMPARE(int(monitors_.size()), std::max(1, qEnvironmentVariableIntValue("VORRIK_MONITORS")));
    QCOMPARE(monitors_.front(), QRect(0, 0, 1280, 800));
    rootScale_ = xwaylandScale(monitors_);
    QVERIFY2(rootScale_ > 0, "no Xwayland to tell the root's size");
    for (qsizetype i = monitors_.size() - 1; i >= 0; --i) {
      auto receiver = std::make_unique<LineChild>(
          qEnvironmentVariable("VORRIK_WAYLAND_RECEIVER"),
          monitors_.size() > 1 ? QStringList{QStringLiteral("--screen"), QString::number(i)}
                               : QStringList{});
      const QString ready =
          QStringLiteral("ready %1 %2").arg(monitors_[i].width()).arg(monitors_[i].height());
      QTRY_COMPARE_WITH_TIMEOUT(receiver->count(ready), 1U, kTimeoutMs);
      receivers_.insert(receivers_.begin(), std::move(receiver));
    }
    receiver_ = receivers_.front().get();
    // The seat has a keyboard while the hand is there: the receiver has it then.
    hand_ = std::make_unique<LineChild>(qEnvironmentVariable("VORRIK_HAND"));
    QTRY_COMPARE_WITH_TIMEOUT(receiver_->last(kFocus), QStringLiteral("focus"), kTimeoutMs);

    engine_ =
        std::make_unique<ClickEngine>(ClickEngine::Ports{desktop_->mainQueue(), desktop_->trust(),
                                                         desktop_->injector(), sleeper_, random_},
                                      std::make_unique<posix::WorkerTimer>());
    engine_->onStop = [this](const std::optional<std::string>& reason) {
      stops_.push_back(reason.value_or("-"));
    };
  }

  void cleanupTestCase() {
    engine_.reset();
    hand_.reset();
    receivers_.clear();
    desktop_.reset();
    L::install({});
  }

  void refusalRefusesTheRunAndTheNextStartAsksAgain() {
    // Start asks; the run is refused at once with the permission line, whatever the answer.
    engine_->start();
    QCOMPARE(stops_, std::vector<std::string>{L::t("rd_needed")});
    QVERIFY(!engine_->running());
    waitForDialog();
    refuse();
    if (QTest::currentTestFailed()) {
      return;
    }
    QTest::qWait(300);
    QVERIFY(!desktop_->trust().isTrusted(false));
    // Accepted; asked again when the dialog took the hand's clicks before it had settled (it
    // then stays, or ends without remote interaction), which a loaded machine brings about.
    for (int attempt = 0; attempt < 3 && !desktop_->trust().isTrusted(false); ++attempt) {
      // The hand's own clicks on the dialog may miss it and reach the receiver.
      markSeen();
      startUntilAsked();
      QVERIFY2(seen().empty(), "no click while the desktop was asking");
      handDo(QStringLiteral("consent accept"));
      if (!QTest::qWaitFor([this] { return receiver_->last(kFocus) == QStringLiteral("focus"); },
                           kTimeoutMs)) {
        qWarning() << "the dialog stayed after the hand accepted it; refused, asked again";
        refuse();
      }
      (void)QTest::qWaitFor([this] { return desktop_->trust().isTrusted(false); }, kTimeoutMs);
    }
    QVERIFY(desktop_->trust().isTrusted(false));
  }

  void theAnswerIsRememberedForTheNextLaunch() {
    // A second Desktop, as Vorrik launched again with the same settings, restores the session
    // through the stored token: trusted with no dialog.
    const std::optional<std::string> token =
        desktop_->defaults().stringForKey("portalRestoreToken");
    // KDE Plasma's dialog offers to remember, ticked: its registration says so.
    if (e2e::shellMajor() < 48 && (!token || token->empty()) &&
        qEnvironmentVariableIsEmpty("VORRIK_CONSENT_REMEMBERED")) {
      QSKIP("GNOME 43 gives no restore token for a remote desktop: it asks at every launch");
    }
    QVERIFY2(token && !token->empty(), "the desktop's restore token is stored");
    const std::size_t blurs = receiver_->count(QStringLiteral("blur"));
    const std::unique_ptr<Desktop> again =
        chooseBackend(Session::fromEnvironment(), availableBackends())
            .backend->open(Session::fromEnvironment());
    QVERIFY(!again->trust().isTrusted(true));
    QTRY_VERIFY_WITH_TIMEOUT(again->trust().isTrusted(false), kTimeoutMs);
    QCOMPARE(receiver_->count(QStringLiteral("blur")), blurs);
  }

  void clicksAtTheCursorLandThereCountedExactly_data() {
    QTest::addColumn<ClickType>("type");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("intervalMs");
    QTest::addColumn<QString>("button");
    QTest::addColumn<int>("doubles");
    // Far enough apart that the receiver merges no two clicks into a double click.
    QTest::newRow("left") << ClickType::left << 5 << 600 << "left" << 0;
    QTest::newRow("right") << ClickType::right << 3 << 600 << "right" << 0;
    QTest::newRow("double") << ClickType::double_ << 3 << 600 << "left" << 3;
  }

  void clicksAtTheCursorLandThereCountedExactly() {
    QFETCH(ClickType, type);
    QFETCH(int, count);
    QFETCH(int, intervalMs);
    QFETCH(QString, button);
    QFETCH(int, doubles);
    handDo(QStringLiteral("move 333 222"));
    run(type, count, intervalMs, {});
    const int presses = type == ClickType::double_ ? 2 * count : count;
    int pressed = 0;
    int released = 0;
    int doubled = 0;
    for (const Seen& event : seen()) {
      QCOMPARE(event.button, button);
      QCOMPARE(QPointF(event.x, event.y), QPointF(333, 222));
      // A widget receives the second press of a double click as the double click itself.
      pressed +=
          event.what == QStringLiteral("press") || event.what == QStringLiteral("double") ? 1 : 0;
      released += event.what == QStringLiteral("release") ? 1 : 0;
      doubled += event.what == QStringLiteral("double") ? 1 : 0;
    }
    QCOMPARE(pressed, presses);
    QCOMPARE(released, presses);
    QCOMPARE(doubled, doubles);
  }

  void clicksAtGivenPointsLandExactlyInTurn() {
    // The corners' pixels of every monitor, one monitor after the other, and a point between
    // pixels; the pointer starts elsewhere. GNOME Shell holds motion at some monitor edges near
    // the top (its hot corners' pressure barriers, and more between monitors of different
    // scales), injected as a hand's: these orders cross them only where the pointer passes.
    handDo(QStringLiteral("move 900 100"));
    using Corner = QPoint (QRect::*)() const noexcept;
    const bool one = monitors_.size() == 1;
    const std::array<Corner, 4> first =
        one ? std::array<Corner, 4>{&QRect::bottomRight, &QRect::bottomLeft, &QRect::topLeft,
                                    &QRect::topRight}
            : std::array<Corner, 4>{&QRect::topLeft, &QRect::bottomRight, &QRect::topRight,
                                    &QRect::bottomLeft};
    const std::array<Corner, 4> next{&QRect::bottomRight, &QRect::topRight, &QRect::topLeft,
                                     &QRect::bottomLeft};
    std::vector<ClickPoint> points;
    for (std::size_t k = 0; k < first.size(); ++k) {
      for (qsizetype m = 0; m < monitors_.size(); ++m) {
        const QPoint at = (monitors_[m].*(m == 0 ? first[k] : next[k]))();
        points.push_back(toRoot(at));
      }
    }
    points.insert(points.begin() + 2, toRoot(QPointF(640.4, 400.6)));
    const int count = int(points.size()) + 3;
    run(ClickType::left, count, 100, points);
    // Each receiver in its own order: two processes' clocks order lines only roughly.
    for (qsizetype m = 0; m < monitors_.size(); ++m) {
      std::vector<QPointF> presses;
      std::vector<QPointF> expected;
      for (const Seen& event : seen(std::size_t(m))) {
        if (event.what != QStringLiteral("release")) {
          presses.emplace_back(event.x, event.y);
        }
      }
      for (int i = 0; i < count; ++i) {
        const ClickPoint& at = points[std::size_t(i) % points.size()];
        // Where the injector puts a root pixel: taken whole, then in layout pixels.
        const QPointF pixel(std::round(at.x) / rootScale_, std::round(at.y) / rootScale_);
        if (monitors_[m].contains(pixel.toPoint())) {
          expected.push_back(pixel);
        }
      }
      QCOMPARE(presses, expected);
    }
  }

  void aRunAtTheCursorClicksWhereItIsOnEveryMonitor_data() {
    QTest::addColumn<QRect>("monitor");
    for (qsizetype i = 0; i < monitors_.size(); ++i) {
      QTest::addRow("monitor %lld", static_cast<long long>(i)) << monitors_[i];
    }
  }

  void aRunAtTheCursorClicksWhereItIsOnEveryMonitor() {
    // A run at a point leaves the pointer there; the next run clicks at the cursor.
    QFETCH(QRect, monitor);
    const QPoint at = monitor.center() + QPoint(monitor.width() / 5, monitor.height() / 5);
    run(ClickType::left, 1, 100, {toRoot(at)});
    run(ClickType::right, 3, 600, {});
    const std::vector<Seen> events = seen();
    QCOMPARE(events.size(), 6U);
    for (const Seen& event : events) {
      QCOMPARE(event.button, QStringLiteral("right"));
      QCOMPARE(QPointF(event.x, event.y), QPointF(at));
    }
  }

  void aPickedPointIsWhereTheRunClicks_data() {
    QTest::addColumn<QRect>("monitor");
    for (qsizetype i = 0; i < monitors_.size(); ++i) {
      QTest::addRow("monitor %lld", static_cast<long long>(i)) << monitors_[i];
    }
  }

  void aPickedPointIsWhereTheRunClicks() {
    // The desktop's own cover takes the click: the hand's on the first monitor, which is all it
    // reaches, and elsewhere one clicked through the portal. Until the compositor shows the
    // cover, a click still reaches the receiver, so it is clicked again until the pick ends.
    QFETCH(QRect, monitor);
    const QPoint target =
        monitor.topLeft() + QPoint(monitor.width() * 417 / 1280, monitor.height() * 263 / 800);
    std::optional<std::optional<ClickPoint>> picked;
    desktop_->picker().start([&](std::optional<ClickPoint> at) { picked = at; });
    for (int i = 0; i < 100 && !picked; ++i) {
      markSeen();
      if (monitors_.front().contains(target)) {
        handDo(QStringLiteral("move %1 %2").arg(target.x() - 1).arg(target.y()));
        handDo(QStringLiteral("move %1 %2").arg(target.x()).arg(target.y()));
        handDo(QStringLiteral("click left"));
      } else {
        clickOnce(target);
      }
      QVERIFY(QTest::qWaitFor([&] { return picked || !seen().empty(); }, kTimeoutMs));
    }
    // The answer is in the injector's space (Xwayland's root pixels on the cover), which the run
    // below maps back.
    QVERIFY(picked && *picked);
    const ClickPoint at = **picked;
    QVERIFY2(seen().empty(), "the receiver under the cover saw no click");

    handDo(QStringLiteral("move 900 100"));
    run(ClickType::left, 3, 100, {at});
    std::vector<QPointF> events;
    for (const Seen& event : seen()) {
      events.emplace_back(event.x, event.y);
    }
    QCOMPARE(events, std::vector<QPointF>(6, QPointF(target)));
  }

  void f6RunsVorrikThroughTheDesktopShortcutWhenAdded() {
    // GNOME offers its own shortcut. The one added here runs the real `vorrik --toggle`, which
    // hands the command to this process as to the running Vorrik; the user's own shortcut stays.
    ToggleShortcut* offered = desktop_->toggleShortcut();
    if (offered == nullptr) {
      f6ThroughTheGlobalShortcutsPortal();
      return;
    }
    // gsettings reads the desktop's settings where the session's dconf service writes them.
    qputenv("XDG_CONFIG_HOME", sessionConfig_);
    const QString other = QStringLiteral("['%1']").arg(kOther);
    QCOMPARE(customShortcuts(other), other);
    QVERIFY(!offered->installed());
    SingleInstance instance;
    QCOMPARE(instance.claim(Command::Show).outcome, SingleInstance::Outcome::Primary);
    instance.serve();
    QObject::connect(&instance, &SingleInstance::commandReceived, &instance, [this](Command asked) {
      if (asked == Command::Toggle) {
        engine_->running() ? engine_->stop(L::t("stopped")) : engine_->start();
      }
    });
    portal::GnomeShortcut shortcut(
        QStringLiteral("'%1' --toggle").arg(qEnvironmentVariable("VORRIK_BIN")));
    QVERIFY(shortcut.install());
    QVERIFY(offered->installed());
    QCOMPARE(customShortcuts(), QStringLiteral("['%1', '%2']").arg(kOther, kVorrik));

    cursorRunFromHere();
    // gsd-media-keys takes the new shortcut from the settings a moment later.
    for (int attempt = 0; attempt < 10 && !engine_->running(); ++attempt) {
      handDo(QStringLiteral("key F6"));
      (void)QTest::qWaitFor([this] { return engine_->running(); }, 1000);
    }
    QVERIFY(engine_->running());
    QTRY_VERIFY_WITH_TIMEOUT(seen().size() >= 4, kTimeoutMs);
    handDo(QStringLiteral("key F6"));
    QTRY_VERIFY_WITH_TIMEOUT(!engine_->running(), kTimeoutMs);
    QCOMPARE(stops_, std::vector<std::string>{L::t("stopped")});

    QVERIFY(offered->remove());
    QVERIFY(!shortcut.installed());
    QCOMPARE(customShortcuts(), other);
  }

  void sigtermMidRunLeavesNoButtonDown() {
    // The whole program, launched with these settings (the remembered answer included), started
    // from a shell; its panel opens where the desktop puts it, so the run clicks in a corner.
    QProcess vorrik;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), config_.path());
    env.insert(QStringLiteral("LANGUAGE"), QStringLiteral("en"));
    vorrik.setProcessEnvironment(env);
    vorrik.setProcessChannelMode(QProcess::ForwardedChannels);
    const QString bin = qEnvironmentVariable("VORRIK_BIN");
    vorrik.start(bin, {});
    QVERIFY(vorrik.waitForStarted());
    const QPoint target = sigtermTarget();
    placePointer(target);
    markSeen();
    auto start = [&] {
      QProcess command;
      command.setProcessEnvironment(env);
      command.start(bin, {QStringLiteral("--start")});
      return command.waitForFinished(kTimeoutMs) && command.exitCode() == 0;
    };
    // Asked again only if the desktop forgot the answer, or the first start found the panel
    // still coming up.
    bool running = false;
    for (int attempt = 0; attempt < 3 && !running; ++attempt) {
      QVERIFY(start());
      running = QTest::qWaitFor([this] { return presses() >= 3; }, kTimeoutMs);
      if (!running) {
        qWarning() << "no clicks after vorrik --start; the hand accepts the dialog";
        handDo(QStringLiteral("consent accept"));
        placePointer(target);
        markSeen();
      }
    }
    QVERIFY2(running, "vorrik --start clicked nowhere the receiver saw");
    vorrik.terminate();
    QVERIFY(vorrik.waitForFinished(kTimeoutMs));
    QTRY_VERIFY_WITH_TIMEOUT(releases() == presses(), kTimeoutMs);
    for (const Seen& event : seen()) {
      QCOMPARE(QPointF(event.x, event.y), QPointF(target));
    }
  }

  void aRunStopsWhenTheDesktopsHalfOfThePortalDies() {
    // Last, as it breaks the session. The desktop's half of the portal dies mid-run; the portal
    // keeps answering events with success and sends no Closed.
    QVERIFY(desktop_->trust().isTrusted(false));
    cursorRunFromHere();
    engine_->start();
    QTRY_VERIFY_WITH_TIMEOUT(seen().size() >= 4, kTimeoutMs);
    killDesktopHalf();
    if (QTest::currentTestFailed()) {
      return;
    }
    QTRY_VERIFY_WITH_TIMEOUT(!engine_->running(), kTimeoutMs);
    QCOMPARE(stops_, std::vector<std::string>{L::t("rd_needed")});
    // Counted and never received: at most the click in progress and one that began before the
    // news arrived. Through EIS the clicks until then may well arrive, and count.
    QTRY_VERIFY2_WITH_TIMEOUT(engine_->sessionClicks() - static_cast<std::int64_t>(presses()) <= 2,
                              "no clicks counted into the void", kTimeoutMs);
    // The next Start asks the desktop again: with its dialog, or silently where it remembers
    // the answer (GNOME 48, KDE Plasma), and that run then clicks once the session is back. The
    // portal starts a new half for that ask, which may answer before it serves remote desktops:
    // the user's next Start asks then.
    const auto answered = [this] {
      return receiver_->last(kFocus) == QStringLiteral("blur") ||
             desktop_->trust().isTrusted(false);
    };
    for (int attempt = 0; attempt < 3 && !answered(); ++attempt) {
      engine_->start();
      (void)QTest::qWaitFor(answered, 5000);
    }
    engine_->stop(L::t("stopped"));
    if (!desktop_->trust().isTrusted(false)) {
      waitForDialog();
      refuse();
    }
  }

 private:  // NOLINT(readability-redundant-access-specifiers): after moc's slot section
  // Newer GNOME and KDE Plasma offer F6 through their global-shortcuts portal: the first key
  // monitor asks for the shortcut; GNOME asks the user to add it (its dialog takes the keyboard),
  // Plasma adds it at once. F6, typed while the receiver has the keyboard, then reaches the
  // monitor.
  void f6ThroughTheGlobalShortcutsPortal() {
    InputMonitor* input = desktop_->input();
    QVERIFY(input != nullptr);
    int f6 = 0;
    const auto handle = input->addKeyMonitor([&f6](Key key) { f6 += key == Key::f6 ? 1 : 0; });
    QVERIFY(handle);
    // The helpers fail the test without ending this function.
    for (int attempt = 0; attempt < 10 && f6 == 0 && !QTest::currentTestFailed(); ++attempt) {
      if (receiver_->last(kFocus) == QStringLiteral("blur")) {
        waitForDialog();
        handDo(QStringLiteral("shortcuts accept"));
        waitForDialogGone();
      } else {
        handDo(QStringLiteral("key F6"));
        (void)QTest::qWaitFor([&f6] { return f6 > 0; }, 1000);
      }
    }
    input->remove(*handle);
    QCOMPARE(f6, 1);
  }

  // Near the bottom-right corner of the last monitor, clear of the panel wherever it opens.
  [[nodiscard]] QPoint sigtermTarget() const {
    const QRect& monitor = monitors_.back();
    return monitor.topLeft() +
           QPoint(monitor.width() - monitor.width() / 32, monitor.height() - monitor.height() / 20);
  }
  // The hand reaches the first monitor; a one-click run at the point reaches any.
  void placePointer(QPoint at) {
    if (monitors_.front().contains(at)) {
      handDo(QStringLiteral("move %1 %2").arg(at.x()).arg(at.y()));
    } else {
      clickOnce(at);
    }
  }

  // Sends one command to the hand and waits until mutter has taken it.
  void handDo(const QString& command) {
    const std::size_t before = hand_->lines().size();
    hand_->write(command);
    QTRY_VERIFY_WITH_TIMEOUT(hand_->lines().size() > before, kTimeoutMs);
    QCOMPARE(hand_->lines()[before], QStringLiteral("ok"));
  }

  // Left clicks at the pointer, moved to 333,222, every 200 ms without a limit; what the
  // receiver sees is counted from now.
  void cursorRunFromHere() {
    handDo(QStringLiteral("move 333 222"));
    markSeen();
    stops_.clear();
    engine_->clickType = ClickType::left;
    engine_->intervalMs = 200;
    engine_->maxClicks = 0;
    engine_->points.assign(std::vector<ClickPoint>{});
  }

  // Start, which asks. GNOME 43 now and then shows no dialog after a refusal: Start pressed
  // again, once the dialog is long overdue, asks anew; when that shows none either, that portal
  // has stopped showing this application's dialogs, and only a new desktop half of it shows
  // them again.
  void startUntilAsked() {
    const auto asked = [this] { return receiver_->last(kFocus) == QStringLiteral("blur"); };
    for (int attempt = 0; attempt < 6 && !asked() && !QTest::currentTestFailed(); ++attempt) {
      if (attempt == 2) {
        qWarning() << "the desktop's portal showed no dialog twice; its desktop half restarts";
        killDesktopHalf();
      }
      engine_->start();
      QVERIFY(!engine_->running());
      for (QDeadlineTimer deadline(attempt < 2 ? 15000 : 5000);
           !asked() && !deadline.hasExpired();) {
        QTest::qWait(50);
      }
    }
    waitForDialog();
  }

  // Kills the desktop's half of the portal, found through this session's own bus: other
  // sessions on the machine have one too. Each desktop's half is named after it.
  void killDesktopHalf() {
    const QString half = QStringLiteral("org.freedesktop.impl.portal.desktop.") +
                         qEnvironmentVariable("XDG_CURRENT_DESKTOP").toLower();
    const uint pid = QDBusConnection::sessionBus().interface()->servicePid(half).value();
    QVERIFY(pid > 0);
    QCOMPARE(::kill(static_cast<pid_t>(pid), SIGKILL), 0);
  }

  // The dialog takes the keyboard from the receiver when it opens, and gives it back. The panel
  // stays behind the dialog meanwhile, and is kept above again once the desktop answers.
  void waitForDialog() {
    QTRY_COMPARE_WITH_TIMEOUT(receiver_->last(kFocus), QStringLiteral("blur"), kTimeoutMs);
    QVERIFY2(!panelAbove(), "the panel gives up keep-above while the desktop's dialog is up");
  }
  void waitForDialogGone() {
    QTRY_COMPARE_WITH_TIMEOUT(receiver_->last(kFocus), QStringLiteral("focus"), kTimeoutMs);
    QTRY_VERIFY_WITH_TIMEOUT(panelAbove(), kTimeoutMs);
  }
  [[nodiscard]] bool panelAbove() const {
    return panel_.flags().testFlag(Qt::WindowStaysOnTopHint);
  }

  // Answered through the hand, which knows where this desktop draws the dialog; again when the
  // dialog was not taking input yet, which happens under the sanitizers.
  void refuse() {
    for (int attempt = 0; attempt < 3 && receiver_->last(kFocus) != QStringLiteral("focus");
         ++attempt) {
      handDo(QStringLiteral("consent refuse"));
      (void)QTest::qWaitFor([this] { return receiver_->last(kFocus) == QStringLiteral("focus"); },
                            3000);
    }
    waitForDialogGone();
  }

  // A layout point as a run's point, in Xwayland's root pixels.
  [[nodiscard]] ClickPoint toRoot(QPointF layout) const {
    return {layout.x() * rootScale_, layout.y() * rootScale_};
  }

  // One left click at a point through the portal, whatever takes it.
  void clickOnce(QPoint at) {
    stops_.clear();
    engine_->clickType = ClickType::left;
    engine_->intervalMs = 100;
    engine_->maxClicks = 1;
    engine_->points.assign(std::vector<ClickPoint>{toRoot(at)});
    engine_->start();
    QTRY_VERIFY_WITH_TIMEOUT(!stops_.empty(), kTimeoutMs);
  }

  // One run of count clicks, to its end; the receiver's events from before are forgotten.
  void run(ClickType type, int count, int intervalMs, const std::vector<ClickPoint>& points) {
    QVERIFY(desktop_->trust().isTrusted(false));
    markSeen();
    stops_.clear();
    engine_->clickType = type;
    engine_->intervalMs = intervalMs;
    engine_->maxClicks = count;
    engine_->points.assign(points);
    engine_->start();
    QVERIFY(engine_->running());
    QTRY_VERIFY_WITH_TIMEOUT(!stops_.empty(), kTimeoutMs);
    QCOMPARE(stops_, std::vector<std::string>{L::t("done", {{"n", std::to_string(count)}})});
    // The last click may still be on its way through the desktop after the stop (on a loaded
    // machine even its press); the next test must not meet it.
    const std::size_t all = std::size_t(count) * (type == ClickType::double_ ? 2 : 1);
    QTRY_VERIFY_WITH_TIMEOUT(presses() >= all && releases() == presses(), kTimeoutMs);
  }

  // Presses (a double click's second one included) and releases since the run began.
  [[nodiscard]] std::size_t presses() const {
    const std::vector<Seen> events = seen();
    return static_cast<std::size_t>(std::count_if(events.begin(), events.end(), [](const Seen& e) {
      return e.what == QStringLiteral("press") || e.what == QStringLiteral("double");
    }));
  }
  [[nodiscard]] std::size_t releases() const {
    const std::vector<Seen> events = seen();
    return static_cast<std::size_t>(std::count_if(events.begin(), events.end(), [](const Seen& e) {
      return e.what == QStringLiteral("release");
    }));
  }

  // Forgets what the receivers saw until now.
  void markSeen() {
    seenFrom_.clear();
    for (const auto& receiver : receivers_) {
      seenFrom_.push_back(receiver->lines().size());
    }
  }

  // Button events the receivers (or the one on monitor only) saw since the current run began,
  // in the order they came.
  [[nodiscard]] std::vector<Seen> seen(std::optional<std::size_t> only = std::nullopt) const {
    std::vector<Seen> events;
    for (std::size_t r = 0; r < receivers_.size(); ++r) {
      if (only && r != *only) {
        continue;
      }
      const std::vector<QString>& lines = receivers_[r]->lines();
      for (std::size_t i = r < seenFrom_.size() ? seenFrom_[r] : 0; i < lines.size(); ++i) {
        const QStringList words = lines[i].split(QLatin1Char(' '));
        if (words.size() == 5) {
          events.push_back(
              {words[0], words[1], words[2].toDouble(), words[3].toDouble(), words[4].toDouble()});
        }
      }
    }
    std::stable_sort(events.begin(), events.end(),
                     [](const Seen& a, const Seen& b) { return a.ms < b.ms; });
    return events;
  }

  QTemporaryDir config_;
  QByteArray sessionConfig_;
  // A panel kept above, as Vorrik's is; never shown.
  QWindow panel_;
  std::unique_ptr<Desktop> desktop_;
  QList<QRect> monitors_;
  double rootScale_ = 1;
  std::vector<std::unique_ptr<LineChild>> receivers_;
  LineChild* receiver_ = nullptr;  // the first monitor's, which has the keyboard
  std::unique_ptr<LineChild> hand_;
  posix::MonotonicSleeper sleeper_;
  posix::SystemRandom random_;
  std::unique_ptr<ClickEngine> engine_;
  std::vector<std::string> stops_;
  std::vector<std::size_t> seenFrom_;
};

}  // namespace vorrik

QTEST_MAIN(vorrik::PortalClicksTest)
#include "PortalClicksTest.moc"
