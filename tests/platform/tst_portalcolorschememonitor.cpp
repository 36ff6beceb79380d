#include "platform/PortalColorSchemeMonitor.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QGuiApplication>
#include <QPalette>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

using namespace pexi;

// The settings portal as a desktop runs one, holding only the colour scheme; an old one has
// Read (the value wrapped once more) and no ReadOne.
class FakeSettingsPortal : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")
public:
    uint scheme = 0;

public slots:
    QDBusVariant Read(const QString &nameSpace, const QString &key)
    {
        return QDBusVariant(QVariant::fromValue(ReadOne(nameSpace, key)));
    }
    QDBusVariant ReadOne(const QString &, const QString &) { return QDBusVariant(scheme); }

signals:
    void SettingChanged(const QString &nameSpace, const QString &key, const QDBusVariant &value);
};

// Without ReadOne.
class OldSettingsPortal : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")
public:
    FakeSettingsPortal *settings = nullptr;
public slots:
    QDBusVariant Read(const QString &n, const QString &k) { return settings->Read(n, k); }
};

class TestPortalColorSchemeMonitor : public QObject
{
    Q_OBJECT

    QProcess m_daemon;
    QDBusConnection m_portalBus{"p"}, m_clientBus{"c"};
    FakeSettingsPortal m_portal;
    OldSettingsPortal m_oldPortal;

    // Replies come back in the order asked, and a peer's signals before its replies: once two
    // calls through the portal's name are answered, everything the monitor was sent before has
    // arrived.
    void flush()
    {
        for (int round = 0; round < 2; ++round) {
            auto call = QDBusMessage::createMethodCall(
                PortalColorSchemeMonitor::serviceName, PortalColorSchemeMonitor::objectPath,
                PortalColorSchemeMonitor::interfaceName, "Read");
            QDBusPendingCall pending = m_clientBus.asyncCall(call << ""
                                                                  << "");
            QTRY_VERIFY(pending.isFinished());
            QCoreApplication::processEvents();
        }
    }
    static void setWindowColor(const QColor &color)
    {
        QPalette palette;
        palette.setColor(QPalette::Window, color);
        QGuiApplication::setPalette(palette);
    }

private slots:
    void initTestCase()
    {
        const QString daemon = QStandardPaths::findExecutable("dbus-daemon");
        if (daemon.isEmpty())
            QSKIP("dbus-daemon is not installed");
        m_daemon.start(daemon, {"--session", "--nofork", "--print-address"});
        QVERIFY(QTest::qWaitFor([&] { return m_daemon.canReadLine(); }, 10000));
        const QString address = QString::fromUtf8(m_daemon.readLine()).trimmed();
        m_portalBus = QDBusConnection::connectToBus(address, "p");
        m_clientBus = QDBusConnection::connectToBus(address, "c");
        QVERIFY(m_portalBus.isConnected() && m_clientBus.isConnected());
        m_oldPortal.settings = &m_portal;
    }
    void cleanupTestCase()
    {
        m_daemon.terminate();
        m_daemon.waitForFinished(5000);
    }
    void cleanup()
    {
        m_portalBus.unregisterObject(PortalColorSchemeMonitor::objectPath);
        m_portalBus.unregisterService(PortalColorSchemeMonitor::serviceName);
    }

    // The first answer: from the portal ("current", "old" with Read only) or, with "none", the
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
        if (portal != "none") {
            QObject *object = portal == "old" ? static_cast<QObject *>(&m_oldPortal) : &m_portal;
            QVERIFY(m_portalBus.registerObject(PortalColorSchemeMonitor::objectPath, object,
                                               QDBusConnection::ExportAllContents));
            QVERIFY(m_portalBus.registerService(PortalColorSchemeMonitor::serviceName));
        }
        setWindowColor(window);
        PortalColorSchemeMonitor monitor(m_clientBus);
        flush();
        QCOMPARE(monitor.prefersDark(), dark);
    }

    // Changes of the setting, in order; other settings change nothing.
    void followsChanges()
    {
        m_portal.scheme = 0;
        QVERIFY(m_portalBus.registerObject(PortalColorSchemeMonitor::objectPath, &m_portal,
                                           QDBusConnection::ExportAllContents));
        QVERIFY(m_portalBus.registerService(PortalColorSchemeMonitor::serviceName));
        PortalColorSchemeMonitor monitor(m_clientBus);
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
        QCOMPARE(changes.size(), 2);
        QCOMPARE(changes.at(0).at(0).toBool(), true);
        QCOMPARE(changes.at(1).at(0).toBool(), false);
        QCOMPARE(monitor.prefersDark(), false);
    }
};

QTEST_MAIN(TestPortalColorSchemeMonitor)
#include "tst_portalcolorschememonitor.moc"
