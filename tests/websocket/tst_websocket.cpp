#include "support/WebSocketPair.h"

#include "support/StandardOutputCapture.h"
#include "websocket/WebSocketFrameReader.h"
#include "websocket/WebSocketHandshake.h"
#include "websocket/WebSocketServer.h"

#include <QTcpSocket>
#include <QTest>

#include <memory>
#include <vector>

using namespace pexi;
using namespace pexi::WebSocketProtocol;

namespace {

constexpr qint64 maxMessage = 300;

QByteArray closePayload(quint16 code, const QByteArray &reason = {})
{
    return QByteArray(1, char(code >> 8)) + char(code & 0xff) + reason;
}

// Everything a reader makes of `bytes` fed in pieces of `piece` bytes: "kind:payload" per
// message ("unpadded" after one without the promised room behind it), then "!code" after a
// breach.
QStringList readAll(const QByteArray &bytes, qsizetype piece)
{
    WebSocketFrameReader reader(maxMessage);
    QStringList out;
    const auto drain = [&] {
        while (auto message = reader.next()) {
            const char *kinds[] = {"?", "text", "binary", "?",    "?",   "?",
                                   "?", "?",    "close",  "ping", "pong"};
            const QByteArray payload = message->payload.size() > 40
                                           ? QByteArray::number(message->payload.size()) + "B"
                                           : message->payload;
            out << QString::fromLatin1(kinds[int(message->opcode)]) + ':' +
                       QString::fromLatin1(payload.toPercentEncoding(" "));
            if (message->payload.data_ptr().freeSpaceAtEnd() < WebSocketFrameReader::payloadPadding)
                out << "unpadded";
        }
    };
    for (qsizetype at = 0; at < bytes.size(); at += piece) {
        reader.append(QByteArrayView(bytes).sliced(at, std::min(piece, bytes.size() - at)));
        drain();
    }
    if (const auto violation = reader.violation())
        out << "!" + QString::number(int(*violation));
    return out;
}

// Says every peer belongs to the same user, or to none.
class FixedOwners : public SocketOwners
{
public:
    explicit FixedOwners(std::optional<uid_t> owner) : m_owner(owner) {}
    std::optional<uid_t> ownerOfPeer(int) const override { return m_owner; }

private:
    std::optional<uid_t> m_owner;
};

// A server on a free loopback port whose open sockets are kept here.
struct LoopbackServer
{
    explicit LoopbackServer(const SocketOwners &owners, qint64 maxMessageBytes = 1024 * 1024)
        : server(
              maxMessageBytes, [](const auto &) { return 0; }, owners)
    {
        server.listen(QHostAddress::LocalHost, 0);
        QObject::connect(&server, &WebSocketServer::newConnection,
                         [this](WebSocket *socket) { open.push_back(socket); });
    }
    // A raw client that has sent the upgrade request.
    std::unique_ptr<QTcpSocket> client(const QByteArray &request = upgradeRequest()) const
    {
        auto socket = std::make_unique<QTcpSocket>();
        socket->connectToHost(QHostAddress::LocalHost, server.serverPort());
        if (!request.isEmpty())
            socket->write(request);
        return socket;
    }

    WebSocketServer server;
    std::vector<WebSocket *> open;
};

// Waits until `socket` has received a whole HTTP answer or was closed; returns what came.
QByteArray answerTo(QTcpSocket &socket)
{
    QByteArray received;
    WebSocketPair::waitFor([&] {
        received += socket.readAll();
        return received.contains("\r\n\r\n") || socket.state() == QAbstractSocket::UnconnectedState;
    });
    return received;
}

} // namespace

class TestWebSocket : public QObject
{
    Q_OBJECT

private slots:
    void readerPutsMessagesTogetherOrNamesTheBreach_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QStringList>("expected");
        const auto text = [](const QByteArray &p, bool fin = true) {
            return clientFrame(Opcode::text, p, fin);
        };
        const auto more = [](const QByteArray &p, bool fin) {
            return clientFrame(Opcode::continuation, p, fin);
        };
        const QByteArray ping = clientFrame(Opcode::ping, "p");
        const auto row = [](const char *name, const QByteArray &bytes, const QStringList &out) {
            QTest::newRow(name) << bytes << out;
        };
        const auto close = [](const QByteArray &payload) {
            return clientFrame(Opcode::close, payload);
        };
        const QStringList breach{"!1002"}, tooBig{"!1009"};

