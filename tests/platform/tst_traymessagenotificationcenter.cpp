#include "platform/TrayMessageNotificationCenter.h"

#include <QSystemTrayIcon>
#include <QTest>

using namespace pexi;
using ActivationType = UserNotificationCenter::ActivationType;
using NotificationId = UserNotificationCenter::NotificationId;

class TestTrayMessageNotificationCenter : public QObject
{
    Q_OBJECT

private:
    struct Activation
    {
        NotificationId id;
        QVariantMap userInfo;
        ActivationType type;
    };

    static UserNotification notification(int n)
    {
        return {QStringLiteral("Save Password?"),
                QStringLiteral("Example"),
                QStringLiteral("ann@example.com"),
                QStringLiteral("Save"),
                QStringLiteral("Skip"),
                {{QStringLiteral("n"), n}}};
    }

private slots:
    // Each step: "d" delivers the next notification, "c" clicks the balloon, "rN" removes the
    // N-th delivered one (1-based). `activated` lists which notifications a click reached.
    void clicksReachTheNewestBalloon_data()
    {
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<QList<int>>("activated");
        QTest::newRow("one click") << QStringList{"d", "c"} << QList<int>{1};
        QTest::newRow("only the newest") << QStringList{"d", "d", "c"} << QList<int>{2};
        QTest::newRow("clicked once") << QStringList{"d", "c", "c"} << QList<int>{1};
        QTest::newRow("removed") << QStringList{"d", "r1", "c"} << QList<int>{};
        QTest::newRow("older removed") << QStringList{"d", "d", "r1", "c"} << QList<int>{2};
        QTest::newRow("nothing shown") << QStringList{"c"} << QList<int>{};
        QTest::newRow("each its own") << QStringList{"d", "c", "d", "c"} << QList<int>{1, 2};
    }
    void clicksReachTheNewestBalloon()
    {
        QFETCH(QStringList, steps);
        QFETCH(QList<int>, activated);
        QSystemTrayIcon icon;
        TrayMessageNotificationCenter center(&icon);
        QList<Activation> activations;
        center.setActivationHandler(
            [&](NotificationId id, const QVariantMap &userInfo, ActivationType type) {
                activations.append({id, userInfo, type});
            });

        QList<NotificationId> ids;
        for (const QString &step : steps) {
            if (step == QLatin1String("d"))
                ids.append(center.deliverNotification(notification(int(ids.size()) + 1)));
            else if (step == QLatin1String("c"))
                emit icon.messageClicked();
            else
                center.removeDeliveredNotification(ids.at(step.mid(1).toInt() - 1));
        }

        QCOMPARE(activations.size(), activated.size());
        for (qsizetype i = 0; i < activated.size(); ++i) {
            const int n = activated.at(i);
            QCOMPARE(activations.at(i).id, ids.at(n - 1));
            QCOMPARE(activations.at(i).userInfo.value(QStringLiteral("n")).toInt(), n);
            QCOMPARE(activations.at(i).type, ActivationType::contentClicked);
        }
        // Ids are never reused, so a late click cannot be mistaken for another notification.
        QCOMPARE(QSet<NotificationId>(ids.cbegin(), ids.cend()).size(), ids.size());
        QVERIFY(!ids.contains(NotificationId(0)));
    }

    void theIconCanArriveLater()
    {
        TrayMessageNotificationCenter center;
        int activations = 0;
        center.setActivationHandler(
            [&](NotificationId, const QVariantMap &, ActivationType) { ++activations; });
        QVERIFY(center.deliverNotification(notification(1)) != 0);

        QSystemTrayIcon icon;
        center.setTrayIcon(&icon);
        // Shown before there was an icon: nothing on screen to click.
        emit icon.messageClicked();
        QCOMPARE(activations, 0);
        center.deliverNotification(notification(2));
        emit icon.messageClicked();
        QCOMPARE(activations, 1);

        QSystemTrayIcon replacement;
        center.setTrayIcon(&replacement);
        center.deliverNotification(notification(3));
        emit icon.messageClicked();
        QCOMPARE(activations, 1);
        emit replacement.messageClicked();
        QCOMPARE(activations, 2);
    }
};

QTEST_MAIN(TestTrayMessageNotificationCenter)
#include "tst_traymessagenotificationcenter.moc"
