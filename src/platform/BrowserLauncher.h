#pragma once

#include <QString>
#include <QUrl>

namespace pexi {

// Opens web addresses in a particular browser, named by its application bundle identifier
// ("com.google.Chrome"), the one name of a browser that every platform can map to an install.
class BrowserLauncher
{
public:
    virtual ~BrowserLauncher() = default;

    // The launcher of this platform, created on first use.
    static BrowserLauncher &shared();

    // Opens `url` in the application with `bundleIdentifier`, or in the system's choice when the
    // identifier is empty. False when that application is not installed or did not start.
    virtual bool openUrl(const QUrl &url, const QString &bundleIdentifier) = 0;
    // Opens `url` with the user's default handler for its scheme.
    virtual bool openWithDefaultHandler(const QUrl &url) = 0;
    virtual bool isInstalled(const QString &bundleIdentifier) const = 0;
};

} // namespace pexi
