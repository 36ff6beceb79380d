#pragma once

#include <QString>

namespace pexi {

// Writes `line` as one plain line to standard output and flushes, so that lines from several
// threads never interleave and nothing is lost when the process is killed. Line breaks inside
// `line` become blanks: one call is always one line.
void logLine(const QString &line);

// The current time as the lines that start with it write it: "2024-05-01 09:30:00 +0000".
QString logDate();

// Text a client chose (an origin, a command name, a close reason), made fit for a log line: cut
// to `maxLoggedText` characters, marked "..." when cut, with control characters written as \xNN
// so that a client can neither drive the terminal nor forge lines.
constexpr qsizetype maxLoggedText = 200;
QString loggable(QStringView text);

} // namespace pexi
