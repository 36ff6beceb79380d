#include "app/Launch.h"
#include "app/StatusMenuController.h"
#include "capture/WindowPresenter.h"
#include "support/TemporaryPreferences.h"
#include "support/TemporaryVault.h"
#include "ui/Appearance.h"

#include <QApplication>
#include <QCursor>
#include <QScreen>
#include <QTest>

using namespace pexi;

// The window as the status item sees it: where it was asked to open.
class RecordingWindow : public WindowPresenter
{
public:
    void showAt(QPointF point) override { shownAt.append(point); }
    void showAt(QPointF point, const InventoryItem &) override { shownAt.append(point); }
    QList<QPointF> shownAt;
};

class TestStatusMenuController : public QObject
{
    Q_OBJECT

    TemporaryPreferences m_temporary;

private slots:
    // Starting locked or not, light or dark, then each step ("unlock", "lock", "dark", "light")
    // followed by the icon it leaves, checked before the event loop turns.
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
        QTest::newRow("locking twice") << true << false
                                       << "iconMenuBarUnlockedLight lock iconMenuBarLockedLight "
                                          "lock iconMenuBarLockedLight";
    }
    void iconFollows()
    {
        QFETCH(bool, unlocked);
        QFETCH(bool, dark);
        QFETCH(QString, steps);
        TemporaryVault vault;
        if (unlocked)
            QVERIFY(vault.unlock());
        Appearance &appearance = Appearance::instance();
        appearance.setDark(dark);
        RecordingWindow window;
        const auto preferences = m_temporary.preferences();
        StatusMenuController controller(
            {window, vault.locker, vault.center, *preferences, appearance});
        const QStringList words = steps.split(' ');
        QCOMPARE(controller.statusIconName(), words.first());
        for (int i = 1; i < words.size(); i += 2) {
            const QString &step = words[i];
            if (step == "unlock")
                QVERIFY(vault.unlock());
            else if (step == "lock")
                vault.locker.lock();
            else
                appearance.setDark(step == "dark");
            QCOMPARE(controller.statusIconName(), words[i + 1]);
            QVERIFY(!controller.statusItem().icon().isNull());
        }
    }

    // The preference hides and shows the item at once; the process starts with it shown.
    void showStatusBarIcon_data()
    {
        QTest::addColumn<QList<bool>>("settings");
        QTest::newRow("shown at start") << QList<bool>{};
        QTest::newRow("hidden") << QList<bool>{false};
        QTest::newRow("hidden, shown again") << QList<bool>{false, true};
    }
    void showStatusBarIcon()
    {
        QFETCH(QList<bool>, settings);
        TemporaryVault vault;
        RecordingWindow window;
        const auto preferences = m_temporary.preferences();
        StatusMenuController controller(
            {window, vault.locker, vault.center, *preferences, Appearance::instance()});
        for (bool show : settings)
            preferences->setShowStatusBarIcon(show);
        QCOMPARE(controller.statusItem().isVisible(), settings.value(settings.size() - 1, true));
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
        QTest::addColumn<bool>("preferences");
        QTest::newRow("Open Pexi") << "Open Pexi" << 1 << false;
        QTest::newRow("click on the icon") << "" << 1 << false;
        QTest::newRow("Preferences…") << "Preferences…" << 0 << true;
    }
    void menu()
    {
        QFETCH(QString, entry);
        QFETCH(int, windows);
        QFETCH(bool, preferences);
        TemporaryVault vault;
        RecordingWindow window;
        const auto settings = m_temporary.preferences();
        StatusMenuController controller(
            {window, vault.locker, vault.center, *settings, Appearance::instance()});
        QCursor::setPos(321, 123);
        if (entry.isEmpty()) {
            emit controller.statusItem().activated(QSystemTrayIcon::Trigger);
        } else {
            const QList<QAction *> actions = controller.statusMenu().actions();
            const auto action = std::find_if(actions.begin(), actions.end(),
                                             [&](QAction *a) { return a->text() == entry; });
            QVERIFY(action != actions.end());
            (*action)->trigger();
        }
        const QPointF expected(321, QGuiApplication::primaryScreen()->geometry().top());
        QCOMPARE(window.shownAt, QList<QPointF>(windows, expected));
        QCOMPARE(settings->windowController() != nullptr, preferences);
        delete settings->windowController();
    }

    // Only the exact first argument opens the window at launch.
    void launchCommand_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<bool>("shows");
        QTest::newRow("open_window") << QStringList{"pexi-worker", "open_window"} << true;
        QTest::newRow("longer word") << QStringList{"pexi-worker", "open_window2"} << false;
        QTest::newRow("other case") << QStringList{"pexi-worker", "OPEN_WINDOW"} << false;
        QTest::newRow("empty") << QStringList{"pexi-worker", ""} << false;
        QTest::newRow("second") << QStringList{"pexi-worker", "-x", "open_window"} << false;
    }
    void launchCommand()
    {
        QFETCH(QStringList, arguments);
        QFETCH(bool, shows);
        QCOMPARE(Launch::showsWindow(arguments), shows);
    }

    void launchPosition_data()
    {
        QTest::addColumn<bool>("screen");
        QTest::addColumn<QRect>("geometry");
        QTest::addColumn<QPointF>("position");
        QTest::newRow("screen") << true << QRect(1920, 200, 1280, 800) << QPointF(2560, 300);
        QTest::newRow("no screen: the mouse") << false << QRect() << QPointF(33, 44);
    }
    void launchPosition()
    {
        QFETCH(bool, screen);
        QFETCH(QRect, geometry);
        QFETCH(QPointF, position);
        QCOMPARE(Launch::position(screen ? std::optional(geometry) : std::nullopt, QPointF(33, 44)),
                 position);
    }
};

QTEST_MAIN(TestStatusMenuController)
#include "tst_statusmenucontroller.moc"
