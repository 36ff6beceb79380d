#include "support/TemporaryVault.h"

#include "recall/VaultSetup.h"

#include <QSet>
#include <QTest>

using pexi::VaultSetup;
using Picks = QList<QList<int>>;

Q_DECLARE_METATYPE(VaultSetup::Outcome)

class TestVaultSetup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The confirmation is of the same set per grid: the order of picking means nothing, and a
    // mismatch keeps the first round, so the user only confirms again.
    void confirmation_data()
    {
        QTest::addColumn<QList<Picks>>("confirmations");
        QTest::addColumn<QList<VaultSetup::Outcome>>("outcomes");
        using O = VaultSetup::Outcome;
        const Picks other{{0, 1, 2}, {3, 4, 5}, {6, 7, 9}};
        QTest::newRow("same order")
            << QList<Picks>{{{0, 1, 2}, {3, 4, 5}, {6, 7, 8}}} << QList<O>{O::Confirmed};
        QTest::newRow("other order")
            << QList<Picks>{{{2, 0, 1}, {5, 4, 3}, {8, 6, 7}}} << QList<O>{O::Confirmed};
        QTest::newRow("last grid differs") << QList<Picks>{other} << QList<O>{O::Mismatch};
        QTest::newRow("again after a mismatch")
            << QList<Picks>{other, other, {{0, 1, 2}, {3, 4, 5}, {6, 7, 8}}}
            << QList<O>{O::Mismatch, O::Mismatch, O::Confirmed};
    }

    void confirmation()
    {
        QFETCH(QList<Picks>, confirmations);
        QFETCH(QList<VaultSetup::Outcome>, outcomes);
        TemporaryVault v(false);
        VaultSetup setup(v.vault);
        QCOMPARE(setup.finishRound({{0, 1, 2}, {3, 4, 5}, {6, 7, 8}}), VaultSetup::Outcome::Chosen);
        QList<VaultSetup::Outcome> seen;
        for (const Picks &picks : confirmations) {
            QCOMPARE(setup.round(), VaultSetup::Round::Confirm);
            seen.append(setup.finishRound(picks));
        }
        QCOMPARE(seen, outcomes);
    }

    // Every draw shows 45 different pictures and starts over; four draws alike would mean
    // nothing is drawn.
    void drawsShowNoPictureTwice()
    {
        TemporaryVault v(false);
        VaultSetup setup(v.vault);
        QSet<QStringList> draws;
        for (int draw = 0; draw < 4; ++draw) {
            setup.finishRound({{0, 1, 2}, {3, 4, 5}, {6, 7, 8}});
            setup.draw();
            QCOMPARE(setup.round(), VaultSetup::Round::Choose);
            QStringList shown;
            for (const pexi::ImageGrid &grid : setup.grids())
                shown += grid.pictureNames();
            QCOMPARE(QSet<QString>(shown.begin(), shown.end()).size(), 45);
            draws.insert(shown);
        }
        QCOMPARE(draws.size(), 4);
    }
};

QTEST_MAIN(TestVaultSetup)
#include "tst_vaultsetup.moc"
