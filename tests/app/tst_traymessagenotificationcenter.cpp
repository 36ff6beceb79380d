#include "app/TrayMessageNotificationCenter.h"

#include <QSystemTrayIcon>
#include <QTest>

#include <list>

using namespace pexi;
using ActivationType = UserNotificationCenter::ActivationType;
using NotificationId = UserNotificationCenter::NotificationId;

class TestTrayMessageNotificationCenter : public QObject
{
    Q_OBJECT

private slots:
    // Steps: "icon" gives the centre a new status icon, "d" delivers the next notification, "c"
    // clicks the newest icon's balloon, "old" the first's, "rN" removes the N-th notification.
    void clicksReachTheNewestBalloon_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QList<int>>("activated");
        QTest::newRow("only the newest") << "icon d d c" << QList<int>{2};
        QTest::newRow("clicked once") << "icon d c c" << QList<int>{1};
        QTest::newRow("removed") << "icon d r1 c" << QList<int>{};
        QTest::newRow("older removed") << "icon d d r1 c" << QList<int>{2};
        QTest::newRow("each its own") << "icon d c d c" << QList<int>{1, 2};
        QTest::newRow("shown before the icon came") << "d icon c d c" << QList<int>{2};
        QTest::newRow("replaced icon") << "icon d icon old d c" << QList<int>{2};
    }
    void clicksReachTheNewestBalloon()
    {
        QFETCH(QString, steps);
        QFETCH(QList<int>, activated);
        TrayMessageNotificationCenter center;
        std::list<QSystemTrayIcon> icons;
        QList<NotificationId> ids;
        QList<int> activations;
        center.setActivationHandler(
            [&](NotificationId id, const QVariantMap &info, ActivationType type) {
                const int n = info.value("n").toInt();
                QCOMPARE(type, ActivationType::contentClicked);
                QCOMPARE(id, ids.value(n - 1));
                activations << n;
            });
        for (const QString &step : steps.split(u' ')) {
            if (step == "icon")
                center.setTrayIcon(&icons.emplace_back());
            else if (step == "d")
                ids << center.deliverNotification({"T", {}, {}, {}, {}, {{"n", ids.size() + 1}}});
            else if (step == "c" || step == "old")
                emit(step == "c" ? icons.back() : icons.front()).messageClicked();
            else
                center.removeDeliveredNotification(ids.at(step.mid(1).toInt() - 1));
        }
        QCOMPARE(activations, activated);
        QCOMPARE(QSet<NotificationId>(ids.cbegin(), ids.cend()).size(), ids.size());
        QVERIFY(!ids.contains(NotificationId(0)));
    }
};

QTEST_MAIN(TestTrayMessageNotificationCenter)
#include "tst_traymessagenotificationcenter.moc"
