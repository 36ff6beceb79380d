#include "support/ExtensionClient.h"
#include "support/RecallScreen.h"
#include "support/StandardOutputCapture.h"

#include "extension/ExtensionServer.h"
#include "recall/GridPageController.h"
#include "recall/IncorrectImagesViewController.h"
#include "recall/PageControl.h"
#include "recall/RecallCollectionViewController.h"

#include <QAccessible>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QToolButton>

#include <sqlite3.h>

using pexi::RecallViewController;

namespace {

struct Screen : RecallScreen
{
    Screen() : RecallScreen(true) {}

    // "0" to "2" type the letter of the user's n-th picture on the page shown, "w" a picture not
    // theirs, "r" Return on the failure screen once it has the focus, "_" and "^" click the
    // first and the last page's dot; other keys as they are.
    void type(const QString &keys)
    {
        for (const QChar key : keys) {
            if (key == u'r') {
                (void)QTest::qWaitFor([&] {
                    return failure() && QApplication::focusWidget() == failure()->actionButton();
                });
                QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
                (void)QTest::qWaitFor([&] { return !failure(); });
            } else if (key == u'_' || key == u'^') {
                pexi::PageControl *dots = screen.findChild<pexi::PageControl *>();
                QTest::mouseClick(dots, Qt::LeftButton, {},
                                  dots->buttonRect(key == u'_' ? 0 : 2).center());
            } else {
                press(key.isDigit() || key == u'w' ? letterFor(key) : key);
            }
        }
    }
    QChar letterFor(QChar key) const
    {
        const int page = screen.selectedIndex();
        const QStringList names = grids.grids().at(page).pictureNames();
        const QStringList mine = TemporaryVault::chosen().at(page);
        qsizetype index = 0;
        if (key == u'w') {
            while (mine.contains(names.at(index)))
                ++index;
        } else {
            index = names.indexOf(mine.at(key.digitValue()));
        }
        return pexi::RecallCollectionViewController::letters.at(index).at(0).toLower();
    }
    QString label(const char *name) const { return screen.findChild<QLabel *>(name)->text(); }
    pexi::IncorrectImagesViewController *failure() const
    {
        return screen.findChild<pexi::IncorrectImagesViewController *>();
    }
    int picks() const
    {
        int count = 0;
        for (int page = 0; page < pexi::GridPageController::numberOfPages; ++page)
            count += int(screen.page(page)->selection().size());
        return count;
    }
};

} // namespace

