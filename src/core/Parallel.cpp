#include "core/Parallel.h"

#include <QThread>

#include <exception>
#include <thread>

namespace pexi {

void forEachWorker(qsizetype count, qsizetype chunk,
                   const std::function<void(ChunkQueue &queue)> &worker)
{
    ChunkQueue queue(count, chunk);
    const qsizetype chunks =
        (count + std::max<qsizetype>(chunk, 1) - 1) / std::max<qsizetype>(chunk, 1);
    const qsizetype workers = std::clamp<qsizetype>(chunks, 1, QThread::idealThreadCount());
    if (workers == 1) {
        worker(queue);
        return;
    }
    std::vector<std::exception_ptr> failures(static_cast<size_t>(workers));
    const auto run = [&](qsizetype index) {
        try {
            worker(queue);
        } catch (...) {
            failures[size_t(index)] = std::current_exception();
        }
    };
    std::vector<std::thread> threads;
    for (qsizetype index = 1; index < workers; ++index)
        threads.emplace_back(run, index);
    run(0);
    for (std::thread &thread : threads)
        thread.join();
    for (const std::exception_ptr &failure : failures) {
        if (failure)
            std::rethrow_exception(failure);
    }
}

void forEachChunk(qsizetype count, qsizetype chunk,
                  const std::function<void(qsizetype begin, qsizetype end)> &body)
{
    forEachWorker(count, chunk, [&](ChunkQueue &queue) {
        for (ChunkQueue::Range range = queue.take(); !range.isEmpty(); range = queue.take())
            body(range.begin, range.end);
    });
}

} // namespace pexi