        row("two texts in one piece", text("hello") + text(""), {"text:hello", "text:"});
        // The top bit of a 64-bit length is never set.
        row("64-bit length with the top bit", QByteArray("\x82\xff\x80\0\0\0\0\0\0\x01mask", 14),
            breach);
        row("binary, ping, pong",
            clientFrame(Opcode::binary, "\xc0") + ping + clientFrame(Opcode::pong, ""),
            {"binary:%C0", "ping:p", "pong:"});
        row("fragments with a ping between",
            text("a", false) + ping + more("b", false) + more("c", true), {"ping:p", "text:abc"});
        row("message at the limit", text(QByteArray(maxMessage - 1, 'x'), false) + more("y", true),
            {"text:300B"});
        row("one frame over the limit", text(QByteArray(maxMessage + 1, 'x')), tooBig);
        row("fragments over the limit", text(QByteArray(maxMessage, 'x'), false) + more("y", true),
            tooBig);
        row("unmasked", clientFrame(Opcode::text, "a", true, 0, false), breach);
        row("reserved bit", clientFrame(Opcode::text, "a", true, 0x40), breach);
        row("continuation first", more("a", true), breach);
        row("text inside fragments", text("a", false) + text("b"), breach);
        row("fragmented ping", clientFrame(Opcode::ping, "a", false), breach);
        row("long ping", clientFrame(Opcode::ping, QByteArray(126, 'a')), breach);
        row("close without code", close("") + text("after"), {"close:", "text:after"});
        row("close with code and reason", close(closePayload(1001, "bye")), {"close:%03%E9bye"});
        row("close with a private code", close(closePayload(4000)), {"close:%0F%A0"});
        row("close with one byte", close("\x03"), breach);
        row("close with a reserved code", close(closePayload(1005)), breach);
        row("close with an unassigned code", close(closePayload(2999)), breach);
        row("nothing after an unknown opcode",
            text("ok") + clientFrame(Opcode(7), "") + text("lost"), {"text:ok", "!1002"});
    }
    void readerPutsMessagesTogetherOrNamesTheBreach()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QStringList, expected);
        // Whatever way the bytes are cut up on the wire, the outcome is the same.
        for (qsizetype piece : {bytes.size(), qsizetype(1), qsizetype(3), qsizetype(7)})
            QCOMPARE(readAll(bytes, std::max<qsizetype>(piece, 1)), expected);
    }

    // Text messages and close reasons must be well-formed UTF-8, whole or across fragments (a
    // character cut in two by the fragmenting is still whole in the message).
    void utf8IsCheckedStrictly_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("valid");
        const auto row = [](const char *name, const QByteArray &bytes, bool valid) {
            QTest::newRow(name) << bytes << valid;
        };
        row("two bytes", "caf\xc3\xa9", true);
        row("overlong two bytes", "\xc1\xbf", false);
        row("surrogate", "\xed\xa0\x80", false);
        row("highest code point", "\xf4\x8f\xbf\xbf", true);
        row("past the highest", "\xf4\x90\x80\x80", false);
        row("cut off", "ok\xe2\x82", false);
        row("bad third byte", "\xe2\x82\x28", false);
        row("bad fourth byte", "\xf0\x9f\x98\x28", false);
    }
    void utf8IsCheckedStrictly()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, valid);
        const QString invalid = QString::number(int(CloseCode::invalidPayload));
        const QString text = "text:" + QString::fromLatin1(bytes.toPercentEncoding(" "));
        QCOMPARE(readAll(clientFrame(Opcode::text, bytes), 1),
                 QStringList(valid ? text : "!" + invalid));
        const qsizetype half = bytes.size() / 2;
        QCOMPARE(readAll(clientFrame(Opcode::text, bytes.first(half), false) +
                             clientFrame(Opcode::continuation, bytes.sliced(half), true),
                         3),
                 QStringList(valid ? text : "!" + invalid));
        const QByteArray close = closePayload(1000, bytes);
        QCOMPARE(readAll(clientFrame(Opcode::close, close), 2),
                 QStringList(valid ? "close:" + QString::fromLatin1(close.toPercentEncoding(" "))
                                   : "!" + invalid));
    }

    void handshakeRequestsAreReadStrictly_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QString>("outcome"); // "accepted <origin>", "incomplete" or the status
        const QByteArray good = upgradeRequest();
        const qsizetype limit = WebSocketHandshake::maxRequestBytes;
        // The request with `from` replaced by `to`.
        const auto row = [&](const char *name, const QByteArray &from, const QByteArray &to,
                             const char *outcome) {
            QTest::newRow(name) << QByteArray(good).replace(from, to) << QString(outcome);
        };
        const QByteArray origin = "Origin: chrome-extension://a\r\n";
        row("upgrade", "GET", "GET", "accepted -");
        row("with origin and keep-alive", "Connection: Upgrade",
            "connection: keep-alive, Upgrade\r\n" + origin.trimmed(),
            "accepted chrome-extension://a");
        row("not yet ended", "\r\n\r\n", "\r\n", "incomplete");
        row("never ends", good, "GET / HTTP/1.1\r\nX: " + QByteArray(limit, 'x'), "431");
        row("POST", "GET", "POST", "400");
        row("HTTP/1.0", "HTTP/1.1", "HTTP/1.0", "400");
        row("no upgrade", "Upgrade: websocket", "X: y", "400");
        row("old version", "Version: 13", "Version: 8", "426");
        row("short key", "dGhlIHNhbXBsZSBub25jZQ==", "c2hvcnQ=", "400");
        row("line without colon", "Host: 127.0.0.1", "Host 127.0.0.1", "400");
        row("two origins", "Host:", origin + origin + "Host:", "400");
        row("folded line", "Host:", origin + " https://evil.example\r\nHost:", "400");
        row("ended, but too long", "Host:", "X: " + QByteArray(limit, 'x') + "\r\nHost:", "431");
    }
    void handshakeRequestsAreReadStrictly()
    {
        QFETCH(QByteArray, request);
        QFETCH(QString, outcome);
        const auto parsed = WebSocketHandshake::parse(request + "early");
        using Status = WebSocketHandshake::Parsed::Status;
        if (parsed.status == Status::accepted) {
            QCOMPARE("accepted " + parsed.request.origin.value_or("-"), outcome);
            QCOMPARE(parsed.length, request.size());
            // The example of the protocol's own definition.
            QVERIFY(WebSocketHandshake::acceptance(parsed.request)
                        .contains("\r\nSec-WebSocket-Accept: s3pPLMBiTxaQ9kYGzzhZRbK+xOo=\r\n"));
        } else if (parsed.status == Status::incomplete) {
            QCOMPARE(QStringLiteral("incomplete"), outcome);
        } else {
            QVERIFY(parsed.refusal.startsWith("HTTP/1.1 " + outcome.toLatin1() + ' '));
        }
    }

    // A connection over a real socket pair, the test acting as the client. The server has sent
    // `backlog` large answers first: those still waiting for a slow client reach it before the
    // close frame.
    void connectionsEndAsTheClientOrTheProtocolSays_data()
    {
        QTest::addColumn<int>("backlog");
        QTest::addColumn<QByteArray>("sent"); // after the handshake; empty: the client hangs up
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<QString>("ending"); // code, reason, clean
        QTest::newRow("client closes")
            << 0 << clientFrame(Opcode::close, closePayload(1001, "tab closed"))
            << QByteArray("\x88\x02\x03\xe9", 4) << "1001 tab closed true";
        QTest::newRow("client closes behind answers")
            << 4 << clientFrame(Opcode::close, closePayload(1000))
            << QByteArray("\x88\x02\x03\xe8", 4) << "1000  true";
        QTest::newRow("client closes without a code")
            << 0 << clientFrame(Opcode::close, "") << QByteArray("\x88\x00", 2) << "1005  true";
        QTest::newRow("client vanishes") << 0 << QByteArray() << QByteArray() << "1006  false";
        QTest::newRow("broken frame") << 0 << clientFrame(Opcode::text, "x", true, 0x10)
                                      << QByteArray("\x88\x02\x03\xea", 4) << "1002  true";
    }
    void connectionsEndAsTheClientOrTheProtocolSays()
    {
        QFETCH(int, backlog);
        QFETCH(QByteArray, sent);
        QFETCH(QByteArray, answer);
        QFETCH(QString, ending);
        WebSocketPair pair([](const auto &) { return 0; }, 1000);
        QVERIFY(pair.handshake().startsWith("HTTP/1.1 101 "));
        const QString big(256 * 1024, u'x');
        QByteArray expected;
        for (int i = 0; i < backlog; ++i) {
            pair.server->sendTextMessage(big);
            expected += frame(Opcode::text, big.toUtf8());
        }
        expected += answer;
        if (sent.isEmpty())
            ::shutdown(pair.client, SHUT_WR);
        else
            pair.write(sent);
        QVERIFY(WebSocketPair::waitFor([&] { return pair.read().size() >= expected.size(); }));
        QCOMPARE(pair.received, expected);
        // A close the server started waits for the client's answer.
        if (!pair.disconnected)
            pair.write(clientFrame(Opcode::close, closePayload(1000)));
        QVERIFY(WebSocketPair::waitFor([&] { return pair.disconnected; }));
        QCOMPARE(QStringLiteral("%1 %2 %3")
                     .arg(pair.server->closeCode())
                     .arg(pair.server->closeReason(), pair.server->wasClean() ? "true" : "false"),
                 ending);
        QVERIFY(pair.server->errorString().isEmpty());
    }

    void anOpenConnectionAnswersPingsAndDeliversInOrder()
    {
        WebSocketPair pair;
        // Frames sent right behind the request, before the answer came, count too.
        pair.write(upgradeRequest() + clientFrame(Opcode::text, "first"));
        QVERIFY(WebSocketPair::waitFor([&] { return pair.texts.size() == 1; }));
        QVERIFY(pair.read().startsWith("HTTP/1.1 101 Switching Protocols\r\n"));
        pair.received.clear();
        pair.write(clientFrame(Opcode::ping, "are you there") +
                   clientFrame(Opcode::text, "second") +
                   clientFrame(Opcode::binary, "not for the texts"));
        QVERIFY(WebSocketPair::waitFor([&] { return pair.texts.size() == 2; }));
        QCOMPARE(pair.texts, QByteArrayList({"first", "second"}));
        pair.server->sendTextMessage(QStringLiteral("é"));
        QVERIFY(WebSocketPair::waitFor([&] { return pair.read().size() == 19; }));
        QCOMPARE(pair.received, QByteArray("\x8a\x0d"
                                           "are you there"
                                           "\x81\x02\xc3\xa9"));
    }

    void aClientThatStopsReadingIsCutOff()
    {
        WebSocketPair pair;
        QVERIFY(pair.handshake().startsWith("HTTP/1.1 101 "));
        const QString big(1024 * 1024, u'x');
        for (int i = 0; i * big.size() <= WebSocket::MaxPendingOutputBytes && !pair.disconnected;
             ++i)
            pair.server->sendTextMessage(big);
        QVERIFY(pair.disconnected);
        QVERIFY(!pair.server->errorString().isEmpty());
    }
    // A refused or malformed handshake gets an HTTP answer and the connection ends without
    // opening. Everything a client sends before the answer counts towards the request limit,
    // however it is cut up and whatever follows the request.
    void handshakesAreAnsweredOverTheSocket_data()
    {
        QTest::addColumn<int>("refusal"); // what the admission says
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("piece");
        QTest::addColumn<QByteArray>("statusLine");
        const qsizetype limit = WebSocketHandshake::maxRequestBytes;
        const QByteArray request = upgradeRequest();
        const QByteArray padding = "X-Padding: " + QByteArray(limit - request.size() - 13, 'p') +
                                   "\r\n"; // the request ends at the limit exactly
        const QByteArray full = upgradeRequest(padding);
        const QByteArray onePast = upgradeRequest(padding + "X: y\r\n");
        const auto row = [](const char *name, int refusal, const QByteArray &bytes, qsizetype piece,
                            const char *statusLine) {
            QTest::newRow(name) << refusal << bytes << int(piece) << QByteArray(statusLine);
        };
        row("forbidden", 403, request, limit, "HTTP/1.1 403 Forbidden\r\n");
        row("full", 503, request, limit, "HTTP/1.1 503 Service Unavailable\r\n");
        row("at the limit", 0, full, 1000, "HTTP/1.1 101 ");
        row("one past, in one write", 0, onePast, limit * 2, "HTTP/1.1 431 ");
        row("one past, in pieces", 0, onePast, 100, "HTTP/1.1 431 ");
        row("data behind a request at the limit", 0, full + clientFrame(Opcode::text, "early"),
            limit * 2, "HTTP/1.1 431 ");
    }
    void handshakesAreAnsweredOverTheSocket()
    {
        QFETCH(int, refusal);
        QFETCH(QByteArray, bytes);
        QFETCH(int, piece);
        QFETCH(QByteArray, statusLine);
        WebSocketPair pair([refusal](const auto &) { return refusal; });
        bool connected = false;
        QObject::connect(pair.server.get(), &WebSocket::connected, [&] { connected = true; });
        for (qsizetype at = 0; at < bytes.size() && !pair.disconnected; at += piece) {
            pair.write(bytes.mid(at, piece));
            pair.read();
        }
        QVERIFY(WebSocketPair::waitFor([&] { return pair.read().contains("\r\n\r\n"); }));
        QVERIFY2(pair.received.startsWith(statusLine), pair.received.left(40).constData());
        if (statusLine.contains(" 101 "))
            return;
        QVERIFY(WebSocketPair::waitFor([&] { return pair.disconnected; }));
        QVERIFY(!connected);
        pair.read();
        QVERIFY(pair.peerClosed);
    }

    void onlyPeersOfThisUserGetAnAnswer_data()
    {
        QTest::addColumn<std::optional<uid_t>>("owner");
        QTest::addColumn<QString>("logged"); // empty: taken
        QTest::newRow("this user") << std::optional<uid_t>(::geteuid()) << QString();
        QTest::newRow("another user")
            << std::optional<uid_t>(::geteuid() + 1)
            << QStringLiteral("refused connection from another user (uid %1)").arg(::geteuid() + 1);
        QTest::newRow("owner unknown")
            << std::optional<uid_t>()
            << QStringLiteral("refused connection: its owner could not be told");
    }
    void onlyPeersOfThisUserGetAnAnswer()
    {
        QFETCH(std::optional<uid_t>, owner);
        QFETCH(QString, logged);
        StandardOutputCapture output;
        const FixedOwners owners(owner);
        LoopbackServer loopback(owners);
        const auto client = loopback.client();
        const QByteArray answer = answerTo(*client);
        QCOMPARE(answer.startsWith("HTTP/1.1 101 "), logged.isEmpty());
        QCOMPARE(loopback.open.size(), logged.isEmpty() ? 1u : 0u);
        QCOMPARE(output.takeLines(), logged.isEmpty() ? QStringList() : QStringList{logged});
    }

    // Idle connections holding every handshake slot do not keep a real client out.
    void aNewClientIsServedWhileTheHandshakeSlotsAreHeld()
    {
        LoopbackServer loopback(SocketOwners::system());
        std::vector<std::unique_ptr<QTcpSocket>> idle;
        for (int i = 0; i < WebSocketServer::MaxHandshakes; ++i)
            idle.push_back(loopback.client({}));
        QVERIFY(WebSocketPair::waitFor(
            [&] { return loopback.server.handshakesUnderWay() == WebSocketServer::MaxHandshakes; },
            20000));
        const auto extension = loopback.client();
        QByteArray answer;
        QTRY_VERIFY_WITH_TIMEOUT((answer += extension->readAll()).startsWith("HTTP/1.1 101 "),
                                 3000);
        QCOMPARE(loopback.open.size(), 1u);
    }

    // Many connections, each just within its own limit, cannot together take more than the
    // budget: the ones that would are closed with 1008, the others and the server go on.
    void theBuffersOfAllConnectionsShareOneBudget()
    {
        constexpr qint64 maxMessage = 4 * 1024 * 1024;
        const FixedOwners owners(::geteuid());
        LoopbackServer loopback(owners, maxMessage);
        const int count = int(2 * WebSocketServer::MaxBufferedBytes / maxMessage);
        // A message one byte short of the limit, of which all but the last byte is sent.
        const QByteArray frame =
            clientFrame(Opcode::binary, QByteArray(maxMessage - 1, 'm')).chopped(1);
        std::vector<std::unique_ptr<QTcpSocket>> clients;
        int refused = 0;
        for (int i = 0; i < count; ++i) {
            clients.push_back(loopback.client());
            QVERIFY(answerTo(*clients.back()).startsWith("HTTP/1.1 101 "));
            WebSocket *socket = loopback.open.back();
            const qint64 before = loopback.server.budget().used();
            clients.back()->write(frame);
            QVERIFY(WebSocketPair::waitFor([&] {
                return socket->state() != WebSocket::State::open ||
                       loopback.server.budget().used() - before >= frame.size();
            }));
            QVERIFY(loopback.server.budget().used() <= WebSocketServer::MaxBufferedBytes);
            if (socket->state() != WebSocket::State::open) {
                QCOMPARE(socket->closeCode(), quint16(CloseCode::policyViolated));
                ++refused;
            }
        }
        QVERIFY2(refused > 0 && refused < count, QByteArray::number(refused).constData());
        // Still serving.
        const auto late = loopback.client();
        QVERIFY(answerTo(*late).startsWith("HTTP/1.1 101 "));
    }

    void refusalsAreLoggedTenASecondThenCounted()
    {
        StandardOutputCapture output;
        RefusalLog refusals;
        for (int i = 0; i < 25; ++i)
            refusals.log(QStringLiteral("refused %1").arg(i));
        QStringList expected;
        for (int i = 0; i < RefusalLog::MaxLinesPerSecond; ++i)
            expected << QStringLiteral("refused %1").arg(i);
        QCOMPARE(output.takeLines(), expected);
        QStringList counted;
        QVERIFY(WebSocketPair::waitFor([&] { return !(counted += output.takeLines()).isEmpty(); }));
        QCOMPARE(counted, QStringList{QStringLiteral("15 more refused connections")});
    }
};

QTEST_GUILESS_MAIN(TestWebSocket)
#include "tst_websocket.moc"
