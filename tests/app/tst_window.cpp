#include "support/DesktopDoubles.h"
#include "support/RecordingLauncher.h"
#include "support/TemporaryPreferences.h"
#include "support/TemporaryVault.h"

#include "app/InventoryWrapperViewController.h"
#include "app/WelcomeViewController.h"
#include "app/Window.h"
#include "capture/screen/SavePasswordViewController.h"
#include "core/InventoryItem.h"
#include "platform/LinuxApplicationLauncher.h"
#include "recall/GridPageController.h"
#include "recall/RecallCollectionViewController.h"

#include <QApplication>
#include <QFile>
#include <QLayout>
#include <QTest>

using pexi::FloatingWindowController;

namespace {

// A window opened as a person would have it, on a real vault and settings of its own.
struct Opened
{
    explicit Opened(bool showWelcome) { preferences->setShowWelcomeScreen(showWelcome); }
    // Windows closed earlier go now, while the vault their screens watch is still there.
    ~Opened() { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }

    pexi::FloatingWindow *floating() { return window.windowController().window(); }
    pexi::RecallViewController *recall()
    {
        return floating()->findChild<pexi::RecallViewController *>();
    }
    template <class Screen> Screen *shown() { return floating()->findChild<Screen *>(); }
    void showAt(QPointF point = {400, 40}, const pexi::InventoryItem *item = nullptr)
    {
        item ? window.showAt(point, *item) : window.showAt(point);
        QVERIFY(QTest::qWaitForWindowActive(floating()));
    }

    // The letters of the user's pictures on the grid shown, typed to whatever has the focus.
    void typeRightLetters()
    {
        const int page = recall()->selectedIndex();
        const QStringList names = grids.grids().at(page).pictureNames();
        for (const QString &mine : TemporaryVault::chosen().at(page)) {
            const QString letter =
                pexi::RecallCollectionViewController::letters.at(names.indexOf(mine));
            QTest::keyClick(QApplication::focusWidget(), letter.at(0).toLower().toLatin1());
        }
    }

    TemporaryVault v;
    pexi::GridLibrary grids{v.vault};
    RecordingLauncher launcher;
    pexi::BrowserController browser{launcher};
    pexi::LinuxApplicationLauncher applications;
    TemporaryPreferences store;
    std::unique_ptr<pexi::Preferences> preferences = store.preferences();
    pexi::SyncService sync{v.vault, v.locker};
    NullEventLogger analytics;
    pexi::SettingsPopupMenu settingsMenu{{v.locker, browser, launcher, applications, *preferences}};
    pexi::Window window{{{grids, v.vault, v.locker, browser, launcher},
                         {v.locker, sync, analytics, settingsMenu, browser},
                         *preferences,
                         v.center}};
};

} // namespace

class TestWindow : public QObject
{
    Q_OBJECT

    // The floating window made ahead for the next click.
    static pexi::FloatingWindow *spare()
    {
        for (QWidget *window : QApplication::topLevelWidgets()) {
            auto *floating = qobject_cast<pexi::FloatingWindow *>(window);
            if (floating && !floating->isVisible())
                return floating;
        }
        return nullptr;
    }

private Q_SLOTS:
    void initTestCase() { qputenv("PEXI_NO_KEYRING", "1"); }

    void placement_data()
    {
        QTest::addColumn<QRect>("screen");
        QTest::addColumn<QPointF>("anchor");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QPoint>("topLeft");
        const QRect screen(0, 0, 1920, 1080);
        const QSize window(340, 440);
        QTest::newRow("5 from the left edge")
            << screen << QPointF(5, 30) << window << QPoint(10, 30);
        QTest::newRow("5 from the right edge: its right edge 10 from the screen's")
            << screen << QPointF(1915, 30) << window << QPoint(1570, 30);
        QTest::newRow("taller than the room below: its bottom 10 above the screen's")
            << screen << QPointF(960, 900) << window << QPoint(790, 630);
        QTest::newRow("taller than the screen: the top wins")
            << QRect(0, 0, 1920, 400) << QPointF(960, 30) << window << QPoint(790, 10);
        QTest::newRow("centred, on a second screen under a panel")
            << QRect(1920, 32, 1280, 1024) << QPointF(2500, 32) << window << QPoint(2330, 42);
    }
    void placement()
    {
        QFETCH(QRect, screen);
        QFETCH(QPointF, anchor);
        QFETCH(QSize, size);
        QFETCH(QPoint, topLeft);
        QCOMPARE(FloatingWindowController::frameFor(screen, anchor, size), QRect(topLeft, size));
    }

