#pragma once

#include <QtGlobal>

#include <algorithm>
#include <functional>
#include <iterator>
#include <vector>

namespace pexi {

// Runs `body(begin, end)` over [0, count) split into one contiguous range per core, the calling
// thread taking the first range, and returns once all are done. Fewer than `minimumPerRange`
// elements per range are not worth a thread: small counts run on the calling thread alone.
// An exception thrown by `body` is rethrown here, after every range has finished.
void forEachRange(qsizetype count, qsizetype minimumPerRange,
                  const std::function<void(qsizetype begin, qsizetype end)> &body);

// Merges runs each sorted by `before` into one sorted sequence, pairwise, so that each element
// moves once per halving of the number of runs: the second half of sorting ranges apart.
template <typename T, typename Before>
std::vector<T> mergeSortedRuns(std::vector<std::vector<T>> runs, Before before)
{
    if (runs.empty())
        return {};
    while (runs.size() > 1) {
        std::vector<std::vector<T>> merged;
        for (size_t i = 0; i + 1 < runs.size(); i += 2) {
            std::vector<T> &into = merged.emplace_back();
            into.reserve(runs[i].size() + runs[i + 1].size());
            std::merge(runs[i].begin(), runs[i].end(), runs[i + 1].begin(), runs[i + 1].end(),
                       std::back_inserter(into), before);
        }
        if (runs.size() % 2 != 0)
            merged.push_back(std::move(runs.back()));
        runs = std::move(merged);
    }
    return std::move(runs.front());
}

} // namespace pexi
