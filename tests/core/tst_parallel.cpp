#include "core/Parallel.h"

#include <QTest>

#include <stdexcept>

using namespace pexi;

class tst_Parallel : public QObject
{
    Q_OBJECT

private slots:
    void everyIndexOnce_data()
    {
        QTest::addColumn<qsizetype>("count");
        QTest::addColumn<qsizetype>("chunk");
        QTest::newRow("nothing") << qsizetype(0) << qsizetype(8);
        QTest::newRow("less than a chunk") << qsizetype(7) << qsizetype(8);
        QTest::newRow("one chunk exactly") << qsizetype(8) << qsizetype(8);
        QTest::newRow("one past a chunk") << qsizetype(9) << qsizetype(8);
        QTest::newRow("many chunks, a short last one") << qsizetype(10001) << qsizetype(64);
        QTest::newRow("a chunk of nothing is a chunk of one") << qsizetype(5) << qsizetype(0);
    }
    void everyIndexOnce()
    {
        QFETCH(qsizetype, count);
        QFETCH(qsizetype, chunk);
        std::vector<std::atomic<int>> visits(static_cast<size_t>(count));
        std::atomic<bool> emptyChunk = false;
        forEachChunk(count, chunk, [&](qsizetype begin, qsizetype end) {
            emptyChunk = emptyChunk || begin >= end;
            for (qsizetype i = begin; i < end; ++i)
                ++visits[size_t(i)];
        });
        QVERIFY(!emptyChunk);
        for (qsizetype i = 0; i < count; ++i)
            QCOMPARE(visits[size_t(i)].load(), 1);
    }

    void failureRethrownAfterAllFinish()
    {
        std::atomic<qsizetype> done = 0;
        QVERIFY_THROWS_EXCEPTION(std::runtime_error,
                                 forEachChunk(4096, 16, [&](qsizetype begin, qsizetype end) {
                                     if (begin == 0)
                                         throw std::runtime_error("the first chunk fails");
                                     done += end - begin;
                                 }));
        // The other threads went on taking chunks; the failing one stopped with its own.
        QVERIFY(done.load() <= 4096 - 16);
    }
};

QTEST_GUILESS_MAIN(tst_Parallel)
#include "tst_parallel.moc"
