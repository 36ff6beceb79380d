#include "support/TemporaryVault.h"

#include "recall/RecallCollectionViewController.h"
#include "recall/RecallCollectionViewControllerDelegate.h"

#include <QAccessible>
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

// A step of the user on the picture at an index: a click, a double click, its letter typed, a
// press from a screen reader, a press on it released on the next picture, a click just right
// of it; or picks turned off, as while an unlock is under way; or the grid disabled.
struct Step
{
    enum Kind { Click, DoubleClick, Key, ReaderPress, DragToNext, ClickBeside, PicksOff, Off };
    Kind kind;
    int index = 0;
    char key = 0;
};
Step click(int index)
{
    return {Step::Click, index};
}
Step key(char key)
{
    return {Step::Key, 0, key};
}
const Step picksOff{Step::PicksOff};

void take(RecallCollectionViewController &grid, const Step &step)
{
    const QRect cell = grid.itemRect(step.index);
    switch (step.kind) {
    case Step::Click:
        return QTest::mouseClick(&grid, Qt::LeftButton, {}, cell.center());
    case Step::DoubleClick: // through the window, which delivers it as a desktop does
        return QTest::mouseDClick(grid.windowHandle(), Qt::LeftButton, {}, cell.center());
    case Step::Key:
        return QTest::keyClick(&grid, step.key);
    case Step::ReaderPress:
        return QAccessible::queryAccessibleInterface(&grid)
            ->child(step.index)
            ->actionInterface()
            ->doAction(QAccessibleActionInterface::pressAction());
    case Step::DragToNext:
        QTest::mousePress(&grid, Qt::LeftButton, {}, cell.center());
        return QTest::mouseRelease(&grid, Qt::LeftButton, {},
                                   grid.itemRect(step.index + 1).center());
    case Step::ClickBeside:
        return QTest::mouseClick(&grid, Qt::LeftButton, {}, {cell.right() + 4, cell.center().y()});
    case Step::PicksOff:
        return grid.setAcceptsPicks(false);
    case Step::Off:
        return grid.setEnabled(false);
    }
}

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
        QTest::newRow("clicks, first and last") << QList{click(0), click(14)} << QList{0, 14} << 2;
        QTest::newRow("lower-case and upper-case letters")
            << QList{key('a'), key('O')} << QList{0, 14} << 2;
        QTest::newRow("the same letter twice takes it back")
            << QList{key('b'), key('B')} << QList<int>{} << 2;
        QTest::newRow("P and digits are no pictures")
            << QList{key('p'), key('P'), key('1'), key('0')} << QList<int>{} << 0;
        QTest::newRow("a screen reader's press")
            << QList{Step{Step::ReaderPress, 7}} << QList{7} << 1;
        QTest::newRow("a quick second click takes it back")
            << QList{Step{Step::DoubleClick, 4}} << QList<int>{} << 2;
        QTest::newRow("a disabled grid takes no click and no press")
            << QList{Step{Step::Off}, click(4), Step{Step::ReaderPress, 5}} << QList<int>{} << 0;
        QTest::newRow("released on another picture, or clicked between two: no pick")
            << QList{Step{Step::DragToNext, 3}, Step{Step::ClickBeside, 4}} << QList<int>{} << 0;
        QTest::newRow("a full grid takes no more")
            << QList{click(0), click(1), click(2), click(3), key('e')} << QList{0, 1, 2} << 3;
        QTest::newRow("until one is taken back")
            << QList{click(0), click(1), click(2), click(1), click(3)} << QList{0, 2, 3} << 5;
        QTest::newRow("nothing while picks are off")
            << QList{click(1), picksOff, click(1), click(3), key('e')} << QList{1} << 1;
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
        for (const Step &step : steps)
            take(grid, step);
        QList<int> picked = grid.selection();
        std::sort(picked.begin(), picked.end());
        QCOMPARE(picked, selection);
        QCOMPARE(delegate.calls, reports);
        QCOMPARE(grid.hasCompletedSelection(), selection.size() == grid.requiredTargetCount);
        QAccessibleInterface *shown = QAccessible::queryAccessibleInterface(&grid);
        QCOMPARE(shown->childCount(), pexi::ImageGrid::PictureCount);
        for (int index = 0; index < pexi::ImageGrid::PictureCount; ++index) {
            const bool picked = selection.contains(index);
            QCOMPARE(grid.item(index).borderWidth(), picked ? 3 : 1);
            QCOMPARE(grid.item(index).borderAlpha(), picked ? 0.3 : 0.0);
            // To a screen reader: a button checked when picked, named by its letter, described
            // by what it shows, found where it is drawn.
            QAccessibleInterface *picture = shown->child(index);
            QCOMPARE(picture->state().checked, picked);
            QCOMPARE(picture->text(QAccessible::Name), QString("Picture ") + char('A' + index));
            QCOMPARE(picture->text(QAccessible::Description), grid.imageGrid()->pictureName(index));
            QCOMPARE(shown->childAt(picture->rect().center().x(), picture->rect().center().y()),
                     picture);
            QCOMPARE(shown->indexOfChild(picture), index);
        }

        grid.resetSelection();
        QVERIFY(grid.selection().isEmpty());
        QVERIFY(!shown->child(selection.value(0))->state().checked);
    }

    // A screen reader's picture goes with its grid.
    void picturesGoWithTheirGrid()
    {
        auto grid = std::make_unique<RecallCollectionViewController>();
        const QAccessible::Id picture =
            QAccessible::uniqueId(QAccessible::queryAccessibleInterface(grid.get())->child(3));
        QVERIFY(QAccessible::accessibleInterface(picture));
        grid.reset();
        QVERIFY(!QAccessible::accessibleInterface(picture));
    }
};

QTEST_MAIN(TestRecallCollectionViewController)
#include "tst_recallcollectionviewcontroller.moc"
