#include "support/TemporaryVault.h"

#include "recall/RecallCollectionViewController.h"
#include "recall/RecallCollectionViewControllerDelegate.h"
#include "recall/RecallCollectionViewItem.h"

#include <QTest>

using pexi::RecallCollectionViewController;

namespace {

struct CountingDelegate : pexi::RecallCollectionViewControllerDelegate
{
    void recallCollectionViewControllerDidSelectItem(RecallCollectionViewController *) override
    {
        ++calls;
    }
    int calls = 0;
};

// A step of the user: a click on the picture at an index, or a key ("-": picks turned off, as
// while an unlock is under way).
struct Step
{
    int click = -1;
    char key = 0;
};

} // namespace

Q_DECLARE_METATYPE(QList<Step>)

class TestRecallCollectionViewController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("PEXI_NO_KEYRING", "1"); }

    void picks_data()
    {
        QTest::addColumn<QList<Step>>("steps");
        QTest::addColumn<QList<int>>("selection");
        QTest::addColumn<int>("reports");
        QTest::newRow("click") << QList<Step>{{4}} << QList<int>{4} << 1;
        QTest::newRow("lower-case and upper-case letters")
            << QList<Step>{{-1, 'a'}, {-1, 'O'}} << QList<int>{0, 14} << 2;
        QTest::newRow("the same letter twice takes it back")
            << QList<Step>{{-1, 'b'}, {-1, 'B'}} << QList<int>{} << 2;
        QTest::newRow("P and digits are no pictures")
            << QList<Step>{{-1, 'p'}, {-1, 'P'}, {-1, '1'}, {-1, '0'}} << QList<int>{} << 0;
        QTest::newRow("a full grid takes no more")
            << QList<Step>{{0}, {1}, {2}, {3}, {-1, 'e'}} << QList<int>{0, 1, 2} << 3;
        QTest::newRow("until one is taken back")
            << QList<Step>{{0}, {1}, {2}, {1}, {3}} << QList<int>{0, 2, 3} << 5;
        QTest::newRow("nothing while picks are off")
            << QList<Step>{{1}, {-1, '-'}, {1}, {3}, {-1, 'e'}} << QList<int>{1} << 1;
    }

    void picks()
    {
        QFETCH(QList<Step>, steps);
        QFETCH(QList<int>, selection);
        QFETCH(int, reports);
        TemporaryVault v;
        RecallCollectionViewController grid;
        grid.setImageGrid(pexi::GridLibrary(v.vault).grids().value(0));
        CountingDelegate delegate;
        grid.setDelegate(&delegate);
        grid.show();
        for (const Step &step : steps) {
            if (step.key == '-')
                grid.setAcceptsPicks(false);
            else if (step.click >= 0)
                QTest::mouseClick(grid.item(step.click), Qt::LeftButton);
            else
                QTest::keyClick(&grid, step.key);
        }
        QList<int> picked = grid.selection();
        std::sort(picked.begin(), picked.end());
        QCOMPARE(picked, selection);
        QCOMPARE(delegate.calls, reports);
        QCOMPARE(grid.hasCompletedSelection(), selection.size() == grid.requiredTargetCount);
        for (int index = 0; index < pexi::ImageGrid::PictureCount; ++index) {
            const bool picked = selection.contains(index);
            QCOMPARE(grid.item(index)->isChecked(), picked);
            QCOMPARE(grid.item(index)->borderWidth(), picked ? 3 : 1);
            QCOMPARE(grid.item(index)->borderAlpha(), picked ? 0.3 : 0.0);
            // Named for a screen reader by its letter, described by what it shows.
            QCOMPARE(grid.item(index)->accessibleName(), QString("Picture ") + char('A' + index));
            QCOMPARE(grid.item(index)->accessibleDescription(),
                     grid.imageGrid()->pictureName(index));
        }

        grid.resetSelection();
        QVERIFY(grid.selection().isEmpty());
        QVERIFY(!grid.item(selection.value(0))->isChecked());
    }
};

QTEST_MAIN(TestRecallCollectionViewController)
#include "tst_recallcollectionviewcontroller.moc"
