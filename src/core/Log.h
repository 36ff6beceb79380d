#pragma once

#include <QString>

namespace pexi {

// Writes `line` as one plain line to standard output and flushes, so that lines from several
// threads never interleave and nothing is lost when the process is killed. Line breaks inside
// `line` become blanks: one call is always one line.
void logLine(const QString &line);

} // namespace pexi