class TestRecallViewController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("PEXI_NO_KEYRING", "1"); }

    void flow_data()
    {
        QTest::addColumn<QString>("keys");
        QTest::addColumn<int>("page");
        QTest::addColumn<QString>("numerator");
        QTest::addColumn<int>("picks"); // left on the grids once any attempt is over
        QTest::addColumn<int>("unlocks");
        QTest::addColumn<bool>("failure");
        QTest::newRow("nothing yet") << "" << 0 << "0" << 0 << 0 << false;
        QTest::newRow("left arrow on page 1") << "<" << 0 << "0" << 0 << 0 << false;
        QTest::newRow("right arrow on page 3") << ">>>" << 2 << "0" << 0 << 0 << false;
        QTest::newRow("the last dot, then the first") << "^" << 2 << "0" << 0 << 0 << false;
        QTest::newRow("dots and arrows") << "^_>" << 1 << "0" << 0 << 0 << false;
        QTest::newRow("the count is the shown grid's") << "01>0<" << 0 << "2" << 3 << 0 << false;
        QTest::newRow("a complete grid moves on") << "012" << 1 << "0" << 3 << 0 << false;
        QTest::newRow("page 2 then page 1 moves to page 3, nothing derived")
            << ">210012" << 2 << "0" << 6 << 0 << false;
        QTest::newRow("right pictures in any order unlock once")
            << "210012120" << 0 << "0" << 0 << 1 << false;
        QTest::newRow("one wrong picture") << "01201201w" << 0 << "0" << 0 << 0 << true;
        QTest::newRow("Return on the failure, then grid 1 again")
            << "01201201wr012012012" << 0 << "0" << 0 << 1 << false;
    }

    void flow()
    {
        QFETCH(QString, keys);
        QFETCH(int, page);
        QFETCH(QString, numerator);
        QFETCH(int, picks);
        QFETCH(int, unlocks);
        QFETCH(bool, failure);
        Screen s;
        s.type(keys);
        QTRY_VERIFY(!s.screen.isUnlocking());
        QTRY_COMPARE(s.failure() != nullptr, failure);
        QCOMPARE(s.screen.selectedIndex(), page);
        QCOMPARE(s.label("selectedNumerator") + "/" + s.label("selectedDenominator"),
                 numerator + "/3");
        QCOMPARE(s.picks(), picks);
        QCOMPARE(s.unlocks, unlocks);
        QCOMPARE(s.v.locker.lockState() == pexi::LockState::unlocked, unlocks > 0);
        QCOMPARE(s.screen.findChild<QToolButton *>("leftButton")->isEnabled(), page != 0);
        QCOMPARE(s.screen.findChild<QToolButton *>("rightButton")->isEnabled(), page != 2);
        // The dot of the page shown is the one checked, for a screen reader too.
        QAccessibleInterface *dots =
            QAccessible::queryAccessibleInterface(s.screen.findChild<pexi::PageControl *>());
        for (int dot = 0; dot < dots->childCount(); ++dot)
            QCOMPARE(dots->child(dot)->state().checked, dot == page);
    }

    // The key is derived on a worker: this thread's loop turns meanwhile, picks are ignored, and
    // the unlock reaches the extensions through the locker's notification.
    void unlockKeepsTheLoopTurning()
    {
        Screen s;
        pexi::ExtensionServer server(0, s.v.locker, s.browser, s.v.center);
        QVERIFY(server.start());
        ExtensionClient extension(server.port());
        QVERIFY(extension.waitConnected());

        QTimer ticker;
        connect(&ticker, &QTimer::timeout, [&] { ++s.ticks; });
        ticker.start(0);
        s.type("01201201");
        s.ticks = 0;
        s.type("2");
        QVERIFY(s.screen.isUnlocking());
        s.type("0");
        QCOMPARE(s.picks(), 0);
        QTRY_COMPARE(s.unlocks, 1);
        QVERIFY2(s.ticksAtUnlock > 0, "the unlock held up the event loop");
        QTRY_COMPARE(
            extension.texts,
            QStringList{"{\"command\":\"pexi_lock_state\",\"locked\":false,\"session\":null}"});
    }

    // A vault that cannot be read is no wrong picture: its sentence is what the user sees.
    void unreadableVaultIsExplained()
    {
        Screen s;
        sqlite3 *db = nullptr;
        QCOMPARE(sqlite3_open(qPrintable(s.v.vault.filePath()), &db), SQLITE_OK);
        QCOMPARE(sqlite3_exec(db,
                              "UPDATE meta SET value = (CASE WHEN substr(value, 1, 1) = '1' THEN "
                              "'2' ELSE '1' END) || substr(value, 2) WHERE key = 'kdf_salt'",
                              nullptr, nullptr, nullptr),
                 SQLITE_OK);
        sqlite3_close(db);
        s.v.vault.reloadHeader();
        s.type("012012012");
        QTRY_VERIFY(s.failure());
        QVERIFY(s.failure()->findChild<QLabel *>("messageLabel")->text().contains("damaged"));
    }

    void helpAndFeedbackOpenPages()
    {
        Screen s;
        QTest::mouseClick(s.screen.findChild<QToolButton *>("helpButton"), Qt::LeftButton);
        s.screen.presentFailure({});
        QTest::mouseClick(s.failure()->findChild<QPushButton *>("feedbackButton"), Qt::LeftButton);
        QCOMPARE(
            s.launcher.opened,
            (QStringList{" https://pexi.com/help", // no browser heard from: the system's choice
                         "mailto:feedback@pexi.com?subject=Feedback&body="}));
    }

    void wrongNumberOfGridsIsLogged()
    {
        StandardOutputCapture log;
        TemporaryVault none(false);
        // A file that is no vault: without any file the screen offers to make one instead.
        QVERIFY(QDir().mkpath(none.vault.dataDirectory()));
        QFile file(none.vault.filePath());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        pexi::GridLibrary grids(none.vault);
        RecordingLauncher launcher;
        pexi::BrowserController browser(launcher);
        RecallViewController screen({grids, none.vault, none.locker, browser, launcher});
        QCOMPARE(log.takeLines(), QStringList{"Wrong number of grids! Found 0"});
        QVERIFY(screen.page(0)->imageGrid() == std::nullopt);
    }
};

QTEST_MAIN(TestRecallViewController)
#include "tst_recallviewcontroller.moc"
