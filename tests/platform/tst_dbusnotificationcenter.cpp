#include "platform/DBusNotificationCenter.h"
#include "support/PrivateSessionBus.h"

#include <QDBusContext>
#include <QTest>

#include <memory>

using namespace pexi;
using ActivationType = UserNotificationCenter::ActivationType;
using NotificationId = UserNotificationCenter::NotificationId;

// A notification server as the desktop runs one, reduced to what it records.
class FakeNotificationServer : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    bool markup = true;
    bool failNotify = false;
    QStringList calls; // "app|replaces id|summary|body|actions|timeout"
    QList<uint> closed;
    uint lastId = 40;

public slots:
    QStringList GetCapabilities() { return {"actions", "body", markup ? "body-markup" : ""}; }
    uint Notify(const QString &app, uint replacesId, const QString &, const QString &summary,
                const QString &body, const QStringList &actions, const QVariantMap &, int timeout)
    {
        if (failNotify)
            sendErrorReply(QDBusError::Failed, "too many notifications");
        calls << QStringLiteral("%1|%2|%3|%4|%5|%6")
                     .arg(app)
                     .arg(replacesId)
                     .arg(summary, body, actions.join(','))
                     .arg(timeout);
        return ++lastId;
    }
    void CloseNotification(uint id) { closed.append(id); }

signals:
    void ActionInvoked(uint id, const QString &actionKey);
    void NotificationClosed(uint id, uint reason);
};

class TestDBusNotificationCenter : public QObject
{
    Q_OBJECT

    PrivateSessionBus m_daemon;
    QDBusConnection m_serverBus{"s"}, m_clientBus{"c"};
    std::unique_ptr<FakeNotificationServer> m_server;
    std::unique_ptr<DBusNotificationCenter> m_center;
    QStringList m_activations; // "id type userInfo"
    bool m_flushed = false;

    void startCenter(bool waitForCapabilities)
    {
        m_center = std::make_unique<DBusNotificationCenter>(m_clientBus);
        m_center->setActivationHandler(
            [this](NotificationId id, const QVariantMap &info, ActivationType type) {
                const bool body = type == ActivationType::contentClicked;
                m_flushed = info["n"] == "marker";
                if (!m_flushed)
                    m_activations << QString::number(id) + (body ? " body " : " button ") +
                                         info["n"].toString();
            });
        if (waitForCapabilities)
            QTRY_COMPARE(m_center->bodyMarkup(), m_server->markup);
    }
    // Signals arrive in the order sent: once the click on a later notification is in, everything
    // sent before it has been handled.
    bool flushSignals()
    {
        const qsizetype shown = m_server->calls.size();
        m_flushed = false;
        m_center->deliverNotification({"Marker", {}, {}, {}, {}, {{"n", "marker"}}});
        if (!QTest::qWaitFor([&] { return m_server->calls.size() > shown; }, 10000))
            return false;
        emit m_server->ActionInvoked(m_server->lastId, "default");
        return QTest::qWaitFor([&] { return m_flushed; }, 10000);
    }

private slots:
    void initTestCase()
    {
        const QString address = m_daemon.start();
        if (address.isEmpty())
            QSKIP("no dbus-daemon to run a private bus");
        m_serverBus = QDBusConnection::connectToBus(address, "s");
        m_clientBus = QDBusConnection::connectToBus(address, "c");
        QVERIFY(m_serverBus.isConnected() && m_clientBus.isConnected());
    }
    void init()
    {
        m_server = std::make_unique<FakeNotificationServer>();
        QVERIFY(m_serverBus.registerObject(DBusNotificationCenter::objectPath, m_server.get(),
                                           QDBusConnection::ExportAllContents));
        m_activations.clear();
        m_serverBus.registerService(DBusNotificationCenter::serviceName);
    }
    void cleanup()
    {
        m_center.reset();
        m_serverBus.unregisterObject(DBusNotificationCenter::objectPath);
    }

    // The life of notification "S" (server id 41), shown by a server that renders markup or a
    // "plain" one: signals from the server ("@other": for an id not ours), "remove" once shown or
    // "early", or the server "refused" it. Then `activations` reached the handler, and it is closed
    // on the server and/or still tracked.
    void notificationLife_data()
    {
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<QString>("activations");
        QTest::addColumn<bool>("closed");
        QTest::addColumn<bool>("tracked");
        const auto row = [](const char *name, const QString &steps, const QString &activated,
                            bool closed, bool tracked) {
            QTest::newRow(name) << steps.split(u' ') << activated << closed << tracked;
        };
        row("body", "default", "1 body S", false, true);
        row("action button", "action", "1 button S", false, true);
        row("other button", "other", "", true, false);
        row("unknown key", "snooze", "", false, true);
        row("once only", "default action", "1 body S", false, true);
        row("another client's", "default@other", "", false, true);
        row("closed, then clicked", "closed default", "", false, false);
        row("removed when shown", "remove", "", true, false);
        row("removed on its way", "early", "", true, false);
        row("server refused it", "refused", "", false, false);
        row("plain server, no buttons", "plain default", "1 body S", false, true);
        row("sent before the server told", "plain eager default", "1 body S", false, true);
    }
    void notificationLife()
    {
        QFETCH(QStringList, steps);
        QFETCH(QString, activations);
        QFETCH(bool, closed);
        QFETCH(bool, tracked);
        const bool plain = steps.contains("plain");
        m_server->markup = !plain;
        m_server->failNotify = steps.contains("refused");
        startCenter(!steps.contains("eager"));
        const NotificationId id = m_center->deliverNotification(
            plain ? UserNotification{"Saved", "", "a<b", "", "", {{"n", "S"}}}
                  : UserNotification{"Saved", "<b>", "a&b", "Edit", "Keep", {{"n", "S"}}});
        QCOMPARE(id, 1u);
        if (steps.contains("early"))
            m_center->removeDeliveredNotification(id);
        QTRY_COMPARE(m_server->calls.size(), 1);
        QCOMPARE(m_server->calls.first(),
                 plain ? "Pexi|0|Saved|a<b|default,|-1"
                       : "Pexi|0|Saved|&lt;b&gt;\na&amp;b|default,,action,Edit,other,Keep|-1");
        m_server->failNotify = false;
        for (const QString &step : steps) {
            const uint serverId = step.endsWith("@other") ? 141 : 41;
            if (step == "closed")
                emit m_server->NotificationClosed(serverId, 1);
            else if (step == "remove")
                m_center->removeDeliveredNotification(id);
            else if (step != "early" && step != "refused" && step != "plain" && step != "eager")
                emit m_server->ActionInvoked(serverId, step.section(u'@', 0, 0));
        }
        QVERIFY(flushSignals());
        QCOMPARE(m_activations.join(", "), activations);
        QTRY_COMPARE(m_server->closed.contains(41), closed);
        QCOMPARE(m_center->pendingCount(), int(tracked) + 1); // the marker stays tracked
    }

    void availableWhileAServerIsRegistered()
    {
        QVERIFY(DBusNotificationCenter::isAvailable(m_clientBus));
        QVERIFY(m_serverBus.unregisterService(DBusNotificationCenter::serviceName));
        QVERIFY(!DBusNotificationCenter::isAvailable(m_clientBus));
        QVERIFY(!DBusNotificationCenter::isAvailable(
            QDBusConnection::connectToBus("unix:path=/nonexistent/bus", "none")));
    }
};

QTEST_MAIN(TestDBusNotificationCenter)
#include "tst_dbusnotificationcenter.moc"
