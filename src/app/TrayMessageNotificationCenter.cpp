#include "app/TrayMessageNotificationCenter.h"

#include "core/Log.h"

#include <utility>

namespace pexi {

TrayMessageNotificationCenter::TrayMessageNotificationCenter(QSystemTrayIcon *trayIcon,
                                                             QObject *parent)
    : QObject(parent)
{
    setTrayIcon(trayIcon);
}

TrayMessageNotificationCenter::~TrayMessageNotificationCenter() = default;

void TrayMessageNotificationCenter::setTrayIcon(QSystemTrayIcon *trayIcon)
{
    if (m_trayIcon)
        disconnect(m_trayIcon, nullptr, this, nullptr);
    m_trayIcon = trayIcon;
    if (m_trayIcon) {
        connect(m_trayIcon, &QSystemTrayIcon::messageClicked, this,
                &TrayMessageNotificationCenter::onMessageClicked);
    }
}

UserNotificationCenter::NotificationId
TrayMessageNotificationCenter::deliverNotification(const UserNotification &notification)
{
    const NotificationId id = m_nextId++;

    QStringList lines;
    for (const QString &line : {notification.subtitle, notification.informativeText}) {
        if (!line.isEmpty())
            lines.append(line);
    }
    const QString body = lines.join(QLatin1Char('\n'));

    if (!m_trayIcon) {
        // Without a status item there is nowhere to show it. The log names it, but never the
        // login's username or site.
        logLine(QStringLiteral("notification: %1").arg(notification.title));
        return id;
    }
    m_shownId = id;
    m_shownUserInfo = notification.userInfo;
    m_trayIcon->showMessage(notification.title, body, QSystemTrayIcon::Information);
    return id;
}

void TrayMessageNotificationCenter::removeDeliveredNotification(NotificationId id)
{
    // A balloon cannot be taken back; it just stops counting.
    if (id != 0 && id == m_shownId) {
        m_shownId = 0;
        m_shownUserInfo.clear();
    }
}

void TrayMessageNotificationCenter::onMessageClicked()
{
    if (m_shownId == 0)
        return;
    const NotificationId id = std::exchange(m_shownId, 0);
    const QVariantMap userInfo = std::exchange(m_shownUserInfo, {});
    activate(id, userInfo, ActivationType::contentClicked);
}

} // namespace pexi
