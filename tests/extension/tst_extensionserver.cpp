#include "extension/BrowserController.h"
#include "extension/ExtensionError.h"
#include "extension/ExtensionServer.h"
#include "extension/LockCheckEvent.h"
#include "extension/SearchEvent.h"
#include "support/DesktopDoubles.h"
#include "support/ExtensionClient.h"
#include "support/StandardOutputCapture.h"
#include "support/TemporaryVault.h"
#include "support/WebSocketPair.h"

#include <QTcpSocket>

#include <memory>
#include <optional>

#include <sys/socket.h>

using namespace pexi;

namespace {

const QString unparsable = QStringLiteral("Unable to parse json from server.");
const QString noCommand = QStringLiteral("message had no command identifier!");
const QString parseError =
    QStringLiteral("error processing incoming message: '%1'")
        .arg(QString::fromUtf8(ExtensionError(ExtensionError::Kind::parseError).what()));
QString unrecognized(const char *command)
{
    return QStringLiteral("message had unrecognized command '%1'").arg(command);
}

QByteArray wrap(const QByteArray &data)
{
    return "{\"data\":" + data + "}";
}

QByteArray envelope(const char *sender, const char *build, const QByteArray &data)
{
    return QStringLiteral(R"({"sender":"%1","build":"%2","data":%3})")
        .arg(sender, build, QString::fromUtf8(data))
        .toUtf8();
}

const QString none = QStringLiteral("none None None");

void frameRow(const char *name, const QByteArray &frame, const QString &log,
              const QString &handled = {}, const QString &tracked = none, bool binary = false)
{
    QTest::newRow(name) << frame << log << handled << tracked << binary;
}

} // namespace

class TestExtensionServer : public QObject
{
    Q_OBJECT

    std::unique_ptr<TemporaryVault> m_vault; // made once: every vault costs a key derivation
    std::optional<StandardOutputCapture> m_output;
    NullLauncher m_launcher;
    std::unique_ptr<BrowserController> m_browsers;
    std::unique_ptr<ExtensionServer> m_server;
    QStringList m_handled;

    // Every command gets a handler that writes down its event; the settling lock checks are
    // acknowledged on their socket instead.
    void recordDispatch()
    {
        for (Command command : {Command::LOCK_CHECK, Command::CREDS_SEARCH, Command::CREDS_ABORT,
                                Command::CREDS_PROVIDE, Command::NAVIGATE}) {
            m_server->registerHandler(
                command, [this](WebSocket *socket, const MiniAppEvent &event) {
                    const auto *check = dynamic_cast<const LockCheckEvent *>(&event);
                    if (check && check->session().value_or(QString()).startsWith(u"settle-"))
                        socket->sendTextMessage(QStringLiteral("ack ") + *check->session());
                    else if (const auto *search = dynamic_cast<const SearchEvent *>(&event))
                        m_handled << "SearchEvent " + search->site() + " " + search->session();
                    else
                        m_handled << (check ? "LockCheckEvent " + check->session().value_or("-")
                                            : toRaw(event.command()));
                });
        }
        m_server->registerHandler(Command::CREDS_ABORT, [this](WebSocket *, const MiniAppEvent &) {
            m_handled << "second abort handler";
        });
    }
    std::unique_ptr<ExtensionClient> connected(const QByteArray &origin = {})
    {
        auto client = std::make_unique<ExtensionClient>(m_server->port(), origin);
        if (!client->waitConnected())
            QTest::qFail("client did not connect", __FILE__, __LINE__);
        return client;
    }
    void waitOpen(qsizetype count)
    {
        QTRY_COMPARE_WITH_TIMEOUT(m_server->openWebSockets().size(), count,
                                  ExtensionClient::waitMs);
    }

