#pragma once

#include <QString>

namespace pexi {

// Starts another application of the product, named by its bundle identifier, with a launch
// parameter that tells it what to do (the main application opens a settings page, say).
class ApplicationLauncher
{
public:
    virtual ~ApplicationLauncher() = default;

    // The launcher of this platform, created on first use.
    static ApplicationLauncher &shared();

    virtual bool isInstalled(const QString &bundleIdentifier) const = 0;
    // Starts the application in the background, leaving the user where they are where the
    // platform allows it. False when it is not installed or did not start.
    virtual bool launch(const QString &bundleIdentifier, const QString &parameter) = 0;
};

} // namespace pexi
