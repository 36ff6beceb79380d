#include "app/AppDelegate.h"

#include "app/AnalyticsLogger.h"
#include "app/Preferences.h"
#include "app/TrayMessageNotificationCenter.h"
#include "capture/SavePasswordController.h"
#include "core/Account.h"
#include "core/Locker.h"
#include "core/Log.h"
#include "core/SyncService.h"
#include "extension/BrowserController.h"
#include "extension/ExtensionHandler.h"
#include "extension/ExtensionServer.h"
#include "platform/DBusNotificationCenter.h"
#include "platform/PortalColorSchemeMonitor.h"
#include "ui/Appearance.h"

#include <QCursor>

namespace pexi {

namespace {

// The desktop's notification server when one answers on the session bus, else balloons of the
// status item (without buttons).
std::unique_ptr<UserNotificationCenter> makeNotificationCenter()
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (DBusNotificationCenter::isAvailable(bus))
        return std::make_unique<DBusNotificationCenter>(bus);
    logLine(QStringLiteral("no desktop notification server, falling back to tray messages"));
    return std::make_unique<TrayMessageNotificationCenter>();
}

QPointF mouseLocation()
{
    return QCursor::pos();
}

} // namespace

AppDelegate::AppDelegate() = default;
AppDelegate::~AppDelegate() = default;

bool AppDelegate::applicationDidFinishLaunching()
{
    // The monitor reads the desktop's palette before the appearance replaces it with ours.
    m_colorScheme = std::make_unique<PortalColorSchemeMonitor>();
    Appearance &appearance = Appearance::instance();
    appearance.setDark(m_colorScheme->prefersDark());
    QObject::connect(m_colorScheme.get(), &ColorSchemeMonitor::prefersDarkChanged, &appearance,
                     &Appearance::setDark);
    appearance.apply();

    Preferences::registerDefaults();

    SyncService &sync = SyncService::shared();
    sync.setRemoteStoreChangedHandler([] {
        logLine(logDate() + QStringLiteral(" Remote store changed, forcing lock"));
        Locker::instance().lock();
    });
    sync.start();

    ExtensionServer &server = ExtensionServer::instance();
    if (!server.start())
        return false;
    // After listening: asking the session bus for a notification server must not hold up the
    // extensions.
    m_notifications = makeNotificationCenter();
    m_capture = std::make_unique<SavePasswordController>(SavePasswordController::Services{
        Preferences::instance(), AnalyticsLogger::instance(), *m_notifications, m_window,
        Locker::instance(), mouseLocation});
    ExtensionHandler::install(server, {Locker::instance(), BrowserController::instance(),
                                       *m_capture, m_window, mouseLocation});

    if (Account::shared().userIdentifier())
        AnalyticsLogger::instance().userProperties();
    return true;
}

void AppDelegate::applicationWillTerminate()
{
    SyncService::shared().stop();
    ExtensionServer::instance().stop();
}

} // namespace pexi
