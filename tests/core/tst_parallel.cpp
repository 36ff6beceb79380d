#include "core/Parallel.h"

#include <QTest>

#include <algorithm>

class TestParallel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Runs sorted apart (one per core) come back as one sorted sequence, whatever their number.
    void mergeSortedRuns_data()
    {
        QTest::addColumn<QList<QList<int>>>("runs");
        QTest::addColumn<bool>("descending");
        QTest::newRow("none") << QList<QList<int>>{} << false;
        QTest::newRow("one") << QList<QList<int>>{{1, 4, 9}} << false;
        QTest::newRow("two, interleaved") << QList<QList<int>>{{1, 3, 5, 7}, {2, 4, 6}} << false;
        QTest::newRow("three, with repeats")
            << QList<QList<int>>{{2, 2, 8}, {1, 2, 9}, {0, 8}} << false;
        QTest::newRow("five, one empty")
            << QList<QList<int>>{{5, 6}, {}, {1, 7, 7}, {0, 3}, {2, 4, 9}} << false;
        QTest::newRow("the given order, not <")
            << QList<QList<int>>{{9, 5, 1}, {8, 4}, {7, 3, 0}} << true;
    }

    void mergeSortedRuns()
    {
        QFETCH(QList<QList<int>>, runs);
        QFETCH(bool, descending);
        const auto before = [descending](int a, int b) { return descending ? a > b : a < b; };
        std::vector<std::vector<int>> input;
        std::vector<int> expected;
        for (const QList<int> &run : runs) {
            input.emplace_back(run.begin(), run.end());
            expected.insert(expected.end(), run.begin(), run.end());
        }
        std::sort(expected.begin(), expected.end(), before);
        QCOMPARE(pexi::mergeSortedRuns(std::move(input), before), expected);
    }
};

QTEST_GUILESS_MAIN(TestParallel)
#include "tst_parallel.moc"
