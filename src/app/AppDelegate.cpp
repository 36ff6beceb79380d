#include "app/AppDelegate.h"

#include "app/AnalyticsLogger.h"
#include "app/Log.h"
#include "app/Preferences.h"
#include "core/Account.h"
#include "core/Locker.h"
#include "core/SyncService.h"
#include "extension/ExtensionHandler.h"
#include "extension/ExtensionServer.h"

#include <QDateTime>

namespace pexi {

bool AppDelegate::applicationDidFinishLaunching()
{
    Preferences::registerDefaults();

    SyncService &sync = SyncService::shared();
    sync.setRemoteStoreChangedHandler([] {
        logLine(
            QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss +0000")) +
            QStringLiteral(" Remote store changed, forcing lock"));
        Locker::instance().lock();
    });
    sync.start();

    ExtensionServer &server = ExtensionServer::instance();
    if (!server.start())
        return false;
    ExtensionHandler::install(server);

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
