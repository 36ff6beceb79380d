#pragma once

#include <optional>

#include "platform/UserNotificationCenter.h"

#include <QDBusConnection>
#include <QHash>
#include <QObject>

namespace pexi {

// Notifications through the desktop's notification server (org.freedesktop.Notifications on
// the session bus). Calls never block: the server's own id arrives later, so callers get an id
// of ours at once. Each notification's userInfo stays here until it is activated or closed.
class DBusNotificationCenter : public QObject, public UserNotificationCenter
{
    Q_OBJECT
public:
    static const QString serviceName;
    static const QString objectPath;
    static const QString interfaceName;

    // Whether a notification server answers on `bus`, or would be started by the first call.
    static bool isAvailable(const QDBusConnection &bus);

    explicit DBusNotificationCenter(const QDBusConnection &bus = QDBusConnection::sessionBus(),
                                    QObject *parent = nullptr);
    ~DBusNotificationCenter() override;

    NotificationId deliverNotification(const UserNotification &notification) override;
    void removeDeliveredNotification(NotificationId id) override;

    // Notifications still tracked: shown, or on their way to the server.
    int pendingCount() const { return int(m_delivered.size()); }
    // Whether bodies are sent as markup; false until the server said it renders it.
    bool bodyMarkup() const { return m_bodyMarkup.value_or(false); }

private slots:
    void onActionInvoked(uint serverId, const QString &actionKey);
    void onNotificationClosed(uint serverId, uint reason);

private:
    struct Delivered
    {
        uint serverId = 0; // 0 until the server answered
        QVariantMap userInfo;
        bool closeWhenShown = false;
        bool activated = false;
    };

    void send(NotificationId id, const UserNotification &notification);
    void onNotifyReply(NotificationId id, uint serverId, bool failed);
    void closeOnServer(uint serverId);
    void forget(NotificationId id);

    QDBusConnection m_bus;
    // Unknown until the server answers; notifications wait for it, since escaping depends on it.
    std::optional<bool> m_bodyMarkup;
    QList<std::pair<NotificationId, UserNotification>> m_waiting;
    NotificationId m_nextId = 1;
    QHash<NotificationId, Delivered> m_delivered;
    QHash<uint, NotificationId> m_idForServerId;
};

} // namespace pexi