    QStringList logged() { return serverLog(*m_output); }
    void setLocked(bool locked)
    {
        if (locked)
            m_vault->locker.lock();
        else
            QVERIFY(m_vault->unlock());
    }

private slots:
    void initTestCase() { m_vault = std::make_unique<TemporaryVault>(); }
    void init()
    {
        m_output.emplace();
        m_browsers = std::make_unique<BrowserController>(m_launcher);
        m_server =
            std::make_unique<ExtensionServer>(0, m_vault->locker, *m_browsers, m_vault->center);
        m_handled.clear();
        QVERIFY(m_server->start());
        recordDispatch();
    }
    void cleanup()
    {
        m_server.reset();
        m_browsers.reset();
        m_vault->locker.lock();
        m_output.reset();
    }

    void framesAreParsedOrLoggedAndDropped_data()
    {
        QTest::addColumn<QByteArray>("frame");
        QTest::addColumn<QString>("log");
        QTest::addColumn<QString>("handled");
        QTest::addColumn<QString>("tracked"); // most recent browser, chrome build, safari build
        QTest::addColumn<bool>("binary");
        const QByteArray check = R"({"command":"pexi_lock_check"})";

        frameRow("binary", wrap(check),
                 "message received from server had unexpected type: QByteArray", {}, none, true);
        frameRow("not JSON", "hello", unparsable);
        frameRow("no envelope", check, noCommand);
        // Without a command nobody is told who sent the frame.
        frameRow("no command", envelope("chrome", "9", "{}"), noCommand);
        frameRow("unknown command", wrap(R"({"command":"fly"})"), unrecognized("fly"));
        frameRow("unknown command that drives a terminal",
                 wrap("{\"command\":\"\\u001b[2J" + QByteArray(300, 'x') + "\"}"),
                 unrecognized(("\\x1b[2J" + QByteArray(196, 'x') + "...").constData()));
        // Commands match exactly.
        frameRow("command in capitals", wrap(R"({"command":"PEXI_LOCK_CHECK"})"),
                 unrecognized("PEXI_LOCK_CHECK"));
        // Tracking comes before the command is matched.
        frameRow("outgoing command from safari",
                 envelope("safari", "17", R"({"command":"provide_credential"})"),
                 unrecognized("provide_credential"), {}, "safari None 17");
        frameRow("search without session",
                 envelope("chrome", "4", R"({"command":"credentials_search","site":"a.b"})"),
                 parseError, {}, "chrome 4 None");
        // The event is built from "data", never from the envelope around it.
        frameRow("lock check",
                 R"({"session":"o","data":{"command":"pexi_lock_check","session":"s1"}})", {},
                 "LockCheckEvent s1");
        frameRow("lock check from chrome", envelope("chrome", "3.1", check), {}, "LockCheckEvent -",
                 "chrome 3.1 None");
        frameRow("numeric build", R"({"sender":"chrome","build":5,"data":)" + check + "}", {},
                 "LockCheckEvent -", "chrome None None");
        frameRow("sender inside data",
                 wrap(R"({"command":"pexi_lock_check","sender":"chrome","build":"9"})"), {},
                 "LockCheckEvent -");
        frameRow("search",
                 wrap(R"({"command":"credentials_search","site":"a.com/x","session":"s2"})"), {},
                 "SearchEvent a.com/x s2");
        // A second handler is registered for this one; both run, in registration order.
        frameRow("abort", wrap(R"({"command":"credentials_abort"})"), {},
                 "credentials_abort\nsecond abort handler");
    }
    void framesAreParsedOrLoggedAndDropped()
    {
        QFETCH(QByteArray, frame);
        QFETCH(QString, log);
        QFETCH(QString, handled);
        QFETCH(QString, tracked);
        QFETCH(bool, binary);
        const auto client = connected();
        if (binary)
            client->socket.sendBinaryMessage(frame);
        else
            client->send(frame);
        QCOMPARE(client->settle(1), QStringList());
        QCOMPARE(logged().join(u'\n'), log);
        QCOMPARE(m_handled.join(u'\n'), handled);
        const std::optional<Browser> browser = m_browsers->mostRecentBrowser();
        QCOMPARE(
            QStringList({browser ? toRaw(*browser) : none.left(4),
                         m_browsers->build(Browser::chrome), m_browsers->build(Browser::safari)})
                .join(u' '),
            tracked);
        QVERIFY(!browser || m_browsers->isActive(*browser));
        // Nothing an extension sends closes its socket.
        QVERIFY(!client->wasDisconnected);
        QCOMPARE(m_server->openWebSockets().size(), 1);
    }

