#include "platform/UserNotificationCenter.h"

#include "app/Log.h"
#include "platform/DBusNotificationCenter.h"
#include "platform/TrayMessageNotificationCenter.h"

#include <QDBusConnectionInterface>

namespace pexi {

std::unique_ptr<UserNotificationCenter> UserNotificationCenter::create()
{
    return create(QDBusConnection::sessionBus());
}

std::unique_ptr<UserNotificationCenter> UserNotificationCenter::create(const QDBusConnection &bus)
{
    // Asking the bus, not the server: the server may be started on demand by the first call.
    if (bus.isConnected()) {
        if (QDBusConnectionInterface *daemon = bus.interface()) {
            const QString name = DBusNotificationCenter::serviceName;
            const QDBusReply<bool> registered = daemon->isServiceRegistered(name);
            const QDBusReply<QStringList> activatable = daemon->activatableServiceNames();
            if ((registered.isValid() && registered.value()) ||
                (activatable.isValid() && activatable.value().contains(name)))
                return std::make_unique<DBusNotificationCenter>(bus);
        }
    }
    logLine(QStringLiteral("no desktop notification server, falling back to tray messages"));
    return std::make_unique<TrayMessageNotificationCenter>();
}

UserNotificationCenter &UserNotificationCenter::shared()
{
    // Never destroyed: its D-Bus connection and tray icon must not outlive the application.
    static UserNotificationCenter *center = create().release();
    return *center;
}

} // namespace pexi
