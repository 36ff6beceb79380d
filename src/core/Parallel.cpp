#include "core/Parallel.h"

#include <QThread>

#include <algorithm>
#include <exception>
#include <thread>
#include <vector>

namespace pexi {

namespace {

qsizetype rangeCount(qsizetype count, qsizetype minimumPerRange)
{
    return std::clamp<qsizetype>(count / std::max<qsizetype>(minimumPerRange, 1), 1,
                                 QThread::idealThreadCount());
}

} // namespace

void forEachRange(qsizetype count, qsizetype minimumPerRange,
                  const std::function<void(qsizetype begin, qsizetype end)> &body)
{
    const qsizetype ranges = rangeCount(count, minimumPerRange);
    if (ranges == 1) {
        body(0, count);
        return;
    }
    std::vector<std::exception_ptr> failures(static_cast<size_t>(ranges));
    const auto run = [&](qsizetype range) {
        try {
            body(count * range / ranges, count * (range + 1) / ranges);
        } catch (...) {
            failures[size_t(range)] = std::current_exception();
        }
    };
    std::vector<std::thread> threads;
    for (qsizetype range = 1; range < ranges; ++range)
        threads.emplace_back(run, range);
    run(0);
    for (std::thread &thread : threads)
        thread.join();
    for (const std::exception_ptr &failure : failures) {
        if (failure)
            std::rethrow_exception(failure);
    }
}

} // namespace pexi
