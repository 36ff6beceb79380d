#include "app/AnalyticsLogger.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QThread>

#include <memory>

using pexi::AnalyticsLogger;

namespace {

struct HttpRequest
{
    QByteArray method;
    QByteArray path;
    QHash<QByteArray, QByteArray> headers; // names in lower case
    QByteArray body;
};

// A plain HTTP/1.1 server on loopback that records every request and answers with the status
// chosen per path (0 drops the connection without an answer).
class HttpServer : public QObject
{
public:
    HttpServer()
    {
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *socket = m_server.nextPendingConnection()) {
                connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
                connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            }
        });
    }

    bool listen() { return m_server.listen(QHostAddress::LocalHost, 0); }
    quint16 port() const { return m_server.serverPort(); }

    void setStatus(const QByteArray &pathSuffix, int status) { m_status[pathSuffix] = status; }

    QList<HttpRequest> requests;

private:
    void read(QTcpSocket *socket)
    {
        QByteArray &buffer = m_buffers[socket];
        buffer += socket->readAll();
        const qsizetype headerEnd = buffer.indexOf("\r\n\r\n");
        if (headerEnd < 0)
            return;
        HttpRequest request;
        const QList<QByteArray> lines = buffer.left(headerEnd).split('\n');
        const QList<QByteArray> requestLine = lines.first().trimmed().split(' ');
        request.method = requestLine.value(0);
        request.path = requestLine.value(1);
        for (qsizetype i = 1; i < lines.size(); ++i) {
            const qsizetype colon = lines[i].indexOf(':');
            if (colon > 0)
                request.headers.insert(lines[i].left(colon).trimmed().toLower(),
                                       lines[i].mid(colon + 1).trimmed());
        }
        const qsizetype length = request.headers.value("content-length", "0").toLongLong();
        if (buffer.size() < headerEnd + 4 + length)
            return;
        request.body = buffer.mid(headerEnd + 4, length);
        m_buffers.remove(socket);
        requests.append(request);

        int status = 200;
        for (auto it = m_status.cbegin(); it != m_status.cend(); ++it) {
            if (request.path.endsWith(it.key()))
                status = it.value();
        }
        if (status == 0) {
            socket->abort();
            return;
        }
        socket->write("HTTP/1.1 " + QByteArray::number(status) +
                      " Answer\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
        socket->disconnectFromHost();
    }

    QTcpServer m_server;
    QHash<QTcpSocket *, QByteArray> m_buffers;
    QHash<QByteArray, int> m_status;
};

const QUuid accountId = QUuid(QStringLiteral("{6f1c2a9e-3b7d-4e15-a0c4-9d2e8b7f5a31}"));
const QString accountIdText = QStringLiteral("6F1C2A9E-3B7D-4E15-A0C4-9D2E8B7F5A31");

// The event body as the service expects it, written out in full.
QString expectedEventBody(const QString &name, qint64 logTime, const QString &userId)
{
    return QStringLiteral("event=CUSTOM_APP_EVENTS&custom_events=[{\"_eventName\":\"%1\", "
                          "\"_logTime\" : %2, \"_appVersion\" : \"1.0.17b\"}]&attribution=%3"
                          "&app_user_id=%3&advertiser_tracking_enabled=1"
                          "&application_tracking_enabled=1")
        .arg(name, QString::number(logTime), userId);
}

QString eventNameOf(const HttpRequest &request)
{
    static const QRegularExpression pattern(QStringLiteral("\"_eventName\":\"([^\"]*)\""));
    return pattern.match(QString::fromUtf8(request.body)).captured(1);
}

} // namespace

class TestAnalyticsLogger : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<HttpServer> m_server;
    QByteArray m_basePath;

    std::optional<HttpRequest> waitForEvent(const QString &name)
    {
        std::optional<HttpRequest> found;
        const auto look = [&] {
            for (const HttpRequest &request : m_server->requests) {
                if (request.path.endsWith("/activities") && eventNameOf(request) == name)
                    found = request;
            }
            return found.has_value();
        };
        return QTest::qWaitFor(look, 10000) ? found : std::nullopt;
    }

    // Replies to analytics requests that the logger has sent and that are not answered yet.
    static int unansweredEvents(QNetworkAccessManager &network)
    {
        int count = 0;
        for (QNetworkReply *reply : network.findChildren<QNetworkReply *>()) {
            if (reply->url().path().endsWith(QLatin1String("/activities")) && !reply->isFinished())
                ++count;
        }
        return count;
    }

