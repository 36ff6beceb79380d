#include "platform/PortalColorSchemeMonitor.h"
#include "support/PrivateSessionBus.h"

#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QGuiApplication>
#include <QPalette>
#include <QSignalSpy>

using namespace pexi;
using Monitor = PortalColorSchemeMonitor;

// The settings portal holding only the colour scheme. An old one has no ReadOne, only Read,
// which wraps the value in one more variant.
class FakeSettingsPortal : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")
public:
    uint scheme = 0;
    bool old = false;

public slots:
    QDBusVariant ReadOne(const QString &, const QString &)
    {
        if (old)
            sendErrorReply(QDBusError::UnknownMethod, "no ReadOne");
        return QDBusVariant(scheme);
    }
    QDBusVariant Read(const QString &, const QString &)
    {
        return QDBusVariant(QVariant::fromValue(QDBusVariant(scheme)));
    }

signals:
    void SettingChanged(const QString &nameSpace, const QString &key, const QDBusVariant &value);
};

class TestPortalColorSchemeMonitor : public QObject
{
    Q_OBJECT

    PrivateSessionBus m_daemon;
    QDBusConnection m_portalBus{"p"}, m_clientBus{"c"};
    FakeSettingsPortal m_portal;

    void startPortal()
    {
        QVERIFY(m_portalBus.registerObject(Monitor::objectPath, &m_portal,
                                           QDBusConnection::ExportAllContents));
        QVERIFY(m_portalBus.registerService(Monitor::serviceName));
    }
    // A peer's replies come after what it sent before them: once two calls through the portal's
    // name are answered, every reply and signal the monitor was due has been handled.
    void flush()
    {
        for (int round = 0; round < 2; ++round) {
            auto call = QDBusMessage::createMethodCall(Monitor::serviceName, Monitor::objectPath,
                                                       Monitor::interfaceName, "Read");
            const QDBusPendingCall pending = m_clientBus.asyncCall(call << ""
                                                                        << "");
            QTRY_VERIFY(pending.isFinished());
            QCoreApplication::processEvents();
        }
    }

private slots:
    void initTestCase()
    {
        const QString address = m_daemon.start();
        if (address.isEmpty())
            QSKIP("no dbus-daemon to run a private bus");
        m_portalBus = QDBusConnection::connectToBus(address, "p");
        m_clientBus = QDBusConnection::connectToBus(address, "c");
        QVERIFY(m_portalBus.isConnected() && m_clientBus.isConnected());
    }
    void cleanup()
    {
        m_portalBus.unregisterObject(Monitor::objectPath);
        m_portalBus.unregisterService(Monitor::serviceName);
    }

    // The first answer: the portal's ("current", or "old" with Read only) or, with "none", the
    // palette's window colour.
    void firstAnswer_data()
    {
        QTest::addColumn<QString>("portal");
        QTest::addColumn<uint>("scheme");
        QTest::addColumn<QColor>("window");
        QTest::addColumn<bool>("dark");
        QTest::newRow("prefers dark") << "current" << 1u << QColor(Qt::white) << true;
        QTest::newRow("prefers light") << "current" << 2u << QColor(Qt::black) << false;
        QTest::newRow("no preference") << "current" << 0u << QColor(Qt::black) << false;
        QTest::newRow("old portal") << "old" << 1u << QColor(Qt::white) << true;
        QTest::newRow("no portal, dark palette") << "none" << 0u << QColor(40, 40, 40) << true;
        QTest::newRow("no portal, light palette") << "none" << 1u << QColor(230, 230, 230) << false;
    }
    void firstAnswer()
    {
        QFETCH(QString, portal);
        QFETCH(uint, scheme);
        QFETCH(QColor, window);
        QFETCH(bool, dark);
        m_portal.scheme = scheme;
        m_portal.old = portal == "old";
        if (portal != "none")
            startPortal();
        QPalette palette;
        palette.setColor(QPalette::Window, window);
        QGuiApplication::setPalette(palette);
        Monitor monitor(m_clientBus);
        flush();
        QCOMPARE(monitor.prefersDark(), dark);
    }

    // Changes of the colour scheme are followed in order; other settings change nothing.
    void followsChanges()
    {
        m_portal.scheme = 0;
        m_portal.old = false;
        startPortal();
        Monitor monitor(m_clientBus);
        QSignalSpy changes(&monitor, &ColorSchemeMonitor::prefersDarkChanged);
        flush();
        const QString appearance = "org.freedesktop.appearance";
        emit m_portal.SettingChanged(appearance, "color-scheme", QDBusVariant(1u));
        emit m_portal.SettingChanged(appearance, "contrast", QDBusVariant(0u));
        emit m_portal.SettingChanged("org.gnome.desktop.interface", "color-scheme",
                                     QDBusVariant(0u));
        emit m_portal.SettingChanged(appearance, "color-scheme", QDBusVariant(1u));
        emit m_portal.SettingChanged(appearance, "color-scheme", QDBusVariant(2u));
        flush();
        QCOMPARE(changes, QList<QVariantList>({{true}, {false}}));
    }
};

QTEST_MAIN(TestPortalColorSchemeMonitor)
#include "tst_portalcolorschememonitor.moc"
