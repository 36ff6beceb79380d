#include "platform/DBusNotificationCenter.h"
#include "platform/TrayMessageNotificationCenter.h"

#include <QDBusConnectionInterface>
#include <QDBusContext>
#include <QDBusMessage>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <memory>

using namespace pexi;
using ActivationType = UserNotificationCenter::ActivationType;
using NotificationId = UserNotificationCenter::NotificationId;

namespace {

const QString path = QStringLiteral("/org/freedesktop/Notifications");
const QString interface = QStringLiteral("org.freedesktop.Notifications");

struct NotifyCall
{
    uint serverId;
    QString appName;
    uint replacesId;
    QString summary;
    QString body;
    QStringList actions;
    int expireTimeout;
};

} // namespace

// A notification server as the desktop runs one, reduced to what it records.
class FakeNotificationServer : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    QStringList capabilities{QStringLiteral("actions"), QStringLiteral("body"),
                             QStringLiteral("body-markup")};
    bool failNotify = false;
    QList<NotifyCall> calls;
    QList<uint> closed;

public slots:
    QStringList GetCapabilities() { return capabilities; }

    uint Notify(const QString &appName, uint replacesId, const QString &appIcon,
                const QString &summary, const QString &body, const QStringList &actions,
                const QVariantMap &hints, int expireTimeout)
    {
        Q_UNUSED(appIcon);
        Q_UNUSED(hints);
        if (failNotify) {
            sendErrorReply(QDBusError::Failed, QStringLiteral("too many notifications"));
            return 0;
        }
        const uint serverId = 40 + uint(calls.size());
        calls.append({serverId, appName, replacesId, summary, body, actions, expireTimeout});
        return serverId;
    }

    void CloseNotification(uint id) { closed.append(id); }
};

class TestDBusNotificationCenter : public QObject
{
    Q_OBJECT

private:
    struct Activation
    {
        NotificationId id;
        QVariantMap userInfo;
        ActivationType type;
    };

    QProcess m_daemon;
    QString m_address;
    int m_connections = 0;
    std::unique_ptr<QDBusConnection> m_serverBus;
    std::unique_ptr<FakeNotificationServer> m_server;
    std::unique_ptr<QDBusConnection> m_clientBus;
    std::unique_ptr<DBusNotificationCenter> m_center;
    QList<Activation> m_activations;

    QDBusConnection connect(const QString &role)
    {
        return QDBusConnection::connectToBus(m_address, role + QString::number(++m_connections));
    }

    void emitSignal(const QString &name, const QVariantList &arguments)
    {
        QDBusMessage message = QDBusMessage::createSignal(path, interface, name);
        message.setArguments(arguments);
        QVERIFY(m_serverBus->send(message));
    }

    // Delivers one notification and waits until the server has shown it.
    NotificationId deliver(const QVariantMap &userInfo, const QString &subtitle = {})
    {
        const qsizetype before = m_server->calls.size();
        const NotificationId id = m_center->deliverNotification(
            {QStringLiteral("Save Password?"), subtitle, QStringLiteral("ann@example.com"),
             QStringLiteral("Save"), QStringLiteral("Skip"), userInfo});
        if (!QTest::qWaitFor([&] { return m_server->calls.size() > before; }, 10000))
            return 0;
        return id;
    }

    void startCenter()
    {
        m_center = std::make_unique<DBusNotificationCenter>(*m_clientBus);
        m_center->setActivationHandler(
            [this](NotificationId id, const QVariantMap &userInfo, ActivationType type) {
                m_activations.append({id, userInfo, type});
            });
    }

    uint serverIdOfLast() const { return m_server->calls.last().serverId; }

    // Signals reach the client in the order the server sent them: once a later notification's
    // click has arrived, everything sent before it has been handled.
    bool flushSignals()
    {
        const qsizetype before = m_activations.size();
        const QVariantMap marker{{QStringLiteral("marker"), true}};
        if (!deliver(marker))
            return false;
        emitSignal(QStringLiteral("ActionInvoked"), {serverIdOfLast(), QStringLiteral("default")});
        const bool arrived = QTest::qWaitFor(
            [&] {
                return m_activations.size() > before && m_activations.last().userInfo == marker;
            },
            10000);
        if (arrived)
            m_activations.removeLast();
        return arrived;
    }

private slots:
    void initTestCase()
    {
        const QString daemon = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
        if (daemon.isEmpty())
            QSKIP("dbus-daemon is not installed");
        m_daemon.start(daemon, {QStringLiteral("--session"), QStringLiteral("--nofork"),
                                QStringLiteral("--print-address")});
        QVERIFY(m_daemon.waitForStarted(10000));
        QVERIFY(QTest::qWaitFor([&] { return m_daemon.canReadLine(); }, 10000) ||
                m_daemon.waitForReadyRead(10000));
        m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
        QVERIFY(!m_address.isEmpty());
    }

