#include "inventory/ElidedTextCache.h"

#include <QFontMetricsF>
#include <QPainter>

namespace pexi {

ElidedTextCache::ElidedTextCache(const QFont &font, int capacity)
    : m_font(font), m_ascent(QFontMetricsF(font).ascent()), m_lines(capacity)
{
}

void ElidedTextCache::draw(QPainter *painter, QPoint baseline, const QString &text, int width)
{
    // A laid out line's baseline sits at its exact ascent; QFontMetrics::ascent() is rounded.
    line(text, width).draw(painter, QPointF(baseline.x(), baseline.y() - m_ascent));
}

const QTextLayout &ElidedTextCache::line(const QString &text, int width)
{
    if (width != m_width) {
        m_lines.clear();
        m_width = width;
    }
    if (const QTextLayout *cached = m_lines.object(text))
        return *cached;
    QTextLayout *line = laidOut(text);
    // Rounded as QFontMetrics::horizontalAdvance rounds: a line is cut exactly where
    // QFontMetrics::elidedText starts cutting it.
    if (qRound(line->lineAt(0).naturalTextWidth()) > width) {
        delete line;
        line = laidOut(QFontMetrics(m_font).elidedText(text, Qt::ElideRight, width));
    }
    m_lines.insert(text, line);
    return *line;
}

QTextLayout *ElidedTextCache::laidOut(const QString &text) const
{
    // A layout ends its line at these where QPainter::drawText goes on; a line feed, which
    // both draw alike, stands in for them.
    QString oneLine = text;
    oneLine.replace(QChar::LineSeparator, u'\n').replace(QChar::ParagraphSeparator, u'\n');
    auto *layout = new QTextLayout(oneLine, m_font);
    layout->setCacheEnabled(true);
    layout->beginLayout();
    layout->createLine();
    layout->endLayout();
    return layout;
}

} // namespace pexi
