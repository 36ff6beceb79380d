#include "support/DesktopDoubles.h"
#include "support/RecordingLauncher.h"
#include "support/TemporaryVault.h"

#include "app/FloatingWindow.h"
#include "app/RecallWrapperViewController.h"
#include "app/SpareWindow.h"
#include "recall/GridPageController.h"
#include "recall/RecallCollectionViewController.h"

#include <QApplication>
#include <QFile>
#include <QTest>

class TestSpareWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("PEXI_NO_KEYRING", "1"); }

    // A spare is handed out only while it shows what a window made now would.
    void givenOnlyWhileCurrent_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<bool>("spareGiven");
        QTest::newRow("nothing changed") << "" << true;
        QTest::newRow("vault re-created with other grids") << "re-created" << false;
        QTest::newRow("vault gone: its making instead") << "removed" << false;
    }
    void givenOnlyWhileCurrent()
    {
        TemporaryVault v;
        pexi::GridLibrary grids(v.vault);
        RecordingLauncher launcher;
        pexi::BrowserController browser(launcher);
        pexi::SpareWindow spares({grids, v.vault, v.locker, browser, launcher});
        spares.prepareWhenIdle();
        QVERIFY(!spares.spare()); // not before the loop is idle
        QTRY_VERIFY(spares.spare());
        const QPointer<pexi::FloatingWindow> spare = spares.spare();

        QFETCH(QString, change);
        if (!change.isEmpty()) {
            for (const QString &suffix : {"", "-wal", "-shm"})
                QFile::remove(v.vault.filePath() + suffix);
            v.vault.reloadHeader();
        }
        if (change == u"re-created")
            v.vault.create(TemporaryVault::chosen());

        const pexi::SpareWindow::Window taken = spares.take();
        QFETCH(bool, spareGiven);
        QCOMPARE(taken.window == spare, spareGiven);
        QCOMPARE(spare.isNull(), !spareGiven); // a stale spare is thrown away
        QVERIFY(!spares.spare());
        QVERIFY(!taken.window->isVisible());
        QCOMPARE(taken.window->contentViewController(), taken.recall);
        // What the vault holds now, or no grids while a first vault is to be made.
        const QList<pexi::ImageGrid> current = grids.grids();
        QCOMPARE(current.isEmpty(), change == u"removed");
        for (int page = 0; page < pexi::GridPageController::numberOfPages; ++page) {
            const std::optional<pexi::ImageGrid> shown =
                taken.recall->mainViewController()->page(page)->imageGrid();
            QCOMPARE(shown.has_value(), !current.isEmpty());
            if (shown)
                QCOMPARE(*shown, current.at(page));
        }
        // Shown, the unlock's grid (or the first vault's) takes the letters.
        taken.window->show();
        taken.window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(taken.window));
        QVERIFY(qobject_cast<pexi::RecallCollectionViewController *>(QApplication::focusWidget()));
        delete taken.window;
    }
};

QTEST_MAIN(TestSpareWindow)
#include "tst_sparewindow.moc"
