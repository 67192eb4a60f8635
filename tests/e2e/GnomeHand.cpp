// SPDX-License-Identifier: MIT
// The user's hand on a headless GNOME Shell: keys, pointer motion and buttons injected through
// mutter's own remote-desktop interface, which asks nobody. Reads one command a line on stdin
// and answers "ok" (or "error: why") on stdout when it has been delivered:
//   key NAME|0xKEYSYM   press and release a key (Escape, Tab, Return, space, F6, Left, Right...)
//   keydown NAME, keyup NAME
//   move X Y            absolute pointer motion, in the monitor's logical pixels
//   press BUTTON, release BUTTON, click BUTTON   (left or right)
//   sleep MS
//   node                the PipeWire node showing the monitor (for screenshots)
//   consent accept      answer the desktop's open consent dialog as a user would: allow remote
//   consent refuse      interaction and share, or cancel (on a 1280x800 monitor; the layout is
//                       the running GNOME Shell's, read from its ShellVersion)
//   shortcuts accept    add the shortcuts an application asked for (GNOME 48's dialog)
// mutter ends the session when this process ends; the desktop's seat then has no keyboard,
// and the focused window is told it lost the keyboard.
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QDBusVariant>
#include <QEventLoop>
#include <QProcess>
#include <QRegularExpression>
#include <QTextStream>
#include <QThread>
#include <QTimer>

#include <cstdint>
#include <cstdio>
#include <map>
#include <optional>
#include <vector>

#include "ShellVersion.h"

namespace {

const QString kRemoteDesktop = QStringLiteral("org.gnome.Mutter.RemoteDesktop");
const QString kScreenCast = QStringLiteral("org.gnome.Mutter.ScreenCast");

// Receives the stream's PipeWire node, after which absolute motion is mapped through it.
class StreamWatch : public QObject {
  Q_OBJECT

 public Q_SLOTS:
  void onAdded(uint id) {
    node = id;
    added = true;
  }