    void lockChangesArePushedToEverySocket_data()
    {
        QTest::addColumn<bool>("startLocked");
        QTest::addColumn<QStringList>("changes");
        QTest::addColumn<QList<bool>>("pushed");
        QTest::addColumn<bool>("abort"); // how one socket leaves before the changes
        QTest::addColumn<QString>("closeLog");
        const QString closed = "websocket closed with code 1001, reason: 'tab closed', clean: true";
        const QString dropped = "websocket closed with code 1006, reason: '', clean: false";
        QTest::newRow("lock, unlock") << false << QStringList{"lock", "unlock"}
                                      << QList<bool>{true, false} << false << closed;
        QTest::newRow("unlock, lock")
            << true << QStringList{"unlock", "lock"} << QList<bool>{false, true} << true << dropped;
        QTest::newRow("lock twice")
            << false << QStringList{"lock", "lock"} << QList<bool>{true} << false << closed;
        QTest::newRow("after stop")
            << false << QStringList{"stop", "lock", "unlock"} << QList<bool>{} << false << closed;
    }
    void lockChangesArePushedToEverySocket()
    {
        QFETCH(bool, startLocked);
        QFETCH(QStringList, changes);
        QFETCH(QList<bool>, pushed);
        QFETCH(bool, abort);
        QFETCH(QString, closeLog);
        setLocked(startLocked);
        std::vector<std::unique_ptr<ExtensionClient>> clients;
        for (int i = 0; i < 3; ++i)
            clients.push_back(connected());
        waitOpen(3);
        // A socket that went away before the change is forgotten and no longer pushed to.
        if (abort)
            clients.front()->socket.abort();
        else
            clients.front()->socket.close(QWebSocketProtocol::CloseCodeGoingAway, "tab closed");
        QVERIFY(clients.front()->waitDisconnected());
        waitOpen(2);
        QCOMPARE(logged(), QStringList{closeLog});

        for (const QString &change : changes) {
            if (change == "stop")
                m_server->stop();
            else
                setLocked(change == "lock");
        }
        QStringList expected;
        for (bool locked : pushed)
            expected << QStringLiteral(
                            R"({"command":"pexi_lock_state","locked":%1,"session":null})")
                            .arg(locked ? "true" : "false");
        for (size_t i = 1; i < clients.size(); ++i)
            QCOMPARE(clients[i]->settle(1), expected);
        QVERIFY(clients.front()->texts.isEmpty());
    }

