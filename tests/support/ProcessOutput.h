#pragma once

#include <QProcess>
#include <QTest>

// Whether `process` prints `text` within `timeout` ms, what it printed gathered into `output`.
inline bool waitForOutput(QProcess &process, const QByteArray &text, QByteArray &output,
                          int timeout = 20000)
{
    return QTest::qWaitFor(
        [&] {
            output += process.readAllStandardOutput();
            return output.contains(text);
        },
        timeout);
}
