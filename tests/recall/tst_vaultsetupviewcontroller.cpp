#include "support/RecallScreen.h"

#include "recall/GridPageController.h"
#include "recall/RecallCollectionViewController.h"
#include "recall/VaultSetupViewController.h"

#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QSet>

using pexi::VaultSetupViewController;

namespace {

struct Screen : RecallScreen
{
    Screen() : RecallScreen(false) {}

    VaultSetupViewController *setup() const
    {
        return screen.findChild<VaultSetupViewController *>();
    }
    // Picks on the grid shown, by letter key or by click; a complete grid moves on to the first
    // incomplete one. "<" and ">" are the arrow keys.
    void pick(QString steps, bool click)
    {
        for (const QChar step : steps.remove(u' ')) {
            if (click && step.isLetter()) {
                auto *grid = setup()->page(setup()->selectedIndex());
                QTest::mouseClick(grid, Qt::LeftButton, {},
                                  grid->itemRect(step.unicode() - u'A').center());
            } else
                press(step.toLower());
        }
    }
    QList<pexi::ImageGrid> shownGrids() const
    {
        QList<pexi::ImageGrid> grids;
        for (int page = 0; page < pexi::GridPageController::numberOfPages; ++page)
            grids.append(*setup()->page(page)->imageGrid());
        return grids;
    }
    QString message() const { return setup()->findChild<QLabel *>("messageLabel")->text(); }
};

// The exit code of the real pexi-vault listing the vault with these letters.
int listWith(const TemporaryVault &v, const QString &letters)
{
    QProcess tool;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("XDG_CONFIG_HOME", v.dir.path() + "/config");
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
        QTest::newRow("keys, page 2 first") << false << QStringList{"> BDF ACE GHO"};
        QTest::newRow("clicks, another order") << true << QStringList{"ECA FBD OHG"};
        QTest::newRow("keys, a mismatch first")
            << false << QStringList{"ACE BDF GHN", "ACE BDF GHO"};
        QTest::newRow("clicks, two mismatches")
            << true << QStringList{"ACF BDF GHO", "ACE BDE GHO", ">> GHO << CAE BDF"};
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
        QTRY_COMPARE(s.unlocks, 1);
        QCOMPARE(s.v.locker.lockState(), pexi::LockState::unlocked);
        QTRY_VERIFY(!s.setup());
        QCOMPARE(pexi::GridLibrary(s.v.vault).grids(), shown);
        QCOMPARE(*s.screen.page(2)->imageGrid(), shown.at(2)); // what the next unlock shows
        QCOMPARE(listWith(s.v, "ACE BDF GHN"), 1);
        QCOMPARE(listWith(s.v, "ACE BDF GHO"), 0);
    }

    // Every draw shows 45 different pictures in place of the last ones, with every pick gone
    // and the first round again: a confirmation named otherwise is a new choice, not a mismatch.
    void drawOthers()
    {
        Screen s;
        s.pick("ACE BDF GHO", false);
        for (int draw = 0; draw < 3; ++draw) {
            s.pick("AC", true);
            const QList<pexi::ImageGrid> before = s.shownGrids();
            QTest::mouseClick(s.setup()->findChild<QPushButton *>("drawButton"), Qt::LeftButton);
            QSet<QString> shown;
            for (int page = 0; page < pexi::GridPageController::numberOfPages; ++page) {
                QVERIFY(s.shownGrids().at(page) != before.at(page));
                QVERIFY(s.setup()->page(page)->selection().isEmpty());
                for (const QString &name : s.shownGrids().at(page).pictureNames())
                    shown.insert(name);
            }
            QCOMPARE(shown.size(), 45);
        }
        s.pick("ACE BDF GHO", true);
        s.pick("ACE BDF GHN", true);
        QCOMPARE(s.message(), VaultSetupViewController::mismatchMessage);
        QCOMPARE(s.unlocks, 0);
    }
};

QTEST_MAIN(TestVaultSetupViewController)
#include "tst_vaultsetupviewcontroller.moc"