    void cleanupTestCase()
    {
        if (m_daemon.state() != QProcess::NotRunning) {
            m_daemon.terminate();
            m_daemon.waitForFinished(5000);
        }
    }

    void init()
    {
        m_serverBus = std::make_unique<QDBusConnection>(connect(QStringLiteral("server")));
        QVERIFY(m_serverBus->isConnected());
        m_server = std::make_unique<FakeNotificationServer>();
        QVERIFY(m_serverBus->registerObject(path, m_server.get(), QDBusConnection::ExportAllSlots));
        QVERIFY(m_serverBus->registerService(DBusNotificationCenter::serviceName));

        m_clientBus = std::make_unique<QDBusConnection>(connect(QStringLiteral("client")));
        QVERIFY(m_clientBus->isConnected());
        m_activations.clear();
    }

    void cleanup()
    {
        m_center.reset();
        if (m_clientBus)
            QDBusConnection::disconnectFromBus(m_clientBus->name());
        if (m_serverBus) {
            m_serverBus->unregisterService(DBusNotificationCenter::serviceName);
            QDBusConnection::disconnectFromBus(m_serverBus->name());
        }
        m_clientBus.reset();
        m_serverBus.reset();
        m_server.reset();
    }

    // What the server is asked to show

    void notifyCarriesTheNotification_data()
    {
        QTest::addColumn<bool>("serverRendersMarkup");
        QTest::addColumn<QString>("subtitle");
        QTest::addColumn<QString>("informativeText");
        QTest::addColumn<QString>("body");
        QTest::newRow("two lines") << true << "Example"
                                   << "ann@example.com"
                                   << "Example\nann@example.com";
        QTest::newRow("no informative text") << true << "Example"
                                             << ""
                                             << "Example";
        QTest::newRow("no subtitle") << true << ""
                                     << "example.com"
                                     << "example.com";
        QTest::newRow("markup escaped") << true << "<b>Tom & Jerry</b>"
                                        << "a<b"
                                        << "&lt;b&gt;Tom &amp; Jerry&lt;/b&gt;\na&lt;b";
        QTest::newRow("plain server gets plain text") << false << "<b>Tom & Jerry</b>"
                                                      << "a<b"
                                                      << "<b>Tom & Jerry</b>\na<b";
    }
    void notifyCarriesTheNotification()
    {
        QFETCH(bool, serverRendersMarkup);
        QFETCH(QString, subtitle);
        QFETCH(QString, informativeText);
        QFETCH(QString, body);
        if (!serverRendersMarkup)
            m_server->capabilities.removeAll(QStringLiteral("body-markup"));
        startCenter();
        QTRY_COMPARE(m_center->bodyMarkup(), serverRendersMarkup);

        const NotificationId id =
            m_center->deliverNotification({QStringLiteral("Password Saved"),
                                           subtitle,
                                           informativeText,
                                           QStringLiteral("Edit"),
                                           QStringLiteral("Keep"),
                                           {{QStringLiteral("saved"), true}}});
        QVERIFY(id != 0);
        QTRY_COMPARE(m_server->calls.size(), 1);
        const NotifyCall &call = m_server->calls.first();
        QCOMPARE(call.summary, QStringLiteral("Password Saved"));
        QCOMPARE(call.body, body);
        QCOMPARE(call.actions, (QStringList{"default", "", "action", "Edit", "other", "Keep"}));
        QCOMPARE(call.replacesId, 0u);
        QCOMPARE(call.expireTimeout, -1);
        QVERIFY(!call.appName.isEmpty());
    }

    // Clicks coming back

    void actionsBecomeActivations_data()
    {
        QTest::addColumn<QString>("actionKey");
        QTest::addColumn<bool>("activates");
        QTest::addColumn<int>("type");
        QTest::addColumn<bool>("closesAndForgets");
        QTest::newRow("body") << "default" << true << int(ActivationType::contentClicked) << false;
        QTest::newRow("action button")
            << "action" << true << int(ActivationType::actionButtonClicked) << false;
        QTest::newRow("other button") << "other" << false << 0 << true;
        QTest::newRow("unknown key") << "snooze" << false << 0 << false;
    }
    void actionsBecomeActivations()
    {
        QFETCH(QString, actionKey);
        QFETCH(bool, activates);
        QFETCH(int, type);
        QFETCH(bool, closesAndForgets);
        startCenter();
        const QVariantMap userInfo{{QStringLiteral("saved"), false},
                                   {QStringLiteral("item_json"), QStringLiteral("{\"a\":1}")}};
        const NotificationId id = deliver(userInfo);
        QVERIFY(id);
        const uint serverId = serverIdOfLast();

        emitSignal(QStringLiteral("ActionInvoked"), {serverId, actionKey});
        QVERIFY(flushSignals());

        QCOMPARE(m_activations.size(), activates ? 1 : 0);
        if (activates) {
            QCOMPARE(m_activations.first().id, id);
            QCOMPARE(m_activations.first().userInfo, userInfo);
            QCOMPARE(int(m_activations.first().type), type);
        }
        QCOMPARE(m_server->closed.contains(serverId), closesAndForgets);
    }

