#pragma once

#include "platform/BrowserLauncher.h"

#include <QSet>
#include <QStringList>

// Stands in for the desktop's URL opener: records what would have been opened, and in which
// application, and claims the applications a test says are installed.
class RecordingLauncher : public pexi::BrowserLauncher
{
public:
    bool openUrl(const QUrl &url, const QString &bundleIdentifier) override
    {
        opened << bundleIdentifier + u' ' + url.toString(QUrl::FullyEncoded);
        return true;
    }
    bool openWithDefaultHandler(const QUrl &url) override
    {
        opened << url.toString(QUrl::FullyEncoded);
        return true;
    }
    bool isInstalled(const QString &bundleIdentifier) const override
    {
        return installed.contains(bundleIdentifier);
    }

    QStringList opened;
    QSet<QString> installed;
};
