// SPDX-License-Identifier: MIT
// The wlroots backend's Qt side on a private headless sway: the overlay's pick, and F6 bound
// through sway's IPC for as long as the binding lives.
#include <QApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QScreen>
#include <QTest>
#include <QWindow>

#include <algorithm>
#include <optional>

#include "e2e/WaylandPeer.h"
#include "platform/wayland/SwayIpc.h"
#include "platform/wayland/SwayPickOverlay.h"
#include "platform/wlroots/SwayBinding.h"
#include "platform/wlroots/WlrootsInput.h"

namespace vorrik {

class WlrootsDesktopTest : public QObject {
  Q_OBJECT

 public:
  explicit WlrootsDesktopTest(wlroots::WlrootsInjector& injector) : injector_(injector) {}

 private slots:
  void initTestCase() { QVERIFY(injector_.connected()); }

  void cancelEndsThePickSilently() {
    bool handled = false;
    picker_.start([&](std::optional<ClickPoint> /*at*/) { handled = true; });
    QVERIFY(coversShown());
    picker_.cancel();
    QTRY_VERIFY(!coversShown(0));
    QVERIFY(!handled);
  }

  void aFullScreenPickRecordsOneClickOrCancels() {
    // The plain overlay, which desktops without sway's IPC get, on the one output there is yet:
    // its cover takes clicks once the compositor shows it full screen.
    const PickCase cases[] = {
        {"full screen, click", Act::click, {37, 61}, ClickPoint{37, 61}},
        {"full screen, right button", Act::rightClick, {37, 61}, std::nullopt},
        {"full screen, Escape", Act::escape, {}, std::nullopt}};
    for (const PickCase& c : cases) {
      pick(fullScreen_, c, Shown::fullScreen, 1);
      if (QTest::currentTestFailed()) {
        return;
      }
    }
  }

  void aPickRecordsOneClickWhereItLandsOrCancels() {
    // A second output right of the first: points come back in layout pixels on either. Sway
    // 1.10 configures a new output only after create_output has answered: nothing is sent there
    // until sway lists it as active in the layout and Qt has a screen in the same place.
    QVERIFY(sway("create_output"));
    QRect right;
    QVERIFY(QTest::qWaitFor(
        [&] {
          right = rightmostOutput();
          return right.x() > 0;
        },
        20000));
    QVERIFY(QTest::qWaitFor(
        [&] {
          const auto screens = QGuiApplication::screens();
          return screens.size() == 2 &&
                 std::any_of(screens.begin(), screens.end(),
                             [&](const QScreen* screen) { return screen->geometry() == right; });
        },
        20000));
    // This process's other window, as the panel is: a click on it (under the cover) cancels.
    QWidget panel;
    panel.setWindowTitle(QStringLiteral("Panel"));
    panel.setFixedSize(200, 100);
    panel.show();
    QVERIFY(QTest::qWaitForWindowExposed(&panel));
    QVERIFY(QTest::qWaitFor(
        [] { return sway(R"([title="^Panel$"] move absolute position 300 200)"); }));

    const ClickPoint onRight{right.x() + 120.0, right.y() + 45.0};
    const struct {
      PickCase pick;
      // An overlay for an injector that reaches the primary (left) output only.
      bool primaryOnly = false;
    } cases[] = {{{"left output", Act::click, {37, 61}, ClickPoint{37, 61}}},
                 {{"right output", Act::click, onRight, onRight}},
                 {{"on the panel", Act::click, {350, 250}, std::nullopt}},
                 {{"right button", Act::rightClick, {37, 61}, std::nullopt}},
                 {{"Escape", Act::escape, {}, std::nullopt}},
                 {{"primary only, left", Act::click, {37, 61}, ClickPoint{37, 61}}, true},
                 {{"primary only, right", Act::click, onRight, std::nullopt}, true}};
    for (const auto& c : cases) {
      pick(c.primaryOnly ? primaryOnly_ : picker_, c.pick, Shown::floating, 2);
      if (QTest::currentTestFailed()) {
        return;
      }
    }
  }

  void aBindingRunsItsCommandUntilItGoes() {
    const QString fired = qEnvironmentVariable("VORRIK_SWAY_TMP") + "/fired";
    {
      wlroots::SwayBinding binding("F6", "touch " + fired.toStdString(),
                                   qEnvironmentVariable("SWAYSOCK").toStdString());
      QVERIFY2(binding.bound(), binding.why().c_str());
      QVERIFY(e2e::tapKey("F6"));
      QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(fired), 10000);
    }
    QVERIFY(QFile::remove(fired));
    QVERIFY(e2e::tapKey("F6"));
    QTest::qWait(300);
    QVERIFY(!QFile::exists(fired));
  }

  void theUsersOwnBindingOrNoSwayIsLeftAlone() {
    const std::string sock = qEnvironmentVariable("SWAYSOCK").toStdString();
    // with-sway.sh loads tests/e2e/sway-user.conf, which binds F7.
    const struct {
      const char* key;
      std::string socket;
      const char* why;
    } cases[] = {{"F7", sock, "already binds F7"},
                 {"F6", "", "SWAYSOCK is not set"},
                 {"F6", sock + ".gone", "does not answer"}};
    for (const auto& c : cases) {
      wlroots::SwayBinding binding(c.key, "true", c.socket);
      QVERIFY(!binding.bound());
      QVERIFY2(binding.why().find(c.why) != std::string::npos, binding.why().c_str());
    }
  }

