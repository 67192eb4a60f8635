// SPDX-License-Identifier: MIT
// A full-screen Qt window on a Wayland desktop that reports every mouse button it receives, one
// line each on stdout, as Qt sees them:
//   ready WIDTH HEIGHT
//   press|release|double BUTTON X Y MILLISECONDS
//   key NAME            a key press, as Qt names the key
//   focus|blur          the window gained or lost the keyboard (a dialog over it takes it)
// BUTTON is left, right or other; X and Y are window pixels, which are screen pixels because
// the window covers the screen; MILLISECONDS is the event's time stamp. The window is where
// the clicks of a test land; it reports "ready" once the desktop has shown it.
#include <QGuiApplication>
#include <QKeyEvent>
#include <QKeySequence>
#include <QMouseEvent>
#include <QPainter>
#include <QRasterWindow>
#include <QTextStream>

namespace {

class Receiver final : public QRasterWindow {
 protected:
  void paintEvent(QPaintEvent* /*event*/) override {
    QPainter(this).fillRect(QRect(QPoint(), size()), QColor(40, 90, 60));
  }
  void exposeEvent(QExposeEvent* event) override {
    QRasterWindow::exposeEvent(event);
    if (!ready_ && isExposed() && width() > 0) {
      ready_ = true;
      say(QStringLiteral("ready %1 %2").arg(width()).arg(height()));
    }
  }
  void focusInEvent(QFocusEvent* /*event*/) override { say(QStringLiteral("focus")); }
  void focusOutEvent(QFocusEvent* /*event*/) override { say(QStringLiteral("blur")); }
  void keyPressEvent(QKeyEvent* event) override {
    say(QStringLiteral("key ") + QKeySequence(event->key()).toString());
  }
  void mousePressEvent(QMouseEvent* event) override { report("press", event); }
  void mouseReleaseEvent(QMouseEvent* event) override { report("release", event); }
  void mouseDoubleClickEvent(QMouseEvent* event) override { report("double", event); }

 private:
  static void say(const QString& line) {
    static QTextStream out(stdout);
    out << line << Qt::endl;
  }
  void report(const char* what, const QMouseEvent* event) {
    const char* name = event->button() == Qt::LeftButton    ? "left"
                       : event->button() == Qt::RightButton ? "right"
                                                            : "other";
    const QPointF at = event->position();
    say(QStringLiteral("%1 %2 %3 %4 %5")
            .arg(QLatin1String(what), QLatin1String(name))
            .arg(at.x())
            .arg(at.y())
            .arg(event->timestamp()));
  }
  bool ready_ = false;
};

}  // namespace

int main(int argc, char** argv) {
  QGuiApplication app(argc, argv);
  Receiver window;
  window.setTitle(QStringLiteral("Vorrik test receiver"));
  window.showFullScreen();
  return QGuiApplication::exec();
}