    void whatShows_data()
    {
        QTest::addColumn<bool>("showWelcome");
        QTest::addColumn<bool>("unlocked");
        QTest::addColumn<bool>("withItem");
        QTest::addColumn<bool>("welcome");
        QTest::addColumn<bool>("list");
        QTest::newRow("first showing") << true << false << false << true << false;
        QTest::newRow("first showing, vault open: unlock first")
            << true << true << false << true << false;
        QTest::newRow("with an item: never the welcome") << true << false << true << false << false;
        QTest::newRow("with an item, vault open") << true << true << true << false << true;
        QTest::newRow("welcome read, locked") << false << false << false << false << false;
        QTest::newRow("welcome read, vault open") << false << true << false << false << true;
    }
    void whatShows()
    {
        QFETCH(bool, showWelcome);
        QFETCH(bool, unlocked);
        QFETCH(bool, withItem);
        Opened o(showWelcome);
        if (unlocked)
            QVERIFY(o.v.unlock());
        const pexi::InventoryItem item(QStringLiteral("Mail"), QStringLiteral("secret"));
        o.showAt({400, 40}, withItem ? &item : nullptr);
        QFETCH(bool, welcome);
        QFETCH(bool, list);
        QCOMPARE(o.shown<pexi::WelcomeViewController>() != nullptr, welcome);
        QCOMPARE(o.shown<pexi::InventoryWrapperViewController>() != nullptr, list);
        // The list offers the item for saving.
        QCOMPARE(o.shown<pexi::SavePasswordViewController>() != nullptr, list && withItem);
        // Only reading the welcome puts it away for good.
        QCOMPARE(o.preferences->showWelcomeScreen(), showWelcome);
    }

