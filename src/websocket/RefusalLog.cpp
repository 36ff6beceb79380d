#include "websocket/RefusalLog.h"

#include "core/Log.h"

namespace pexi {

RefusalLog::RefusalLog(QObject *parent) : QObject(parent)
{
    m_window.setSingleShot(true);
    m_window.setInterval(1000);
    connect(&m_window, &QTimer::timeout, this, &RefusalLog::endWindow);
}

void RefusalLog::log(const QString &line)
{
    if (!m_window.isActive())
        m_window.start();
    if (m_logged < MaxLinesPerSecond) {
        ++m_logged;
        logLine(line);
    } else {
        ++m_suppressed;
    }
}

void RefusalLog::endWindow()
{
    m_logged = 0;
    if (m_suppressed == 0)
        return;
    logLine(QStringLiteral("%1 more refused connections").arg(m_suppressed));
    m_suppressed = 0;
    m_window.start(); // so that the next count comes a second later at the earliest
}

} // namespace pexi