    void eachNotificationActivatesOnce()
    {
        startCenter();
        QVERIFY(deliver({{QStringLiteral("n"), 1}}));
        const uint serverId = serverIdOfLast();
        emitSignal(QStringLiteral("ActionInvoked"), {serverId, QStringLiteral("default")});
        emitSignal(QStringLiteral("ActionInvoked"), {serverId, QStringLiteral("action")});
        QVERIFY(flushSignals());
        QCOMPARE(m_activations.size(), 1);
        QCOMPARE(m_activations.first().type, ActivationType::contentClicked);
    }

    void otherClientsNotificationsAreIgnored()
    {
        startCenter();
        QVERIFY(deliver({{QStringLiteral("n"), 1}}));
        emitSignal(QStringLiteral("ActionInvoked"), {serverIdOfLast() + 100, "default"});
        QVERIFY(flushSignals());
        QVERIFY(m_activations.isEmpty());
    }

    void closedNotificationsAreForgotten()
    {
        startCenter();
        QVERIFY(deliver({{QStringLiteral("n"), 1}}));
        const uint serverId = serverIdOfLast();
        QCOMPARE(m_center->pendingCount(), 1);
        emitSignal(QStringLiteral("NotificationClosed"), {serverId, 1u});
        QTRY_COMPARE(m_center->pendingCount(), 0);
        emitSignal(QStringLiteral("ActionInvoked"), {serverId, QStringLiteral("default")});
        QVERIFY(flushSignals());
        QVERIFY(m_activations.isEmpty());
    }

    // Taking notifications back

    void removeClosesOnTheServer_data()
    {
        QTest::addColumn<bool>("waitForServer");
        QTest::newRow("shown") << true;
        QTest::newRow("still on its way") << false;
    }
    void removeClosesOnTheServer()
    {
        QFETCH(bool, waitForServer);
        startCenter();
        NotificationId id = 0;
        if (waitForServer) {
            id = deliver({{QStringLiteral("n"), 1}});
            QVERIFY(id);
            // The server's answer has to be in before the id can be closed there.
            QVERIFY(flushSignals());
        } else {
            id = m_center->deliverNotification({QStringLiteral("t"), {}, {}, {}, {}, {}});
        }
        m_center->removeDeliveredNotification(id);
        QTRY_COMPARE(m_server->calls.size() >= 1, true);
        const uint serverId = m_server->calls.first().serverId;
        QTRY_VERIFY(m_server->closed.contains(serverId));
        QTRY_COMPARE(m_center->pendingCount(), waitForServer ? 1 : 0); // the marker stays
    }

    void failedNotifyIsForgotten()
    {
        m_server->failNotify = true;
        startCenter();
        m_center->deliverNotification({QStringLiteral("t"), {}, {}, {}, {}, {}});
        QCOMPARE(m_center->pendingCount(), 1);
        QTRY_COMPARE(m_center->pendingCount(), 0);
    }

    // Choosing a centre

    void factoryPrefersTheNotificationServer_data()
    {
        QTest::addColumn<bool>("serverRunning");
        QTest::newRow("server on the bus") << true;
        QTest::newRow("no server") << false;
    }
    void factoryPrefersTheNotificationServer()
    {
        QFETCH(bool, serverRunning);
        if (!serverRunning)
            QVERIFY(m_serverBus->unregisterService(DBusNotificationCenter::serviceName));
        const std::unique_ptr<UserNotificationCenter> center =
            UserNotificationCenter::create(*m_clientBus);
        QCOMPARE(dynamic_cast<DBusNotificationCenter *>(center.get()) != nullptr, serverRunning);
        QCOMPARE(dynamic_cast<TrayMessageNotificationCenter *>(center.get()) != nullptr,
                 !serverRunning);
    }

    void factoryFallsBackWithoutABus()
    {
        const QDBusConnection nowhere = QDBusConnection::connectToBus(
            QStringLiteral("unix:path=/nonexistent/pexi-test-bus"), QStringLiteral("nowhere"));
        QVERIFY(!nowhere.isConnected());
        const std::unique_ptr<UserNotificationCenter> center =
            UserNotificationCenter::create(nowhere);
        QVERIFY(dynamic_cast<TrayMessageNotificationCenter *>(center.get()));
        QDBusConnection::disconnectFromBus(QStringLiteral("nowhere"));
    }
};

QTEST_MAIN(TestDBusNotificationCenter)
#include "tst_dbusnotificationcenter.moc"
