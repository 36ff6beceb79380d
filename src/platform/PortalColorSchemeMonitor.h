#pragma once

#include "platform/ColorSchemeMonitor.h"

#include <QDBusConnection>

class QDBusPendingCallWatcher;
class QDBusVariant;

namespace pexi {

// The desktop's colour scheme from the settings portal (org.freedesktop.portal.Settings,
// "org.freedesktop.appearance" "color-scheme": 1 prefers dark, 0 and 2 do not), read once
// without blocking and followed through SettingChanged. Until the portal answers, and without
// one, the application palette as it was at construction decides: make this before anything
// replaces the palette with the application's own.
class PortalColorSchemeMonitor : public ColorSchemeMonitor
{
    Q_OBJECT
public:
    static const QString serviceName;
    static const QString objectPath;
    static const QString interfaceName;

    explicit PortalColorSchemeMonitor(const QDBusConnection &bus = QDBusConnection::sessionBus(),
                                      QObject *parent = nullptr);

    bool prefersDark() const override { return m_prefersDark; }

private slots:
    void onSettingChanged(const QString &nameSpace, const QString &key, const QDBusVariant &value);

private:
    void read(const QString &method);
    void onReadFinished(QDBusPendingCallWatcher *call, const QString &method);
    void setPrefersDark(bool prefersDark);

    QDBusConnection m_bus;
    bool m_prefersDark = false;
};

} // namespace pexi
