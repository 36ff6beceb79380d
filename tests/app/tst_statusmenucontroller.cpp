#include "app/Launch.h"
#include "app/StatusMenuController.h"
#include "app/TrayMessageNotificationCenter.h"
#include "capture/WindowPresenter.h"
#include "support/TemporaryPreferences.h"
#include "support/TemporaryVault.h"
#include "ui/Appearance.h"

#include <QApplication>
#include <QCursor>
#include <QScreen>
#include <QTest>

#include <list>

using namespace pexi;
using ActivationType = UserNotificationCenter::ActivationType;
using NotificationId = UserNotificationCenter::NotificationId;

namespace {

// The window as the status item sees it: where it was asked to open.
class RecordingWindow : public WindowPresenter
{
public:
    void showAt(QPointF point) override { shownAt.append(point); }
    void showAt(QPointF point, const InventoryItem &) override { shownAt.append(point); }
    QList<QPointF> shownAt;
};

// The status item on a vault and settings of its own, the vault open before it starts or not.
struct StatusItem
{
    explicit StatusItem(bool unlocked = false) : unlocked(unlocked && vault.unlock()) {}

    TemporaryVault vault;
    const bool unlocked;
    TemporaryPreferences temporary;
    const std::unique_ptr<Preferences> preferences = temporary.preferences();
    RecordingWindow window;
    StatusMenuController controller{
        {window, vault.locker, vault.center, *preferences, Appearance::instance()}};
};

} // namespace

class TestStatusMenuController : public QObject
{
    Q_OBJECT

private slots:
    // Starting locked or not, light or dark, then each step ("unlock", "lock", "dark", "light",
    // "hide", "show") followed by the icon it leaves, checked before the event loop turns.
    void iconFollows_data()
    {
        QTest::addColumn<bool>("unlocked");
        QTest::addColumn<bool>("dark");
        QTest::addColumn<QString>("steps");
        QTest::newRow("locked, light") << false << false
                                       << "iconMenuBarLockedLight unlock iconMenuBarUnlockedLight "
                                          "dark iconMenuBarUnlockedDark "
                                          "lock iconMenuBarLockedDark light iconMenuBarLockedLight";
        QTest::newRow("unlocked, dark")
            << true << true
            << "iconMenuBarUnlockedDark light iconMenuBarUnlockedLight lock iconMenuBarLockedLight "
               "dark iconMenuBarLockedDark unlock iconMenuBarUnlockedDark";
        QTest::newRow("hidden and shown at once")
            << false << false
            << "iconMenuBarLockedLight hide hidden unlock hidden show iconMenuBarUnlockedLight";
    }
    void iconFollows()
    {
        QFETCH(bool, unlocked);
        QFETCH(bool, dark);
        QFETCH(QString, steps);
        Appearance::instance().setDark(dark);
        StatusItem item(unlocked);
        QCOMPARE(item.unlocked, unlocked);
        const QStringList words = steps.split(' ');
        const auto shown = [&] {
            const QSystemTrayIcon &icon = item.controller.statusItem();
            return !icon.isVisible()      ? "hidden"
                   : icon.icon().isNull() ? "no icon"
                                          : item.controller.statusIconName();
        };
        QCOMPARE(shown(), words.first());
        for (int i = 1; i < words.size(); i += 2) {
            if (words[i] == "unlock")
                QVERIFY(item.vault.unlock());
            else if (words[i] == "lock")
                item.vault.locker.lock();
            else if (words[i] == "hide" || words[i] == "show")
                item.preferences->setShowStatusBarIcon(words[i] == "show");
            else
                Appearance::instance().setDark(words[i] == "dark");
            QCOMPARE(shown(), words[i + 1]);
        }
    }

    // Under the item when the tray says where it is; else the mouse's x on the screen's top.
    void anchor_data()
    {
        QTest::addColumn<QRect>("item");
        QTest::addColumn<bool>("screen");
        QTest::addColumn<QPointF>("anchor");
        QTest::newRow("item in a top panel") << QRect(1800, 0, 24, 24) << true << QPointF(1812, 24);
        QTest::newRow("item in a bottom panel")
            << QRect(100, 1056, 24, 24) << true << QPointF(112, 1080);
        QTest::newRow("no geometry") << QRect() << true << QPointF(700, 40);
        QTest::newRow("no geometry, no screen") << QRect() << false << QPointF(700, 300);
    }
    void anchor()
    {
        QFETCH(QRect, item);
        QFETCH(bool, screen);
        QFETCH(QPointF, anchor);
        const auto primary = screen ? std::optional(QRect(0, 40, 1920, 1040)) : std::nullopt;
        QCOMPARE(StatusMenuController::anchor(item, primary, QPointF(700, 300)), anchor);
    }

    // "Open Pexi" and a click on the icon open the window at the anchor; "Preferences…" opens
    // the preferences window.
    void menu_data()
    {
        QTest::addColumn<QString>("entry");
        QTest::addColumn<int>("windows");
        QTest::newRow("Open Pexi") << "Open Pexi" << 1;
        QTest::newRow("click on the icon") << "" << 1;
        QTest::newRow("Preferences…") << "Preferences…" << 0;
    }
    void menu()
    {
        QFETCH(QString, entry);
        QFETCH(int, windows);
        StatusItem item;
        QCursor::setPos(321, 123);
        if (entry.isEmpty())
            emit item.controller.statusItem().activated(QSystemTrayIcon::Trigger);
        for (QAction *action : item.controller.statusMenu().actions())
            if (action->text() == entry)
                action->trigger();
        const QPointF expected(321, QGuiApplication::primaryScreen()->geometry().top());
        QCOMPARE(item.window.shownAt, QList<QPointF>(windows, expected));
        QCOMPARE(item.preferences->windowController() != nullptr, windows == 0);
        delete item.preferences->windowController();
    }

    // Only the exact first argument opens the window at launch.
    void launchCommand_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<bool>("shows");
        QTest::newRow("open_window") << QStringList{"pexi-worker", "open_window"} << true;
        QTest::newRow("longer word") << QStringList{"pexi-worker", "open_window2"} << false;
        QTest::newRow("other case") << QStringList{"pexi-worker", "OPEN_WINDOW"} << false;
        QTest::newRow("second") << QStringList{"pexi-worker", "-x", "open_window"} << false;
    }
    void launchCommand()
    {
        QFETCH(QStringList, arguments);
        QFETCH(bool, shows);
        QCOMPARE(Launch::showsWindow(arguments), shows);
    }

    void launchPosition()
    {
        QCOMPARE(Launch::position(QRect(1920, 200, 1280, 800), QPointF(33, 44)),
                 QPointF(2560, 300));
        QCOMPARE(Launch::position(std::nullopt, QPointF(33, 44)), QPointF(33, 44));
    }

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

QTEST_MAIN(TestStatusMenuController)
#include "tst_statusmenucontroller.moc"
