#pragma once

#include "capture/CapturePreferences.h"
#include "capture/EventLogger.h"
#include "capture/WindowPresenter.h"
#include "platform/ApplicationLauncher.h"
#include "platform/BrowserLauncher.h"
#include "platform/UserNotificationCenter.h"

#include <QPointF>

// Stand-ins for what the bridge is handed from above or cannot run here (a browser, a desktop
// notification server, the floating window, the analytics service, the user's settings), for the
// tests, benchmarks and fuzz harness that exercise the bridge without them.
class NullLauncher : public pexi::BrowserLauncher
{
public:
    bool openUrl(const QUrl &, const QString &) override { return true; }
    bool openWithDefaultHandler(const QUrl &) override { return true; }
    bool isInstalled(const QString &) const override { return false; }
};

class NullApplicationLauncher : public pexi::ApplicationLauncher
{
public:
    bool isInstalled(const QString &) const override { return false; }
    bool launch(const QString &, const QString &) override { return false; }
};

class NullWindow : public pexi::WindowPresenter
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

class NullEventLogger : public pexi::EventLogger
{
public:
    void logEvent(const QString &) override {}
};

// Settings as the test sets them; by default what a fresh install has.
class FixedPreferences : public pexi::CapturePreferences
{
public:
    bool autoSavePasswords() const override { return autoSave; }
    bool showSaveNotifications() const override { return notifications; }

    bool autoSave = true;
    bool notifications = true;
};
