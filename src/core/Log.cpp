#include "core/Log.h"

#include <QByteArray>
#include <QMutex>
#include <QMutexLocker>

#include <cstdio>

namespace pexi {

void logLine(const QString &line)
{
    static QMutex mutex;

    QString text = line;
    text.replace(QLatin1Char('\r'), QLatin1Char(' '));
    text.replace(QLatin1Char('\n'), QLatin1Char(' '));
    QByteArray bytes = text.toUtf8();
    bytes.append('\n');

    QMutexLocker locker(&mutex);
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
    std::fflush(stdout);
}

} // namespace pexi