private slots:
    void init()
    {
        m_server = std::make_unique<HttpServer>();
        QVERIFY(m_server->listen());
        m_basePath = "/graph/v2.10/";
        qputenv("PEXI_ANALYTICS_BASE",
                "http://127.0.0.1:" + QByteArray::number(m_server->port()) + m_basePath);
    }

    void cleanup()
    {
        m_server.reset();
        qunsetenv("PEXI_ANALYTICS_BASE");
    }

    // Bodies and addresses

    void eventBodyIsWrittenExactly_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<qint64>("logTime");
        QTest::addColumn<QString>("userId");
        QTest::addColumn<QString>("expected");
        QTest::newRow("example") << QStringLiteral("Mac_PasswordAdded") << qint64(1500000000)
                                 << QStringLiteral("U")
                                 << QStringLiteral(
                                        "event=CUSTOM_APP_EVENTS&custom_events=[{\"_eventName\":"
                                        "\"Mac_PasswordAdded\", \"_logTime\" : 1500000000, "
                                        "\"_appVersion\" : \"1.0.17b\"}]&attribution=U&app_user_id"
                                        "=U&advertiser_tracking_enabled=1&application_tracking_"
                                        "enabled=1");
        QTest::newRow("no user") << QStringLiteral("Mac_PasswordDeleted") << qint64(0) << QString()
                                 << QStringLiteral(
                                        "event=CUSTOM_APP_EVENTS&custom_events=[{\"_eventName\":"
                                        "\"Mac_PasswordDeleted\", \"_logTime\" : 0, "
                                        "\"_appVersion\" : \"1.0.17b\"}]&attribution=&app_user_id"
                                        "=&advertiser_tracking_enabled=1&application_tracking_"
                                        "enabled=1");
        QTest::newRow("name not escaped")
            << QStringLiteral("A\"b&c=d é") << qint64(4102444800) << accountIdText
            << expectedEventBody(QStringLiteral("A\"b&c=d é"), 4102444800, accountIdText);
    }
    void eventBodyIsWrittenExactly()
    {
        QFETCH(QString, name);
        QFETCH(qint64, logTime);
        QFETCH(QString, userId);
        QFETCH(QString, expected);
        QCOMPARE(AnalyticsLogger::eventBody(name, logTime, userId), expected);
    }

    void userPropertiesBodyIsWrittenExactly()
    {
        QCOMPARE(AnalyticsLogger::userPropertiesBody(accountIdText),
                 QStringLiteral("data=[{user_unique_id:'6F1C2A9E-3B7D-4E15-A0C4-9D2E8B7F5A31', "
                                "custom_data: {CustomerType: 'MacDesktop'}}]"));
    }

    void addressJoinsBaseIdAndSuffix_data()
    {
        QTest::addColumn<QByteArray>("base");
        QTest::addColumn<QString>("suffix");
        QTest::addColumn<bool>("valid");
        QTest::newRow("events") << QByteArray("http://127.0.0.1:9/v2.10/")
                                << QStringLiteral("/activities") << true;
        QTest::newRow("user properties") << QByteArray("https://example.test/v2.10/")
                                         << QStringLiteral("/user_properties") << true;
        QTest::newRow("blank in host")
            << QByteArray("https://exa mple.test/v2.10/") << QStringLiteral("/activities") << false;
        QTest::newRow("no scheme")
            << QByteArray("v2.10/") << QStringLiteral("/activities") << false;
    }
    void addressJoinsBaseIdAndSuffix()
    {
        QFETCH(QByteArray, base);
        QFETCH(QString, suffix);
        QFETCH(bool, valid);
        qputenv("PEXI_ANALYTICS_BASE", base);
        const std::optional<QUrl> url = AnalyticsLogger::address(suffix);
        QCOMPARE(url.has_value(), valid);
        if (!valid)
            return;
        const QString text = url->toString();
        QVERIFY2(text.startsWith(QString::fromLatin1(base)), qPrintable(text));
        const QString id = text.mid(base.size()).chopped(suffix.size());
        QVERIFY2(QRegularExpression(QStringLiteral("^[0-9]{16}$")).match(id).hasMatch(),
                 qPrintable(id));
        QVERIFY(text.endsWith(suffix));
    }

    // Over the wire

    void eventsArePosted_data()
    {
        QTest::addColumn<bool>("hasAccount");
        QTest::addColumn<QString>("userId");
        QTest::newRow("with account") << true << accountIdText;
        QTest::newRow("without account") << false << QString();
    }
    void eventsArePosted()
    {
        QFETCH(bool, hasAccount);
        QFETCH(QString, userId);
        AnalyticsLogger logger([hasAccount]() -> std::optional<QUuid> {
            return hasAccount ? std::optional(accountId) : std::nullopt;
        });

        const qint64 before = QDateTime::currentSecsSinceEpoch();
        logger.logEvent(QStringLiteral("Mac_PasswordCaptured"));
        const qint64 after = QDateTime::currentSecsSinceEpoch();

        const std::optional<HttpRequest> request =
            waitForEvent(QStringLiteral("Mac_PasswordCaptured"));
        QVERIFY(request);
        QCOMPARE(request->method, QByteArray("POST"));
        QVERIFY2(QRegularExpression(QStringLiteral("^/graph/v2\\.10/[0-9]{16}/activities$"))
                     .match(QString::fromLatin1(request->path))
                     .hasMatch(),
                 request->path.constData());

        static const QRegularExpression logTimePattern(QStringLiteral("\"_logTime\" : (\\d+),"));
        const auto match = logTimePattern.match(QString::fromUtf8(request->body));
        QVERIFY(match.hasMatch());
        const qint64 logTime = match.captured(1).toLongLong();
        QVERIFY(logTime >= before && logTime <= after);
        QCOMPARE(QString::fromUtf8(request->body),
                 expectedEventBody(QStringLiteral("Mac_PasswordCaptured"), logTime, userId));
        QCOMPARE(m_server->requests.size(), 1);
    }

    void eventsMayBeLoggedFromAnyThread()
    {
        AnalyticsLogger logger([] { return std::optional(accountId); });
        std::unique_ptr<QThread> thread(
            QThread::create([&logger] { logger.logEvent(QStringLiteral("Mac_PasswordDeleted")); }));
        thread->start();
        QVERIFY(thread->wait(10000));
        QVERIFY(waitForEvent(QStringLiteral("Mac_PasswordDeleted")));
    }

    void userPropertiesNeedAnAccount()
    {
        QNetworkAccessManager network;
        AnalyticsLogger logger([] { return std::nullopt; }, &network);
        logger.userProperties();
        // Requests are created synchronously, so one that was made would be there now.
        QVERIFY(network.findChildren<QNetworkReply *>().isEmpty());
        logger.logEvent(QStringLiteral("Mac_PasswordAdded"));
        QVERIFY(waitForEvent(QStringLiteral("Mac_PasswordAdded")));
        QCOMPARE(m_server->requests.size(), 1);
    }

    void launchIsLoggedOnlyAfterAPlainOk_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<bool>("launchLogged");
        QTest::newRow("200") << 200 << true;
        QTest::newRow("201") << 201 << false;
        QTest::newRow("204") << 204 << false;
        QTest::newRow("404") << 404 << false;
        QTest::newRow("500") << 500 << false;
        QTest::newRow("dropped") << 0 << false;
    }
    void launchIsLoggedOnlyAfterAPlainOk()
    {
        QFETCH(int, status);
        QFETCH(bool, launchLogged);
        m_server->setStatus("/user_properties", status);
        QNetworkAccessManager network;
        QSignalSpy finished(&network, &QNetworkAccessManager::finished);
        AnalyticsLogger logger([] { return std::optional(accountId); }, &network);

        logger.userProperties();
        QVERIFY(finished.wait(10000));

        // Qt's network layer sends a request once more when the connection drops before an
        // answer; whatever arrived is the user-properties request.
        QVERIFY(!m_server->requests.isEmpty());
        for (const HttpRequest &request : std::as_const(m_server->requests)) {
            QCOMPARE(request.method, QByteArray("POST"));
            QVERIFY2(
                QRegularExpression(QStringLiteral("^/graph/v2\\.10/[0-9]{16}/user_properties$"))
                    .match(QString::fromLatin1(request.path))
                    .hasMatch(),
                request.path.constData());
            QCOMPARE(QString::fromUtf8(request.body),
                     QStringLiteral("data=[{user_unique_id:'6F1C2A9E-3B7D-4E15-A0C4-9D2E8B7F5A31', "
                                    "custom_data: {CustomerType: 'MacDesktop'}}]"));
        }
        if (status != 0)
            QCOMPARE(m_server->requests.size(), 1);

        // The answer has been handled by now; a launch event would already be on its way.
        QCOMPARE(unansweredEvents(network) == 1, launchLogged);
        if (launchLogged) {
            const std::optional<HttpRequest> launch = waitForEvent(QStringLiteral("AppLaunch_Mac"));
            QVERIFY(launch);
            QVERIFY(launch->body.contains("&attribution=" + accountIdText.toLatin1() + "&"));
        }
    }
};

QTEST_GUILESS_MAIN(TestAnalyticsLogger)
#include "tst_analyticslogger.moc"
