// SPDX-License-Identifier: MIT
#include "platform/portal/PortalShortcuts.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QList>

#include <algorithm>
#include <atomic>
#include <utility>
#include <vector>

#include "platform/portal/PortalBus.h"

namespace vorrik::portal {
namespace {

// The portal's shortcut lists, a(sa{sv}): ids and their details.
using Shortcuts = QList<std::pair<QString, QVariantMap>>;

// The portal hands session handles out as strings, though they are object paths.
QString pathOf(const QVariant& value) {
  return value.metaType() == QMetaType::fromType<QDBusObjectPath>()
             ? value.value<QDBusObjectPath>().path()
             : value.toString();
}

// Whether the shortcut list in a BindShortcuts or ListShortcuts answer holds id; nothing when
// the answer has no readable list.
std::optional<bool> holds(const QVariantMap& results, const QString& id) {
  const QVariant list = results.value(QStringLiteral("shortcuts"));
  if (list.metaType() != QMetaType::fromType<QDBusArgument>() ||
      list.value<QDBusArgument>().currentSignature() != QLatin1String("a(sa{sv})")) {
    return std::nullopt;
  }
  Shortcuts bound;
  list.value<QDBusArgument>() >> bound;
  return std::any_of(bound.cbegin(), bound.cend(),
                     [&id](const auto& shortcut) { return shortcut.first == id; });
}

const QString kShortcuts = QString::fromLatin1(kGlobalShortcuts);
const QString kSession = QString::fromLatin1(kSessionInterface);

// Request and session tokens, unique in the process.
QString nextToken() {
  static std::atomic<unsigned> counter{0};
  return QStringLiteral("vorrik_keys%1").arg(++counter);
}

QDBusConnection ownConnection(const void* owner) {
  return QDBusConnection::connectToBus(
      QDBusConnection::SessionBus,
      QStringLiteral("vorrik-shortcuts-%1").arg(reinterpret_cast<quintptr>(owner)));
}

}  // namespace

PortalShortcuts::PortalShortcuts(Listed listed, QString description)
    : bus_(ownConnection(this)),
      registration_(bus_),
      listed_(listed),
      description_(std::move(description)) {
  // F6 is still asked for: the desktop may know the ID some other way (its systemd scope).
  registration_.onFailed =
      [](const QString& why) {
        qCWarning(lcPortal).noquote()
            << QStringLiteral(
                   "F6 may not work: %1. Install Vorrik (its desktop entry %2.desktop), "
                   "or bind \"vorrik --toggle\" to F6 in the desktop's keyboard settings.")
                   .arg(why, QString::fromLatin1(kAppId));
      };
  qDBusRegisterMetaType<Shortcuts::value_type>();
  qDBusRegisterMetaType<Shortcuts>();
  // The portal sends Activated to the session's own connection only, for every session of it.
  bus_.connect(QString::fromLatin1(kPortalService), QString::fromLatin1(kPortalObject), kShortcuts,
               QStringLiteral("Activated"), this, SLOT(onActivated(QDBusMessage)));
}

PortalShortcuts::~PortalShortcuts() {
  if (!session_.isEmpty()) {
    closeSession(bus_, session_);
  }
  const QString name = bus_.name();
  bus_ = QDBusConnection(QString());
  QDBusConnection::disconnectFromBus(name);
}

std::optional<InputMonitor::Handle> PortalShortcuts::addKeyMonitor(
    std::function<void(Key)> handler) {
  const Handle handle = nextHandle_++;
  handlers_.emplace(handle, std::move(handler));
  if (step_ == Step::none) {
    if (!bus_.isConnected()) {
      fail(QStringLiteral("no session bus: ") + bus_.lastError().message());
    } else {
      step_ = Step::create;
      registration_.whenReady([this] {
        request(Step::create, QStringLiteral("CreateSession"),
                {QVariantMap{{QStringLiteral("session_handle_token"), nextToken()}}});
      });
    }
  }
  return handle;
}

void PortalShortcuts::remove(Handle handle) {
  handlers_.erase(handle);
}

void PortalShortcuts::request(Step step, const QString& method, QVariantList args) {
  step_ = step;
  // Only a bind shows the dialog (GNOME's, or Plasma's shortcut settings).
  setDialog(step == Step::bind);
  requestPath_ =
      sendRequest(bus_, kShortcuts, method, std::move(args), nextToken(), this,
                  SLOT(onResponse(uint, QVariantMap)), [this, step](const QDBusError& e) {
                    if (step_ == step) {
                      fail(QStringLiteral("the desktop failed the request: ") + e.message());
                    }
                  });
}

void PortalShortcuts::onResponse(uint response, const QVariantMap& results) {
  forgetRequest(bus_, requestPath_, this, SLOT(onResponse(uint, QVariantMap)));
  setDialog(false);
  const QString id = QString::fromLatin1(kShortcutId);
  switch (step_) {
    case Step::create:
      if (response != 0) {
        break;
      }
      session_ = pathOf(results.value(QStringLiteral("session_handle")));
      bus_.connect(QString::fromLatin1(kPortalService), session_, kSession,
                   QStringLiteral("Closed"), this, SLOT(onClosed(QVariantMap)));
      if (listed_ == Listed::keep) {
        request(Step::list, QStringLiteral("ListShortcuts"),
                {QVariant::fromValue(QDBusObjectPath(session_)), QVariantMap{}});
      } else {
        bind();
      }
      return;
    case Step::list:
      // A list that cannot be read or lacks the shortcut asks for a bind, like no list at all.
      if (response == 0 && holds(results, id).value_or(false)) {
        step_ = Step::bound;
      } else {
        bind();
      }
      return;
    case Step::bind:
      // GNOME 48 answers 2 even when the user added the shortcut; its list says what holds.
      if (const std::optional<bool> kept = holds(results, id); kept ? *kept : response == 0) {
        step_ = Step::bound;
        return;
      }
      if (response == 0) {
        fail(QStringLiteral("the desktop bound no key to it"));
        return;
      }
      break;
    case Step::none:
    case Step::bound:
    case Step::failed:
      return;
  }
  // 1: the user refused; 2: the desktop ended the dialog some other way.
  fail(QStringLiteral("the desktop refused it (response %1)").arg(response));
}

void PortalShortcuts::bind() {
  const Shortcuts shortcuts{{QString::fromLatin1(kShortcutId),
                             {{QStringLiteral("description"), description_},
                              {QStringLiteral("preferred_trigger"), QStringLiteral("F6")}}}};
  // The panel adds its key monitor before it has a window, and a Wayland client has no handle
  // the portal could use for one anyway; the desktop then places its dialog itself.
  request(Step::bind, QStringLiteral("BindShortcuts"),
          {QVariant::fromValue(QDBusObjectPath(session_)), QVariant::fromValue(shortcuts),
           QString(), QVariantMap{}});
}

void PortalShortcuts::onActivated(const QDBusMessage& message) {
  const QVariantList args = message.arguments();
  if (step_ != Step::bound || args.size() < 2 || pathOf(args.at(0)) != session_ ||
      args.at(1).toString() != QLatin1String(kShortcutId)) {
    return;
  }
  // A handler may remove monitors, its own included, or add new ones.
  std::vector<Handle> handles;
  handles.reserve(handlers_.size());
  for (const auto& entry : handlers_) {
    handles.push_back(entry.first);
  }
  for (const Handle handle : handles) {
    if (const auto found = handlers_.find(handle); found != handlers_.end()) {
      const std::function<void(Key)> handler = found->second;
      handler(Key::f6);
    }
  }
}

void PortalShortcuts::onClosed(const QVariantMap& /*details*/) {
  // Gone already: nothing to close.
  bus_.disconnect(QString::fromLatin1(kPortalService), session_, kSession, QStringLiteral("Closed"),
                  this, SLOT(onClosed(QVariantMap)));
  session_.clear();
  fail(QStringLiteral("the desktop closed its session"));
}

void PortalShortcuts::fail(const QString& why) {
  qCWarning(lcPortal).noquote() << "no global F6 shortcut:" << why;
  if (!session_.isEmpty()) {
    bus_.disconnect(QString::fromLatin1(kPortalService), session_, kSession,
                    QStringLiteral("Closed"), this, SLOT(onClosed(QVariantMap)));
    closeSession(bus_, std::exchange(session_, QString()));
  }
  step_ = Step::failed;
  setDialog(false);
  if (onUnavailable) {
    onUnavailable();
  }
}

void PortalShortcuts::setDialog(bool open) {
  if (std::exchange(dialog_, open) != open && onDialog) {
    onDialog(open);
  }
}

}  // namespace vorrik::portal
