#pragma once

#include <QtGlobal>

#include <algorithm>
#include <functional>
#include <vector>

namespace pexi {

// Runs `body(begin, end)` over [0, count) split into one contiguous range per core, the calling
// thread taking the first range, and returns once all are done. Fewer than `minimumPerRange`
// elements per range are not worth a thread: small counts run on the calling thread alone.
// An exception thrown by `body` is rethrown here, after every range has finished.
void forEachRange(qsizetype count, qsizetype minimumPerRange,
                  const std::function<void(qsizetype begin, qsizetype end)> &body);
// How many ranges forEachRange() makes of `count` elements; range i is
// [count * i / ranges, count * (i + 1) / ranges).
qsizetype rangeCount(qsizetype count, qsizetype minimumPerRange);

// std::sort, with a range sorted on each core and the sorted ranges merged.
template <typename T, typename Less>
void parallelSort(std::vector<T> &values, Less less, qsizetype minimumPerRange)
{
    forEachRange(qsizetype(values.size()), minimumPerRange, [&](qsizetype begin, qsizetype end) {
        std::sort(values.begin() + begin, values.begin() + end, less);
    });
    const qsizetype count = qsizetype(values.size());
    const qsizetype parts = rangeCount(count, minimumPerRange);
    for (qsizetype width = 1; width < parts; width *= 2) {
        for (qsizetype first = 0; first + width < parts; first += 2 * width) {
            const auto at = [&](qsizetype part) {
                return values.begin() + count * std::min(part, parts) / parts;
            };
            std::inplace_merge(at(first), at(first + width), at(first + 2 * width), less);
        }
    }
}

} // namespace pexi
