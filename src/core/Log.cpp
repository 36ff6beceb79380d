#include "core/Log.h"

#include <QByteArray>
#include <QDateTime>
#include <QMutex>
#include <QMutexLocker>

#include <algorithm>
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

QString logDate()
{
    return QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss +0000"));
}

QString loggable(QStringView text)
{
    const QStringView kept = text.first(std::min(text.size(), maxLoggedText));
    QString out;
    out.reserve(kept.size() + 3);
    for (const QChar c : kept) {
        if (c.category() == QChar::Other_Control)
            out += QStringLiteral("\\x%1").arg(c.unicode(), 2, 16, QLatin1Char('0'));
        else
            out += c;
    }
    if (kept.size() < text.size())
        out += QLatin1String("...");
    return out;
}

} // namespace pexi
