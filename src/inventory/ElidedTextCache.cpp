#include "inventory/ElidedTextCache.h"

#include <QFontMetricsF>

namespace pexi {

ElidedTextCache::ElidedTextCache(const QFont &font, int capacity)
    : m_font(font), m_ascent(QFontMetricsF(font).ascent()), m_lines(capacity)
{
}

QStaticText ElidedTextCache::line(const QString &text, int width)
{
    if (width != m_width) {
        m_lines.clear();
        m_width = width;
    }
    if (const QStaticText *cached = m_lines.object(text))
        return *cached;
    auto *line = new QStaticText(laidOut(text));
    // Rounded as QFontMetrics::horizontalAdvance rounds, so that a line is cut exactly where
    // QFontMetrics::elidedText would start cutting it.
    if (qRound(line->size().width()) > width)
        *line = laidOut(QFontMetrics(m_font).elidedText(text, Qt::ElideRight, width));
    m_lines.insert(text, line);
    return *line;
}

QPointF ElidedTextCache::topLeft(QPoint baseline) const
{
    // A laid out line's baseline sits at its exact ascent; QFontMetrics::ascent() is rounded.
    return QPointF(baseline.x(), baseline.y() - m_ascent);
}

QStaticText ElidedTextCache::laidOut(const QString &text) const
{
    QStaticText line(text);
    line.setTextFormat(Qt::PlainText);
    line.prepare(QTransform(), m_font);
    return line;
}

} // namespace pexi
