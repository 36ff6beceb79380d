#pragma once

#include "platform/UserNotificationCenter.h"

#include <QObject>
#include <QPointer>
#include <QSystemTrayIcon>

namespace pexi {

// Notifications as balloon messages of the status item, for desktops without a notification
// server. Balloons have no buttons, so a click on one counts as a click on the notification;
// only the newest balloon is on screen, so only it can be clicked.
class TrayMessageNotificationCenter : public QObject, public UserNotificationCenter
{
    Q_OBJECT
public:
    explicit TrayMessageNotificationCenter(QSystemTrayIcon *trayIcon = nullptr,
                                           QObject *parent = nullptr);
    ~TrayMessageNotificationCenter() override;

    // The status item arrives after the centre; messages need its icon to hang from.
    void setTrayIcon(QSystemTrayIcon *trayIcon);

    NotificationId deliverNotification(const UserNotification &notification) override;
    void removeDeliveredNotification(NotificationId id) override;

private:
    void onMessageClicked();

    QPointer<QSystemTrayIcon> m_trayIcon;
    NotificationId m_nextId = 1;
    NotificationId m_shownId = 0; // 0: nothing clickable on screen
    QVariantMap m_shownUserInfo;
};

} // namespace pexi
