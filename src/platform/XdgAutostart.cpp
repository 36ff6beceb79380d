#include "platform/XdgAutostart.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

namespace pexi {

namespace {

QString autostartEntry(const QString &configDirectory)
{
    return QDir(configDirectory).filePath(QStringLiteral("autostart/") + XdgAutostart::entryName);
}

QString userEntry()
{
    return autostartEntry(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation));
}

// The entry installed for every user, if any; the first of $XDG_CONFIG_DIRS wins.
QString systemEntry()
{
    const QString user = userEntry();
    for (const QString &directory :
         QStandardPaths::standardLocations(QStandardPaths::GenericConfigLocation)) {
        const QString entry = autostartEntry(directory);
        if (entry != user && QFile::exists(entry))
            return entry;
    }
    return {};
}

// An entry starts the program unless it says Hidden=true (or GNOME's own switch says false).
bool entryStarts(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return false;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine().trimmed();
        if (line == "Hidden=true" || line == "X-GNOME-Autostart-enabled=false")
            return false;
    }
    return true;
}

// A quoted argument of an Exec key: backslash before ", `, $ and \, then every \ doubled again
// because the value is a string of the desktop entry.
QString execArgument(const QString &argument)
{
    QString quoted;
    for (const QChar c : argument) {
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
            quoted += u'\\';
        quoted += c;
    }
    quoted.replace(u'\\', QStringLiteral("\\\\"));
    return u'"' + quoted + u'"';
}

} // namespace

XdgAutostart &XdgAutostart::instance()
{
    static XdgAutostart autostart;
    return autostart;
}

XdgAutostart::XdgAutostart(const QString &executable)
    : m_executable(executable.isEmpty() ? QCoreApplication::applicationFilePath() : executable)
{
}

bool XdgAutostart::isEnabled() const
{
    const QString user = userEntry();
    if (QFile::exists(user))
        return entryStarts(user);
    const QString system = systemEntry();
    return !system.isEmpty() && entryStarts(system);
}

bool XdgAutostart::setEnabled(bool enabled)
{
    const QString user = userEntry();
    if (!enabled && systemEntry().isEmpty())
        return !QFile::exists(user) || QFile::remove(user);
    if (!QDir().mkpath(QFileInfo(user).path()))
        return false;
    QSaveFile file(user);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text))
        return false;
    file.write(entryText(!enabled).toUtf8());
    return file.commit();
}

QString XdgAutostart::entryText(bool hidden) const
{
    return QStringLiteral("[Desktop Entry]\n"
                          "Type=Application\n"
                          "Name=Pexi\n"
                          "Comment=Passwords for your browsers, unlocked with pictures\n"
                          "Exec=%1\n"
                          "Icon=pexi-worker\n"
                          "Terminal=false\n"
                          "Hidden=%2\n")
        .arg(execArgument(m_executable), hidden ? QStringLiteral("true") : QStringLiteral("false"));
}

} // namespace pexi