    // A socket that fails on the push itself must not make the push skip or repeat another.
    void aPushReachesEachOtherSocketOnceWhenOneFailsOnIt_data()
    {
        QTest::addColumn<int>("failing"); // which of four sockets resets its connection
        for (int at = 0; at < 4; ++at)
            QTest::newRow(qPrintable(QString::number(at))) << at;
    }
    void aPushReachesEachOtherSocketOnceWhenOneFailsOnIt()
    {
        QFETCH(int, failing);
        std::vector<std::unique_ptr<ExtensionClient>> clients;
        QTcpSocket raw;
        for (int i = 0; i < 4; ++i) {
            if (i == failing) {
                raw.connectToHost(QHostAddress::LocalHost, m_server->port());
                raw.write(upgradeRequest());
            } else {
                clients.push_back(connected());
            }
            waitOpen(i + 1); // one at a time, so that the server lists them in this order
        }
        // Reset before the server has noticed, so that the push itself fails on it.
        const linger reset{1, 0};
        ::setsockopt(int(raw.socketDescriptor()), SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
        raw.abort();
        m_server->broadcast(QStringLiteral("push"));
        for (const auto &client : clients)
            QCOMPARE(client->settle(1), QStringList{"push"});
        waitOpen(3);
    }

    void originsAreCheckedAtTheHandshake_data()
    {
        QTest::addColumn<std::optional<QString>>("origin");
        QTest::addColumn<bool>("allowed");
        const auto row = [](const char *name, std::optional<QString> origin, bool allowed) {
            QTest::newRow(name) << origin << allowed;
        };
        row("none", std::nullopt, true);
        row("empty", QString(), true);
        row("chrome", "chrome-extension://aaaabbbbccccddddeeeeffffgggghhhh", true);
        row("firefox", "moz-extension://0f0e0d0c-0000-4000-8000-000000000001", true);
        row("safari", "safari-web-extension://3C9A-7B1D", true);
        row("scheme in capitals", "Chrome-Extension://abc", true);
        row("null", "null", false);
        row("extension scheme without host", "chrome-extension://", false);
        row("list", "chrome-extension://abc https://evil.example", false);
        row("extension with a path", "chrome-extension://abc/page.html", false);
        row("lookalike scheme", "chrome-extension-evil://abc", false);
    }
    void originsAreCheckedAtTheHandshake()
    {
        QFETCH(std::optional<QString>, origin);
        QFETCH(bool, allowed);
        QCOMPARE(ExtensionServer::isAllowedOrigin(origin), allowed);
        if (!origin || origin->isEmpty())
            return; // no header to send: every other connection here is one
        ExtensionClient client(m_server->port(), origin->toUtf8());
        QCOMPARE(client.waitConnected(), allowed);
        if (allowed)
            QCOMPARE(client.settle(1), QStringList());
        QCOMPARE(m_server->openWebSockets().size(), allowed ? 1 : 0);
        QCOMPARE(logged(), allowed
                               ? QStringList()
                               : QStringList{"refused connection from origin '" + *origin + "'"});
    }

    void anOversizedMessageClosesOnlyItsSocket()
    {
        const auto big = connected(), atLimit = connected();
        // Lock checks padded to the given size.
        const auto frame = [](qint64 size, const QString &session) {
            const QByteArray head =
                QStringLiteral(R"({"data":{"command":"pexi_lock_check","session":"%1"},"pad":)")
                    .arg(session)
                    .toUtf8();
            return head + '"' + QByteArray(size - head.size() - 3, 'x') + "\"}";
        };
        big->send(frame(ExtensionServer::MaxMessageBytes + 1, "big"));
        QVERIFY(big->waitDisconnected());
        QCOMPARE(big->socket.closeCode(), QWebSocketProtocol::CloseCodeTooMuchData);
        waitOpen(1);
        atLimit->send(frame(ExtensionServer::MaxMessageBytes, "at limit"));
        QCOMPARE(atLimit->settle(1), QStringList());
        QCOMPARE(m_handled, QStringList{"LockCheckEvent at limit"});
        QVERIFY(!atLimit->wasDisconnected);
    }

    void socketsBeyondTheLimitAreRefused()
    {
        std::vector<std::unique_ptr<ExtensionClient>> clients;
        for (int i = 0; i < ExtensionServer::MaxOpenSockets; ++i)
            clients.push_back(std::make_unique<ExtensionClient>(m_server->port()));
        for (const auto &client : clients)
            QVERIFY(client->waitConnected());
        waitOpen(ExtensionServer::MaxOpenSockets);
        logged();

        ExtensionClient refused(m_server->port());
        QVERIFY(!refused.waitConnected());
        QCOMPARE(logged(), QStringList{QStringLiteral("refused connection: %1 sockets already open")
                                           .arg(ExtensionServer::MaxOpenSockets)});
        QCOMPARE(clients.back()->settle(1), QStringList());

        // Room again once one of them is gone.
        clients.front()->socket.close();
        QVERIFY(clients.front()->waitDisconnected());
        waitOpen(ExtensionServer::MaxOpenSockets - 1);
        QCOMPARE(connected()->settle(1), QStringList());
    }
};

QTEST_MAIN(TestExtensionServer)
#include "tst_extensionserver.moc"
