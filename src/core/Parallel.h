#pragma once

#include <QtGlobal>

#include <algorithm>
#include <atomic>
#include <functional>
#include <iterator>
#include <vector>

namespace pexi {

// The indexes [0, count) handed out a chunk at a time to whichever thread asks next.
class ChunkQueue
{
public:
    struct Range
    {
        qsizetype begin = 0;
        qsizetype end = 0;
        bool isEmpty() const { return begin >= end; }
    };

    ChunkQueue(qsizetype count, qsizetype chunk)
        : m_count(count), m_chunk(std::max<qsizetype>(chunk, 1))
    {
    }

    // The next chunk, or an empty range once every index has been handed out.
    Range take()
    {
        const qsizetype begin = m_next.fetch_add(m_chunk, std::memory_order_relaxed);
        return {std::min(begin, m_count), std::min(begin + m_chunk, m_count)};
    }

private:
    const qsizetype m_count;
    const qsizetype m_chunk;
    std::atomic<qsizetype> m_next{0};
};

// Runs `worker(queue)` once on each of up to one thread per core, the calling thread one of them,
// each taking chunks of at most `chunk` indexes from the shared queue until it is empty, and
// returns once all are done. Taking chunks rather than a fixed share keeps a thread that the
// system slows down (the user interface drawing meanwhile) from holding up the others. A count of
// one chunk or less runs on the calling thread alone. An exception thrown by `worker` is rethrown
// here, after every thread has finished.
void forEachWorker(qsizetype count, qsizetype chunk,
                   const std::function<void(ChunkQueue &queue)> &worker);

// The same, for work that keeps nothing per thread: `body(begin, end)` for every chunk.
void forEachChunk(qsizetype count, qsizetype chunk,
                  const std::function<void(qsizetype begin, qsizetype end)> &body);

// Merges runs each sorted by `before` into one sorted sequence, pairwise, so that each element
// moves once per halving of the number of runs: the second half of sorting in parts.
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
