#pragma once

#include "app/Window.h"
#include "platform/BrowserLauncher.h"
#include "platform/UserNotificationCenter.h"

#include <QPointF>

// Stand-ins for what cannot run here (a browser, a desktop notification server, the floating
// window), for the tests, benchmarks and fuzz harness that exercise the bridge without them.
class NullLauncher : public pexi::BrowserLauncher
{
public:
    bool openUrl(const QUrl &, const QString &) override { return true; }
    bool openWithDefaultHandler(const QUrl &) override { return true; }
    bool isInstalled(const QString &) const override { return false; }
};

class NullWindow : public pexi::Window
{
public:
    void showAt(QPointF) override {}
    void showAt(QPointF, const pexi::InventoryItem &) override {}
};

class NullNotificationCenter : public pexi::UserNotificationCenter
{
public:
    NotificationId deliverNotification(const pexi::UserNotification &) override { return ++m_last; }
    void removeDeliveredNotification(NotificationId) override {}

private:
    NotificationId m_last = 0;
};
