#pragma once

#include <QtGlobal>

#include <functional>

namespace pexi {

// Runs `body(begin, end)` over [0, count) split into one contiguous range per core, the calling
// thread taking the first range, and returns once all are done. Fewer than `minimumPerRange`
// elements per range are not worth a thread: small counts run on the calling thread alone.
// An exception thrown by `body` is rethrown here, after every range has finished.
void forEachRange(qsizetype count, qsizetype minimumPerRange,
                  const std::function<void(qsizetype begin, qsizetype end)> &body);

} // namespace pexi
