#pragma once

#include "platform/BrowserLauncher.h"
#include "platform/DesktopEntry.h"

#include <optional>

namespace pexi {

// Finds browsers the way the desktop does: by their desktop entry in the XDG application
// directories (so the user's own entries and Flatpak exports win), and failing that by the
// executable on the PATH. Only Chrome (or Chromium, which runs the same extensions) exists here;
// Safari is never installed on Linux.
class LinuxBrowserLauncher : public BrowserLauncher
{
public:
    bool openUrl(const QUrl &url, const QString &bundleIdentifier) override;
    bool openWithDefaultHandler(const QUrl &url) override;
    bool isInstalled(const QString &bundleIdentifier) const override;

private:
    // The command line that opens `url` in the browser, or nothing when it is not installed.
    static std::optional<DesktopEntry::Command> launchFor(const QString &bundleIdentifier,
                                                          const QUrl &url);
};

} // namespace pexi