 public:  // NOLINT(readability-redundant-access-specifiers): after moc's slot section
  bool added = false;
  uint node = 0;
};

std::optional<std::uint32_t> keysym(const QString& name) {
  static const std::map<QString, std::uint32_t> kNames{
      {QStringLiteral("Escape"), 0xff1b}, {QStringLiteral("Tab"), 0xff09},
      {QStringLiteral("Return"), 0xff0d}, {QStringLiteral("space"), 0x20},
      {QStringLiteral("F6"), 0xffc3},     {QStringLiteral("Left"), 0xff51},
      {QStringLiteral("Up"), 0xff52},     {QStringLiteral("Right"), 0xff53},
      {QStringLiteral("Down"), 0xff54},   {QStringLiteral("Shift_L"), 0xffe1},
      {QStringLiteral("Super_L"), 0xffeb}};
  if (const auto it = kNames.find(name); it != kNames.end()) {
    return it->second;
  }
  bool ok = false;
  const uint value = name.toUInt(&ok, 0);
  return ok ? std::optional<std::uint32_t>(value) : std::nullopt;
}

// evdev codes, as the remote-desktop interface takes them.
std::optional<int> button(const QString& name) {
  if (name == QStringLiteral("left")) {
    return 0x110;
  }
  if (name == QStringLiteral("right")) {
    return 0x111;
  }
  return std::nullopt;
}

// Where each GNOME draws its remote-desktop consent dialog on a 1280x800 monitor, as hand
// commands. Moving one pixel first gives the dialog a motion inside it, so that it sees the
// pointer enter before the click.
struct ConsentSteps {
  int fromMajor;
  QStringList accept;
  QStringList refuse;
  QStringList addShortcuts;  // empty where the desktop has no such dialog
};
const std::vector<ConsentSteps>& consentLayouts() {
  static const std::vector<ConsentSteps> kLayouts{
      // 43: the "Allow Remote Interaction" switch, then Share; Escape cancels.
      {43,
       {QStringLiteral("move 819 340"), QStringLiteral("move 820 340"),
        QStringLiteral("click left"), QStringLiteral("sleep 300"), QStringLiteral("move 842 289"),
        QStringLiteral("move 843 289"), QStringLiteral("click left")},
       {QStringLiteral("key Escape")},
       {}},
      // 48: the switch, then Share in the header bar ("Remember This Selection" is ticked
      // already); Cancel at the header bar's other end.
      {48,
       {QStringLiteral("move 884 323"), QStringLiteral("move 885 323"),
        QStringLiteral("click left"), QStringLiteral("sleep 300"), QStringLiteral("move 920 189"),
        QStringLiteral("move 921 189"), QStringLiteral("click left")},
       {QStringLiteral("move 359 189"), QStringLiteral("move 360 189"),
        QStringLiteral("click left")},
       // "Add Keyboard Shortcuts": its Add button (Return does not reach it).
       {QStringLiteral("move 839 336"), QStringLiteral("move 840 336"),
        QStringLiteral("click left")}},
  };
  return kLayouts;
}

class Hand {
 public:
  // Empty on success, else why the session did not start.
  QString open() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    QDBusReply<QDBusObjectPath> session = bus.call(QDBusMessage::createMethodCall(
        kRemoteDesktop, QStringLiteral("/org/gnome/Mutter/RemoteDesktop"), kRemoteDesktop,
        QStringLiteral("CreateSession")));
    if (!session.isValid()) {
      return session.error().message();
    }
    session_ = session.value().path();
    QDBusMessage idCall = QDBusMessage::createMethodCall(
        kRemoteDesktop, session_, QStringLiteral("org.freedesktop.DBus.Properties"),
        QStringLiteral("Get"));
    idCall << kRemoteDesktop + QStringLiteral(".Session") << QStringLiteral("SessionId");
    QDBusReply<QDBusVariant> id = bus.call(idCall);
    if (!id.isValid()) {
      return id.error().message();
    }
    QDBusMessage castCall =
        QDBusMessage::createMethodCall(kScreenCast, QStringLiteral("/org/gnome/Mutter/ScreenCast"),
                                       kScreenCast, QStringLiteral("CreateSession"));
    castCall << QVariantMap{{QStringLiteral("remote-desktop-session-id"), id.value().variant()}};
    QDBusReply<QDBusObjectPath> cast = bus.call(castCall);
    if (!cast.isValid()) {
      return cast.error().message();
    }
    // An empty connector names the primary monitor.
    QDBusMessage recordCall = QDBusMessage::createMethodCall(
        kScreenCast, cast.value().path(), kScreenCast + QStringLiteral(".Session"),
        QStringLiteral("RecordMonitor"));
    recordCall << QString() << QVariantMap{};
    QDBusReply<QDBusObjectPath> stream = bus.call(recordCall);
    if (!stream.isValid()) {
      return stream.error().message();
    }
    stream_ = stream.value().path();
    bus.connect(kScreenCast, stream_, kScreenCast + QStringLiteral(".Stream"),
                QStringLiteral("PipeWireStreamAdded"), &watch_, SLOT(onAdded(uint)));
    if (QString why = call(QStringLiteral("Start"), {}); !why.isEmpty()) {
      return why;
    }
    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
      if (watch_.added) {
        loop.quit();
      }
    });
    QTimer::singleShot(10000, &loop, &QEventLoop::quit);
    poll.start(10);
    loop.exec();
    if (!watch_.added) {
      return QStringLiteral("no PipeWire stream (is pipewire running?)");
    }
    // mutter lets the first event of each new device go by without effect: one of each here.
    // The new devices reach the clients (a seat without a keyboard gains one) a moment after
    // the session starts; events sent before are lost.
    QThread::msleep(300);
    return call(QStringLiteral("NotifyPointerMotionRelative"), {0.0, 0.0});
  }

  // Empty when done, else why not.
  QString run(const QString& line) {
    const QStringList words = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (words.isEmpty()) {
      return {};
    }
    const QString& verb = words[0];
    if ((verb == QStringLiteral("key") || verb == QStringLiteral("keydown") ||
         verb == QStringLiteral("keyup")) &&
        words.size() == 2) {
      const std::optional<std::uint32_t> sym = keysym(words[1]);
      if (!sym) {
        return QStringLiteral("unknown key");
      }
      const QString method = QStringLiteral("NotifyKeyboardKeysym");
      QString why;
      if (verb != QStringLiteral("keyup")) {
        why += call(method, {uint(*sym), true});
      }
      if (verb != QStringLiteral("keydown")) {
        why += call(method, {uint(*sym), false});
      }
      return why;
    }
    if (verb == QStringLiteral("move") && words.size() == 3) {
      return call(QStringLiteral("NotifyPointerMotionAbsolute"),
                  {stream_, words[1].toDouble(), words[2].toDouble()});
    }
    if ((verb == QStringLiteral("press") || verb == QStringLiteral("release") ||
         verb == QStringLiteral("click")) &&
        words.size() == 2) {
      const std::optional<int> code = button(words[1]);
      if (!code) {
        return QStringLiteral("unknown button");
      }
      const QString method = QStringLiteral("NotifyPointerButton");
      QString why;
      if (verb != QStringLiteral("release")) {
        why += call(method, {*code, true});
      }
      if (verb == QStringLiteral("click")) {
        QThread::msleep(20);
      }
      if (verb != QStringLiteral("press")) {
        why += call(method, {*code, false});
      }
      return why;
    }
    if (verb == QStringLiteral("node") && words.size() == 1) {
      // The PipeWire node of the monitor's stream, for a screenshot while a test is written.
      QTextStream(stdout) << "node " << watch_.node << Qt::endl;
      return {};
    }
    if (verb == QStringLiteral("consent") && words.size() == 2 &&
        (words[1] == QStringLiteral("accept") || words[1] == QStringLiteral("refuse"))) {
      return consent(words[1] == QStringLiteral("accept") ? &ConsentSteps::accept
                                                          : &ConsentSteps::refuse);
    }
    if (verb == QStringLiteral("shortcuts") && words.size() == 2 &&
        words[1] == QStringLiteral("accept")) {
      return consent(&ConsentSteps::addShortcuts);
    }
    if (verb == QStringLiteral("sleep") && words.size() == 2) {
      QThread::msleep(words[1].toULong());
      return {};
    }
    return QStringLiteral("unknown command");
  }

 private:
  QString consent(QStringList ConsentSteps::*answer) {
    if (major_ == 0) {
      major_ = vorrik::e2e::shellMajor();
    }
    // The newest layout not newer than the running shell.
    const ConsentSteps* layout = nullptr;
    for (const ConsentSteps& candidate : consentLayouts()) {
      if (candidate.fromMajor <= major_) {
        layout = &candidate;
      }
    }
    if (layout == nullptr) {
      return QStringLiteral("no consent dialog layout for GNOME Shell %1").arg(major_);
    }
    if ((layout->*answer).isEmpty()) {
      return QStringLiteral("GNOME Shell %1 has no such dialog").arg(major_);
    }
    for (const QString& step : layout->*answer) {
      if (QString why = run(step); !why.isEmpty()) {
        return why;
      }
    }
    return {};
  }

  // A synchronous call, so that "ok" means mutter has taken the event.
  QString call(const QString& method, const QVariantList& args) {
    QDBusMessage message = QDBusMessage::createMethodCall(
        kRemoteDesktop, session_, kRemoteDesktop + QStringLiteral(".Session"), method);
    message.setArguments(args);
    const QDBusMessage reply = QDBusConnection::sessionBus().call(message);
    return reply.type() == QDBusMessage::ErrorMessage ? reply.errorMessage() : QString();
  }

  QString session_;
  QString stream_;
  StreamWatch watch_;
  int major_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication app(argc, argv);
  Hand hand;
  if (const QString why = hand.open(); !why.isEmpty()) {
    std::fprintf(stderr, "gnome_hand: %s\n", qPrintable(why));
    return 1;
  }
  QTextStream in(stdin);
  QTextStream out(stdout);
  QString line;
  int status = 0;
  while (in.readLineInto(&line)) {
    if (const QString why = hand.run(line); why.isEmpty()) {
      out << "ok" << Qt::endl;
    } else {
      out << "error: " << why << Qt::endl;
      status = 1;
    }
  }
  return status;
}

#include "GnomeHand.moc"
