#include "support/DesktopDoubles.h"
#include "support/TemporaryVault.h"

#include "recall/RecallCollectionViewController.h"
#include "recall/RecallCollectionViewItem.h"
#include "recall/RecallViewController.h"
#include "recall/RecallViewControllerDelegate.h"
#include "recall/VaultSetupViewController.h"

#include <QApplication>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QTest>

using pexi::RecallCollectionViewController;
using pexi::VaultSetupViewController;

namespace {

struct CountingDelegate : pexi::RecallViewControllerDelegate
{
    void recallViewControllerDidUnlock(pexi::RecallViewController *) override { ++unlocks; }
    int unlocks = 0;
};

// The unlock screen of a machine without a vault, shown and active as the user would have it.
struct Screen
{
    Screen()
    {
        unlock.setDelegate(&delegate);
        unlock.resize(320, 560);
        unlock.show();
        unlock.activateWindow();
        (void)QTest::qWaitForWindowActive(&unlock);
    }

    VaultSetupViewController *setup() const
    {
        return unlock.findChild<VaultSetupViewController *>();
    }
    // One round: "ACE BDF GHO" picks those letters in grids 1, 2 and 3, typed to whatever has
    // the focus, or clicked on the grid shown.
    void pick(const QString &round, bool click)
    {
        for (const QString &letters : round.split(u' ')) {
            for (const QChar letter : letters) {
                const int index = letter.unicode() - u'A';
                if (click)
                    QTest::mouseClick(setup()->page(setup()->selectedIndex())->item(index),
                                      Qt::LeftButton);
                else
                    QTest::keyClick(QApplication::focusWidget(), letter.toLower().toLatin1());
            }
        }
    }
    QList<pexi::ImageGrid> shownGrids() const
    {
        QList<pexi::ImageGrid> grids;
        for (int page = 0; page < VaultSetupViewController::numberOfGrids; ++page)
            grids.append(*setup()->page(page)->imageGrid());
        return grids;
    }
    QString message() const { return setup()->findChild<QLabel *>("messageLabel")->text(); }

    TemporaryVault v{false};
    pexi::GridLibrary grids{v.vault};
    NullLauncher launcher;
    pexi::BrowserController browser{launcher};
    pexi::RecallViewController unlock{{grids, v.vault, v.locker, browser, launcher}};
    CountingDelegate delegate;
};

// The exit code of the real pexi-vault listing the vault with these letters.
int listWith(const TemporaryVault &v, const QString &letters)
{
    QProcess tool;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("XDG_CONFIG_HOME", v.dir.path() + "/config");
    env.insert("PEXI_NO_KEYRING", "1");
    env.insert("PEXI_RECALL", letters);
    tool.setProcessEnvironment(env);
    tool.start(PEXI_BIN_DIR "/pexi-vault", {"--data-dir", v.vault.dataDirectory(), "list"});
    tool.waitForFinished(60000);
    return tool.exitCode();
}

} // namespace

class TestVaultSetupViewController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("PEXI_NO_KEYRING", "1"); }

    // Every confirmation but the last names other pictures: each says so, makes no file and
    // keeps the first round; the last, in any order, makes the vault the user practised on.
    void pickConfirmAndOpen_data()
    {
        QTest::addColumn<bool>("click");
        QTest::addColumn<QStringList>("confirmations");
        QTest::newRow("keys") << false << QStringList{"ACE BDF GHO"};
        QTest::newRow("clicks, another order") << true << QStringList{"ECA FBD OHG"};
        QTest::newRow("keys, a mismatch first")
            << false << QStringList{"ACE BDF GHN", "ACE BDF GHO"};
        QTest::newRow("clicks, two mismatches")
            << true << QStringList{"ACF BDF GHO", "ACE BDE GHO", "CAE BDF GHO"};
    }

    void pickConfirmAndOpen()
    {
        QFETCH(bool, click);
        QFETCH(QStringList, confirmations);
        Screen s;
        QVERIFY(s.setup());
        const QList<pexi::ImageGrid> shown = s.shownGrids();
        s.pick("ACE BDF GHO", click);
        for (const QString &confirmation : confirmations.mid(0, confirmations.size() - 1)) {
            s.pick(confirmation, click);
            QCOMPARE(s.message(), VaultSetupViewController::mismatchMessage);
            QVERIFY(!s.v.vault.exists());
        }
        s.pick(confirmations.last(), click);
        QTRY_COMPARE(s.delegate.unlocks, 1);
        QCOMPARE(s.v.locker.lockState(), pexi::LockState::unlocked);
        QTRY_VERIFY(!s.setup());
        QCOMPARE(pexi::GridLibrary(s.v.vault).grids(), shown);
        QCOMPARE(*s.unlock.page(2)->imageGrid(), shown.at(2)); // what the next unlock shows
        QCOMPARE(listWith(s.v, "ACE BDF GHN"), 1);
        QCOMPARE(listWith(s.v, "ACE BDF GHO"), 0);
    }

    // Other pictures in all three grids, every pick gone, the first round again.
    void drawOthers()
    {
        Screen s;
        s.pick("ACE BDF GHO", false);
        s.pick("AC", true);
        const QList<pexi::ImageGrid> before = s.shownGrids();
        QTest::mouseClick(s.setup()->findChild<QPushButton *>("drawButton"), Qt::LeftButton);
        for (int page = 0; page < VaultSetupViewController::numberOfGrids; ++page) {
            QVERIFY(s.shownGrids().at(page) != before.at(page));
            QVERIFY(s.setup()->page(page)->selection().isEmpty());
        }
        QCOMPARE(s.setup()->selectedIndex(), 0);
        s.pick("ACE BDF GHO", true);
        s.pick("ACE BDF GHN", true);
        QCOMPARE(s.message(), VaultSetupViewController::mismatchMessage); // a round, not a vault
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Right);
        QCOMPARE(s.setup()->selectedIndex(), 1);
        QCOMPARE(s.delegate.unlocks, 0);
    }
};

QTEST_MAIN(TestVaultSetupViewController)
#include "tst_vaultsetupviewcontroller.moc"
