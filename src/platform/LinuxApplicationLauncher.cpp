#include "platform/LinuxApplicationLauncher.h"

#include "platform/DesktopEntry.h"

#include <QProcess>
#include <QProcessEnvironment>

namespace pexi {

namespace {

std::optional<DesktopEntry::Command> commandFor(const QString &bundleIdentifier,
                                                const QString &parameter)
{
    if (bundleIdentifier.isEmpty())
        return std::nullopt;
    const std::optional<DesktopEntry> entry =
        DesktopEntry::locate(bundleIdentifier + QStringLiteral(".desktop"));
    return entry ? entry->command(parameter) : std::nullopt;
}

} // namespace

bool LinuxApplicationLauncher::isInstalled(const QString &bundleIdentifier) const
{
    return commandFor(bundleIdentifier, {}).has_value();
}

bool LinuxApplicationLauncher::launch(const QString &bundleIdentifier, const QString &parameter)
{
    const std::optional<DesktopEntry::Command> command = commandFor(bundleIdentifier, parameter);
    if (!command)
        return false;
    QProcess process;
    process.setProgram(command->program);
    process.setArguments(command->arguments);
    process.setWorkingDirectory(command->workingDirectory);
    // Without a startup token the window manager has no reason to hand the new application the
    // focus: the user stays where they were.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("DESKTOP_STARTUP_ID"));
    environment.remove(QStringLiteral("XDG_ACTIVATION_TOKEN"));
    process.setProcessEnvironment(environment);
    return process.startDetached();
}

ApplicationLauncher &ApplicationLauncher::shared()
{
    static LinuxApplicationLauncher launcher;
    return launcher;
}

} // namespace pexi
