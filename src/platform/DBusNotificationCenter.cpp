#include "platform/DBusNotificationCenter.h"

#include "core/Log.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

namespace pexi {

namespace {

// Action keys of the notification protocol: "default" is a click on the notification itself.
const QString defaultActionKey = QStringLiteral("default");
const QString actionButtonKey = QStringLiteral("action");
const QString otherButtonKey = QStringLiteral("other");

} // namespace

const QString DBusNotificationCenter::serviceName = QStringLiteral("org.freedesktop.Notifications");
const QString DBusNotificationCenter::objectPath = QStringLiteral("/org/freedesktop/Notifications");
const QString DBusNotificationCenter::interfaceName =
    QStringLiteral("org.freedesktop.Notifications");

bool DBusNotificationCenter::isAvailable(const QDBusConnection &bus)
{
    // Asking the bus, not the server: the server may be started on demand by the first call.
    QDBusConnectionInterface *daemon = bus.isConnected() ? bus.interface() : nullptr;
    if (!daemon)
        return false;
    const QDBusReply<bool> registered = daemon->isServiceRegistered(serviceName);
    if (registered.isValid() && registered.value())
        return true;
    const QDBusReply<QStringList> activatable = daemon->activatableServiceNames();
    return activatable.isValid() && activatable.value().contains(serviceName);
}

DBusNotificationCenter::DBusNotificationCenter(const QDBusConnection &bus, QObject *parent)
    : QObject(parent), m_bus(bus)
{
    m_bus.connect(serviceName, objectPath, interfaceName, QStringLiteral("ActionInvoked"), this,
                  SLOT(onActionInvoked(uint, QString)));
    m_bus.connect(serviceName, objectPath, interfaceName, QStringLiteral("NotificationClosed"),
                  this, SLOT(onNotificationClosed(uint, uint)));

    const QDBusMessage capabilities = QDBusMessage::createMethodCall(
        serviceName, objectPath, interfaceName, QStringLiteral("GetCapabilities"));
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(capabilities), this);
    connect(
        watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *call) {
            const QDBusPendingReply<QStringList> reply = *call;
            m_bodyMarkup = reply.isValid() && reply.value().contains(QStringLiteral("body-markup"));
            for (const auto &[id, notification] : std::exchange(m_waiting, {})) {
                if (m_delivered.contains(id))
                    send(id, notification);
            }
            call->deleteLater();
        });
}

DBusNotificationCenter::~DBusNotificationCenter() = default;

UserNotificationCenter::NotificationId
DBusNotificationCenter::deliverNotification(const UserNotification &notification)
{
    const NotificationId id = m_nextId++;
    m_delivered.insert(id, Delivered{0, notification.userInfo, false, false});
    if (m_bodyMarkup)
        send(id, notification);
    else
        m_waiting.append({id, notification});
    return id;
}

void DBusNotificationCenter::send(NotificationId id, const UserNotification &notification)
{
    QStringList lines;
    for (const QString &line : {notification.subtitle, notification.informativeText}) {
        if (!line.isEmpty())
            lines.append(*m_bodyMarkup ? line.toHtmlEscaped() : line);
    }

    QStringList actions{defaultActionKey, QString()};
    if (!notification.actionButtonTitle.isEmpty())
        actions << actionButtonKey << notification.actionButtonTitle;
    if (!notification.otherButtonTitle.isEmpty())
        actions << otherButtonKey << notification.otherButtonTitle;

    QDBusMessage notify = QDBusMessage::createMethodCall(serviceName, objectPath, interfaceName,
                                                         QStringLiteral("Notify"));
    notify << QStringLiteral("Pexi") << uint(0) << QStringLiteral("dialog-password")
           << notification.title << lines.join(QLatin1Char('\n')) << actions << QVariantMap()
           << int(-1);

    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(notify), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, id](QDBusPendingCallWatcher *call) {
                const QDBusPendingReply<uint> reply = *call;
                if (reply.isError())
                    logLine(QStringLiteral("desktop notification not shown: %1")
                                .arg(reply.error().message()));
                onNotifyReply(id, reply.isValid() ? reply.value() : 0, !reply.isValid());
                call->deleteLater();
            });
}

void DBusNotificationCenter::removeDeliveredNotification(NotificationId id)
{
    const auto it = m_delivered.find(id);
    if (it == m_delivered.end())
        return;
    if (it->serverId == 0) {
        it->closeWhenShown = true;
        return;
    }
    closeOnServer(it->serverId);
    forget(id);
}

void DBusNotificationCenter::onNotifyReply(NotificationId id, uint serverId, bool failed)
{
    const auto it = m_delivered.find(id);
    if (it == m_delivered.end())
        return;
    if (failed || serverId == 0) {
        forget(id);
        return;
    }
    if (it->closeWhenShown) {
        closeOnServer(serverId);
        forget(id);
        return;
    }
    it->serverId = serverId;
    m_idForServerId.insert(serverId, id);
}

void DBusNotificationCenter::onActionInvoked(uint serverId, const QString &actionKey)
{
    // The signal reaches every client of the server; ids that are not ours are someone else's.
    const auto found = m_idForServerId.constFind(serverId);
    if (found == m_idForServerId.constEnd())
        return;
    const NotificationId id = *found;

    if (actionKey == otherButtonKey) {
        closeOnServer(serverId);
        forget(id);
        return;
    }
    ActivationType type;
    if (actionKey == defaultActionKey)
        type = ActivationType::contentClicked;
    else if (actionKey == actionButtonKey)
        type = ActivationType::actionButtonClicked;
    else
        return;

    // One activation per notification; the login it offers is not kept beyond it.
    auto it = m_delivered.find(id);
    if (it->activated)
        return;
    it->activated = true;
    const QVariantMap userInfo = std::exchange(it->userInfo, {});
    activate(id, userInfo, type);
}

void DBusNotificationCenter::onNotificationClosed(uint serverId, uint /*reason*/)
{
    const auto found = m_idForServerId.constFind(serverId);
    if (found != m_idForServerId.constEnd())
        forget(*found);
}

void DBusNotificationCenter::closeOnServer(uint serverId)
{
    QDBusMessage close = QDBusMessage::createMethodCall(serviceName, objectPath, interfaceName,
                                                        QStringLiteral("CloseNotification"));
    close << serverId;
    m_bus.asyncCall(close);
}

void DBusNotificationCenter::forget(NotificationId id)
{
    const auto it = m_delivered.find(id);
    if (it == m_delivered.end())
        return;
    m_idForServerId.remove(it->serverId);
    m_delivered.erase(it);
}

} // namespace pexi
