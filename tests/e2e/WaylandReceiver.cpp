// SPDX-License-Identifier: MIT
// Another Wayland client for end-to-end tests: a full-screen Qt window that prints every button
// event it receives, one line each, as Qt reports it:
//   ready WIDTH HEIGHT | press|release|double left|right X Y MILLISECONDS | key NAME
//   focus|blur: the window gained or lost the keyboard (a dialog over it takes it)
//   enter: the pointer came onto the window; until then no button reaches it
// X and Y in output-layout pixels; milliseconds on the monotonic clock. With --screen N the
// window covers the Nth monitor from the left rather than the primary one.
#include <QApplication>
#include <QKeyEvent>
#include <QKeySequence>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QWidget>
#include <QWindow>

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace {

double nowMs() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return double(ts.tv_sec) * 1e3 + double(ts.tv_nsec) / 1e6;
}

class Receiver final : public QWidget {
 public:
  // So that the window itself takes the keyboard when it is activated, and says so.
  Receiver() { setFocusPolicy(Qt::StrongFocus); }

 protected:
  bool event(QEvent* e) override {
    const char* what = nullptr;
    switch (e->type()) {
      case QEvent::MouseButtonPress:
        what = "press";
        break;
      case QEvent::MouseButtonRelease:
        what = "release";
        break;
      case QEvent::MouseButtonDblClick:
        what = "double";
        break;
      case QEvent::Enter:
        say("enter");
        break;
      default:
        break;
    }
    if (what != nullptr) {
      const auto* m = static_cast<QMouseEvent*>(e);
      const QPointF at = m->position() + QPointF(screen()->geometry().topLeft());
      std::printf("%s %s %g %g %.3f\n", what, m->button() == Qt::RightButton ? "right" : "left",
                  at.x(), at.y(), nowMs());
      std::fflush(stdout);
    }
    return QWidget::event(e);
  }
  void focusInEvent(QFocusEvent* /*event*/) override { say("focus"); }
  void focusOutEvent(QFocusEvent* /*event*/) override { say("blur"); }
  static void say(const char* line) {
    std::printf("%s\n", line);
    std::fflush(stdout);
  }
  void keyPressEvent(QKeyEvent* e) override {
    std::printf("key %s\n", qPrintable(QKeySequence(e->key()).toString()));
    std::fflush(stdout);
  }
  void paintEvent(QPaintEvent* /*event*/) override {
    QPainter(this).fillRect(rect(), Qt::darkGray);
    if (size() != screen()->geometry().size() || ready_) {
      return;
    }
    // The second full-size frame is drawn once the compositor has shown the first, so the
    // window takes input where the tests expect it.
    if (++fullFrames_ < 2) {
      update();
      return;
    }
    ready_ = true;
    std::printf("ready %d %d\n", width(), height());
    std::fflush(stdout);
  }

 private:
  int fullFrames_ = 0;
  bool ready_ = false;
};

}  // namespace

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  Receiver receiver;
  const QStringList args = QApplication::arguments();
  if (const qsizetype at = args.indexOf(QStringLiteral("--screen")); at >= 0) {
    QList<QScreen*> screens = QGuiApplication::screens();
    std::sort(screens.begin(), screens.end(), [](const QScreen* a, const QScreen* b) {
      return a->geometry().x() < b->geometry().x();
    });
    bool ok = false;
    const int n = at + 1 < args.size() ? args[at + 1].toInt(&ok) : -1;
    if (!ok || n < 0 || n >= screens.size()) {
      std::fprintf(stderr, "wayland_receiver: --screen takes 0 to %lld\n",
                   static_cast<long long>(screens.size()) - 1);
      return 2;
    }
    // Qt asks for full screen on its window's screen, which QWidget::setScreen leaves alone.
    receiver.createWinId();
    receiver.windowHandle()->setScreen(screens[n]);
  }
  receiver.showFullScreen();
  return QApplication::exec();
}
