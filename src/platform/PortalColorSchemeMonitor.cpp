#include "platform/PortalColorSchemeMonitor.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QGuiApplication>
#include <QPalette>

namespace pexi {

const QString PortalColorSchemeMonitor::serviceName =
    QStringLiteral("org.freedesktop.portal.Desktop");
const QString PortalColorSchemeMonitor::objectPath =
    QStringLiteral("/org/freedesktop/portal/desktop");
const QString PortalColorSchemeMonitor::interfaceName =
    QStringLiteral("org.freedesktop.portal.Settings");

namespace {

const QString appearanceNamespace = QStringLiteral("org.freedesktop.appearance");
const QString colorSchemeKey = QStringLiteral("color-scheme");

// "Read" wraps the value in one variant more than "ReadOne"; peel every layer.
QVariant unwrapped(QVariant value)
{
    while (value.metaType() == QMetaType::fromType<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

bool meansDark(const QVariant &value)
{
    return unwrapped(value).toUInt() == 1; // 0 no preference, 2 prefers light
}

bool paletteIsDark()
{
    return QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
}

} // namespace

PortalColorSchemeMonitor::PortalColorSchemeMonitor(const QDBusConnection &bus, QObject *parent)
    : ColorSchemeMonitor(parent), m_bus(bus), m_prefersDark(paletteIsDark())
{
    m_bus.connect(serviceName, objectPath, interfaceName, QStringLiteral("SettingChanged"), this,
                  SLOT(onSettingChanged(QString, QString, QDBusVariant)));
    read(QStringLiteral("ReadOne"));
}

void PortalColorSchemeMonitor::read(const QString &method)
{
    QDBusMessage call =
        QDBusMessage::createMethodCall(serviceName, objectPath, interfaceName, method);
    call << appearanceNamespace << colorSchemeKey;
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(
        watcher, &QDBusPendingCallWatcher::finished, this,
        [this, method](QDBusPendingCallWatcher *finished) { onReadFinished(finished, method); });
}

void PortalColorSchemeMonitor::onReadFinished(QDBusPendingCallWatcher *call, const QString &method)
{
    call->deleteLater();
    const QDBusPendingReply<QDBusVariant> reply = *call;
    if (!reply.isError()) {
        setPrefersDark(meansDark(reply.value().variant()));
        return;
    }
    // Portals older than ReadOne only have Read; without a portal the palette stays in charge.
    if (method == QLatin1String("ReadOne"))
        read(QStringLiteral("Read"));
}

void PortalColorSchemeMonitor::onSettingChanged(const QString &nameSpace, const QString &key,
                                                const QDBusVariant &value)
{
    if (nameSpace == appearanceNamespace && key == colorSchemeKey)
        setPrefersDark(meansDark(value.variant()));
}

void PortalColorSchemeMonitor::setPrefersDark(bool prefersDark)
{
    if (prefersDark == m_prefersDark)
        return;
    m_prefersDark = prefersDark;
    emit prefersDarkChanged(prefersDark);
}

} // namespace pexi
