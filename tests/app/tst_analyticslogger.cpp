#include "app/AnalyticsLogger.h"
#include "support/AnalyticsServer.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <algorithm>
#include <memory>

using pexi::AnalyticsLogger;

namespace {

const QUuid accountId("{6f1c2a9e-3b7d-4e15-a0c4-9d2e8b7f5a31}");
const QString accountIdText = "6F1C2A9E-3B7D-4E15-A0C4-9D2E8B7F5A31";

} // namespace

class TestAnalyticsLogger : public QObject
{
    Q_OBJECT

private slots:
    void bodiesAreWrittenExactly_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("expected");
        QTest::newRow("event") << AnalyticsLogger::eventBody("Mac_PasswordAdded", 1500000000, "U")
                               << "event=CUSTOM_APP_EVENTS&custom_events=[{\"_eventName\":"
                                  "\"Mac_PasswordAdded\", \"_logTime\" : 1500000000, "
                                  "\"_appVersion\" : \"1.0.17b\"}]&attribution=U&app_user_id=U"
                                  "&advertiser_tracking_enabled=1&application_tracking_enabled=1";
        QTest::newRow("no user, name not escaped")
            << AnalyticsLogger::eventBody("A\"b&c=d é", 0, "")
            << "event=CUSTOM_APP_EVENTS&custom_events=[{\"_eventName\":\"A\"b&c=d é\", "
               "\"_logTime\" : 0, \"_appVersion\" : \"1.0.17b\"}]&attribution=&app_user_id="
               "&advertiser_tracking_enabled=1&application_tracking_enabled=1";
        QTest::newRow("user properties")
            << AnalyticsLogger::userPropertiesBody(accountIdText)
            << "data=[{user_unique_id:'6F1C2A9E-3B7D-4E15-A0C4-9D2E8B7F5A31', "
               "custom_data: {CustomerType: 'MacDesktop'}}]";
    }
    void bodiesAreWrittenExactly()
    {
        QFETCH(QString, body);
        QFETCH(QString, expected);
        QCOMPARE(body, expected);
    }

    // At launch the user's properties go out, and an event is logged from another thread;
    // `requests` reached the server.
    void overTheWire_data()
    {
        QTest::addColumn<bool>("account");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("requests");
        QTest::newRow("200") << true << 200
                             << "AppLaunch_Mac, Mac_PasswordCaptured, user properties";
        QTest::newRow("201") << true << 201 << "Mac_PasswordCaptured, user properties";
        QTest::newRow("dropped") << true << 0 << "Mac_PasswordCaptured, user properties";
        QTest::newRow("no account") << false << 200 << "Mac_PasswordCaptured";
    }
    void overTheWire()
    {
        QFETCH(bool, account);
        QFETCH(int, status);
        QFETCH(QString, requests);
        AnalyticsServer server;
        server.status = status;
        server.userId = account ? accountIdText : QString();
        qputenv("PEXI_ANALYTICS_BASE",
                QStringLiteral("http://127.0.0.1:%1/graph/v2.10/").arg(server.port()).toLatin1());
        QNetworkAccessManager network;
        QSignalSpy finished(&network, &QNetworkAccessManager::finished);
        AnalyticsLogger logger([=] { return account ? std::optional(accountId) : std::nullopt; },
                               &network);
        // Once the answer is handled, a launch event is on its way or never will be.
        const auto pending = [&] {
            const auto replies = network.findChildren<QNetworkReply *>();
            return std::count_if(replies.begin(), replies.end(),
                                 [](QNetworkReply *reply) { return !reply->isFinished(); });
        };
        logger.userProperties();
        if (account) {
            QVERIFY(finished.wait(10000));
            QCOMPARE(pending(), qsizetype(requests.contains("AppLaunch_Mac")));
        }

        std::unique_ptr<QThread> thread(
            QThread::create([&] { logger.logEvent("Mac_PasswordCaptured"); }));
        thread->start();
        QVERIFY(thread->wait(10000));
        QTRY_COMPARE(server.requests.join(", "), requests);
        qunsetenv("PEXI_ANALYTICS_BASE");
    }
};

QTEST_GUILESS_MAIN(TestAnalyticsLogger)
#include "tst_analyticslogger.moc"