    // Return or Space puts the welcome away for good; the letters then pick the pictures, and
    // the list slides in after the last grid and away on a lock.
    void unlockFromTheKeyboard_data()
    {
        QTest::addColumn<int>("key");
        QTest::newRow("Return") << int(Qt::Key_Return);
        QTest::newRow("Space") << int(Qt::Key_Space);
    }
    void unlockFromTheKeyboard()
    {
        QFETCH(int, key);
        Opened o(true);
        o.showAt();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key(key));
        QVERIFY(!o.preferences->showWelcomeScreen());
        o.typeRightLetters();
        QCOMPARE(o.recall()->page(0)->selection().size(), 3);
        QTRY_VERIFY(!o.shown<pexi::WelcomeViewController>());
        o.showAt();
        QVERIFY(!o.shown<pexi::WelcomeViewController>());
        for (int grid = o.recall()->selectedIndex(); grid < pexi::GridPageController::numberOfPages;
             ++grid)
            o.typeRightLetters();
        QTRY_VERIFY(o.shown<pexi::InventoryWrapperViewController>());
        QCOMPARE(o.v.locker.lockState(), pexi::LockState::unlocked);
        o.v.locker.lock();
        QTRY_VERIFY(!o.shown<pexi::InventoryWrapperViewController>());
        QVERIFY(o.floating()->isVisible());
    }

    // The window made ahead is shown only while it shows what a window made now would.
    void spareOnlyWhileCurrent_data()
    {
        QTest::addColumn<QString>("change");
        QTest::newRow("nothing changed: the spare") << "";
        QTest::newRow("vault re-created with other grids") << "re-created";
        QTest::newRow("vault gone: its making instead") << "removed";
    }
    void spareOnlyWhileCurrent()
    {
        Opened o(false);
        o.showAt();
        const QPointer<QWidget> first = o.floating();
        first->close();
        QPointer<pexi::FloatingWindow> made;
        QTRY_VERIFY(!first && (made = spare())); // once the window has gone
        QFETCH(QString, change);
        // It was laid out when it was made, every layout in it: none is redone as it shows.
        QList<QWidget *> laidOut = made->findChildren<QWidget *>();
        laidOut << made;
        for (QWidget *widget : std::as_const(laidOut))
            QVERIFY(!widget->layout() || !widget->layout()->activate());
        if (!change.isEmpty()) {
            for (const char *suffix : {"", "-wal", "-shm"})
                QFile::remove(o.v.vault.filePath() + suffix);
            o.v.vault.reloadHeader();
        }
        if (change == u"re-created")
            o.v.vault.create(TemporaryVault::chosen());
        o.showAt();
        QCOMPARE(o.floating() == made, change.isEmpty());
        QCOMPARE(made.isNull(), !change.isEmpty()); // a stale one is thrown away
        const QList<pexi::ImageGrid> grids = o.grids.grids();
        QCOMPARE(grids.isEmpty(), change == u"removed");
        for (int page = 0; page < grids.size(); ++page)
            QCOMPARE(o.recall()->page(page)->imageGrid(), grids.at(page));
        // The unlock's grid, or the first vault's, takes the letters.
        QVERIFY(qobject_cast<pexi::RecallCollectionViewController *>(QApplication::focusWidget()));
    }

    // The window is rounded: outside each corner's arc nothing, along each edge the outline,
    // and the screen within.
    void corners_data()
    {
        QTest::addColumn<QPoint>("at");
        QTest::addColumn<QRgb>("seen");
        const QRgb nothing = 0, screen = QColor(Qt::red).rgba();
        const QRgb outline = QApplication::palette().color(QPalette::Mid).rgba();
        for (const QPoint corner :
             {QPoint(0, 0), QPoint(199, 0), QPoint(0, 119), QPoint(199, 119)}) {
            const QPoint inward(corner.x() ? -1 : 1, corner.y() ? -1 : 1);
            QTest::addRow("%d,%d off the arc", corner.x(), corner.y())
                << corner + inward * 2 << nothing;
            QTest::addRow("%d,%d within it", corner.x(), corner.y())
                << corner + inward * 10 << screen;
        }
        for (const QPoint edge : {QPoint(100, 0), QPoint(11, 119), QPoint(0, 11), QPoint(199, 60)})
            QTest::addRow("edge %d,%d", edge.x(), edge.y()) << edge << outline;
    }
    void corners()
    {
        auto *screen = new QWidget;
        screen->setStyleSheet(QStringLiteral("background: red"));
        screen->setAutoFillBackground(true);
        screen->resize(200, 120);
        pexi::FloatingWindow window(screen);
        QFETCH(QPoint, at);
        QFETCH(QRgb, seen);
        QCOMPARE(window.grab().toImage().pixel(at), seen);
    }

    void hiding_data()
    {
        QTest::addColumn<QString>("event");
        QTest::addColumn<bool>("stays");
        QTest::newRow("another window of ours takes the focus") << "own window" << true;
        QTest::newRow("another application becomes active") << "inactive" << false;
        QTest::newRow("shown again: the new window replaces it") << "shown again" << false;
    }
    void hiding()
    {
        QFETCH(QString, event);
        Opened o(false);
        o.showAt();
        const QPointer<QWidget> first = o.floating();
        QTest::keyClick(QApplication::focusWidget(), 'a'); // a pick no later window shows
        QCOMPARE(o.recall()->page(0)->selection().size(), 1);
        QWidget other;
        if (event == u"own window") {
            other.show();
            other.activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(&other));
        } else if (event == u"inactive") {
            emit qApp->applicationStateChanged(Qt::ApplicationInactive);
        } else {
            o.showAt();
        }
        QFETCH(bool, stays);
        QTRY_COMPARE(first && first->isVisible(), stays);
        if (stays)
            return;
        // Once a window has gone the next is made ahead, and shown with new screens.
        QPointer<pexi::FloatingWindow> next;
        QTRY_VERIFY(!first && (next = spare()));
        if (event == u"shown again")
            o.floating()->close();
        o.showAt();
        QCOMPARE(o.floating(), next.data());
        QVERIFY(o.recall()->page(0)->selection().isEmpty());
    }
};

QTEST_MAIN(TestWindow)
#include "tst_window.moc"
