#include "app/AppDelegate.h"

#include "app/AnalyticsLogger.h"
#include "app/Launch.h"
#include "app/Preferences.h"
#include "app/StatusMenuController.h"
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
#include "platform/LocalSingleInstance.h"
#include "platform/PortalColorSchemeMonitor.h"
#include "ui/Appearance.h"

#include <QCoreApplication>
#include <QCursor>

namespace pexi {

namespace {

// The desktop's notification server when one answers on the session bus, else balloons of the
// status item (without buttons).
std::unique_ptr<UserNotificationCenter> makeNotificationCenter(QSystemTrayIcon &statusItem)
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (DBusNotificationCenter::isAvailable(bus))
        return std::make_unique<DBusNotificationCenter>(bus);
    logLine(QStringLiteral("no desktop notification server, falling back to tray messages"));
    return std::make_unique<TrayMessageNotificationCenter>(&statusItem);
}

QPointF mouseLocation()
{
    return QCursor::pos();
}

} // namespace

AppDelegate::AppDelegate() = default;
AppDelegate::~AppDelegate() = default;

AppDelegate::LaunchResult AppDelegate::applicationDidFinishLaunching()
{
    // First of all: the port and the vault's lock belong to a copy that already serves.
    m_singleInstance = std::make_unique<LocalSingleInstance>();
    switch (m_singleInstance->claim()) {
    case SingleInstance::Claim::anotherIsServing:
        logLine(QStringLiteral("another worker is running; it opens its window"));
        return LaunchResult::handedOver;
    case SingleInstance::Claim::failed:
        return LaunchResult::failed;
    case SingleInstance::Claim::serving:
        break;
    }
    QObject::connect(m_singleInstance.get(), &SingleInstance::reopen,
                     [this] { applicationShouldHandleReopen(); });
    const bool showWindow = Launch::showsWindow(QCoreApplication::arguments());

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
        return LaunchResult::failed;
    // After listening: asking the session bus for a tray and a notification server must not
    // hold up the extensions.
    m_statusMenu = std::make_unique<StatusMenuController>(StatusMenuController::Services{
        m_window, Locker::instance(), NotificationCenter::defaultCenter(), Preferences::instance(),
        appearance});
    m_notifications = makeNotificationCenter(m_statusMenu->statusItem());
    m_capture = std::make_unique<SavePasswordController>(SavePasswordController::Services{
        Preferences::instance(), AnalyticsLogger::instance(), *m_notifications, m_window,
        Locker::instance(), mouseLocation});
    ExtensionHandler::install(server, {Locker::instance(), BrowserController::instance(),
                                       *m_capture, m_window, mouseLocation});

    if (Account::shared().userIdentifier())
        AnalyticsLogger::instance().userProperties();
    if (showWindow)
        m_window.showAt(Launch::position());
    return LaunchResult::serving;
}

void AppDelegate::applicationWillTerminate()
{
    SyncService::shared().stop();
    ExtensionServer::instance().stop();
}

void AppDelegate::applicationShouldHandleReopen()
{
    m_window.showAt(Launch::position());
}

} // namespace pexi
