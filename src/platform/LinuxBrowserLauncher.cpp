#include "platform/LinuxBrowserLauncher.h"

#include "platform/DesktopEntry.h"

#include <QDesktopServices>
#include <QHash>
#include <QProcess>
#include <QStandardPaths>

namespace pexi {

using namespace Qt::StringLiterals;

namespace {

struct Install
{
    QStringList desktopEntries;
    QStringList executables;
};

// Chromium is in the list because Linux distributions ship it instead of Chrome and it runs the
// same extension. The reverse-DNS names are the Flatpak exports.
const QHash<QString, Install> &installs()
{
    static const QHash<QString, Install> table{
        {u"com.google.Chrome"_s,
         {{u"google-chrome.desktop"_s, u"com.google.Chrome.desktop"_s, u"chromium.desktop"_s,
           u"org.chromium.Chromium.desktop"_s, u"chromium-browser.desktop"_s},
          {u"google-chrome"_s, u"google-chrome-stable"_s, u"chromium"_s, u"chromium-browser"_s}}},
    };
    return table;
}

QString urlArgument(const QUrl &url)
{
    return url.isLocalFile() ? url.toLocalFile() : url.toString(QUrl::FullyEncoded);
}

} // namespace

bool LinuxBrowserLauncher::openUrl(const QUrl &url, const QString &bundleIdentifier)
{
    if (bundleIdentifier.isEmpty())
        return openWithDefaultHandler(url);
    const std::optional<DesktopEntry::Command> launch = launchFor(bundleIdentifier, url);
    return launch && QProcess::startDetached(launch->program, launch->arguments);
}

bool LinuxBrowserLauncher::openWithDefaultHandler(const QUrl &url)
{
    return QDesktopServices::openUrl(url);
}

bool LinuxBrowserLauncher::isInstalled(const QString &bundleIdentifier) const
{
    return launchFor(bundleIdentifier, QUrl()).has_value();
}

std::optional<DesktopEntry::Command>
LinuxBrowserLauncher::launchFor(const QString &bundleIdentifier, const QUrl &url)
{
    const auto install = installs().constFind(bundleIdentifier);
    if (install == installs().constEnd())
        return std::nullopt;

    const QString argument = url.isEmpty() ? QString() : urlArgument(url);
    for (const QString &name : install->desktopEntries) {
        const std::optional<DesktopEntry> entry = DesktopEntry::locate(name);
        if (!entry)
            continue;
        if (std::optional<DesktopEntry::Command> command = entry->command(argument))
            return command;
    }

    for (const QString &name : install->executables) {
        const QString program = QStandardPaths::findExecutable(name);
        if (!program.isEmpty())
            return DesktopEntry::Command{
                program, argument.isEmpty() ? QStringList() : QStringList{argument}, {}};
    }
    return std::nullopt;
}

BrowserLauncher &BrowserLauncher::shared()
{
    static LinuxBrowserLauncher launcher;
    return launcher;
}

} // namespace pexi