  // Not test slots from here on.
  // NOLINTNEXTLINE(readability-redundant-access-specifiers)
 private:
  // Whether count covers are up and shown by the compositor (count 0: none is visible).
  static bool coversShown(int count = -1) {
    const auto exposed = [] {
      int n = 0;
      for (QWindow* window : QGuiApplication::topLevelWindows()) {
        n += window->isVisible() && window->isExposed() ? 1 : 0;
      }
      return n;
    };
    if (count == 0) {
      return exposed() != 0;
    }
    const int want = count < 0 ? int(QGuiApplication::screens().size()) : count;
    return QTest::qWaitFor([&] { return exposed() == want; }, 10000);
  }

  void click(MouseButton button, ClickPoint at) {
    struct : ClickPacing {
      std::optional<std::chrono::microseconds> press() override { return std::nullopt; }
      void sent() override {}
      void hold() override {}
      void gap() override {}
    } pacing;
    QVERIFY(injector_.click(button, at, 1, pacing));
  }

  enum class Act { click, rightClick, escape };
  struct PickCase {
    const char* what = nullptr;
    Act act = Act::click;
    ClickPoint at;
    std::optional<ClickPoint> want;  // nothing: the pick ends without a point
  };
  enum class Shown { floating, fullScreen };

  // Starts a pick, waits until its covers are shown as `shown`, acts, and checks what it gave.
  void pick(wayland::PickOverlay& picker, const PickCase& c, Shown shown, int covers) {
    std::optional<std::optional<ClickPoint>> got;
    picker.start([&](std::optional<ClickPoint> at) { got = at; });
    QVERIFY2(QTest::qWaitFor([&] { return picker.placed(); }, 10000), c.what);
    QVERIFY2(QTest::qWaitFor([&] { return coversSway(shown) == covers; }, 10000), c.what);
    // Sway 1.10 lists a full-screen cover before it has applied the change that maps it: it
    // sends two configures at once (focused, then not), Qt 6.8 acks only the later one, and
    // sway, waiting for the earlier serial, maps the cover and gives it the pointer only when
    // its 200 ms transaction timeout runs out. An act that nothing answers is tried again. The
    // placed covers are answered at once.
    const int tries = shown == Shown::fullScreen ? 10 : 1;
    for (int i = 0; i < tries; ++i) {
      if (c.act == Act::escape) {
        QVERIFY(e2e::tapKey("Escape"));
      } else {
        click(c.act == Act::click ? MouseButton::left : MouseButton::right, c.at);
      }
      if (QTest::qWaitFor([&] { return got.has_value(); }, tries == 1 ? 10000 : 1000)) {
        break;
      }
    }
    if (!got) {
      picker.cancel();
    }
    QVERIFY2(got.has_value(), c.what);
    QVERIFY2(*got == c.want, qPrintable(QStringLiteral("%1: got %2 %3")
                                            .arg(c.what)
                                            .arg(*got ? (*got)->x : -1)
                                            .arg(*got ? (*got)->y : -1)));
    QVERIFY2(QTest::qWaitFor([&] { return coversSway(shown) == 0; }, 10000), c.what);
  }

  static bool sway(const std::string& command) {
    const auto reply =
        wayland::swayRequest(qEnvironmentVariable("SWAYSOCK").toStdString(), 0, command);
    return reply && wayland::swaySucceeded(*reply);
  }

  // The rightmost output sway lists as active with a mode, in layout pixels.
  static QRect rightmostOutput() {
    const auto reply = wayland::swayRequest(qEnvironmentVariable("SWAYSOCK").toStdString(), 3, {});
    QRect right;
    for (const auto& value :
         QJsonDocument::fromJson(QByteArray::fromStdString(reply.value_or(""))).array()) {
      const QJsonObject output = value.toObject();
      const QJsonObject r = output["rect"].toObject();
      const QRect rect(r["x"].toInt(), r["y"].toInt(), r["width"].toInt(), r["height"].toInt());
      if (output["active"].toBool() && !rect.isEmpty() && rect.x() >= right.x()) {
        right = rect;
      }
    }
    return right;
  }

  // How many pick covers sway shows floated, as the sway overlay asks it to, or full screen.
  static int coversSway(Shown shown) {
    const auto tree = wayland::swayRequest(qEnvironmentVariable("SWAYSOCK").toStdString(), 4, {});
    int n = 0;
    const std::function<void(const QJsonObject&)> walk = [&](const QJsonObject& node) {
      const bool as = shown == Shown::floating
                          ? node["type"].toString() == "floating_con"
                          : node["fullscreen_mode"].toInt() != 0 && node["visible"].toBool();
      n += node["name"].toString().startsWith("Vorrik pick") && as ? 1 : 0;
      for (const char* children : {"nodes", "floating_nodes"}) {
        for (const auto& child : node[QLatin1String(children)].toArray()) {
          walk(child.toObject());
        }
      }
    };
    walk(QJsonDocument::fromJson(QByteArray::fromStdString(tree.value_or(""))).object());
    return n;
  }

  wlroots::WlrootsInjector& injector_;
  wayland::SwayPickOverlay picker_{qEnvironmentVariable("SWAYSOCK").toStdString()};
  wayland::SwayPickOverlay primaryOnly_{qEnvironmentVariable("SWAYSOCK").toStdString(),
                                        wayland::PickOverlay::Reach::primaryScreen};
  wayland::PickOverlay fullScreen_;
};

}  // namespace vorrik

int main(int argc, char** argv) {
  // Before the toolkit connects: a headless seat has a pointer only once a virtual one exists,
  // and a client that started before that misses the first click while it binds the new one.
  vorrik::wlroots::WlrootsInjector injector;
  QApplication app(argc, argv);
  vorrik::WlrootsDesktopTest test(injector);
  return QTest::qExec(&test, argc, argv);
}
#include "WlrootsDesktopTest.moc"
