#pragma once

#include <QCache>
#include <QFont>
#include <QString>
#include <QTextLayout>

class QPainter;

namespace pexi {

// Lines of plain text in one font, each shaped once, cut with an ellipsis to a width, and drawn
// from that layout afterwards. Shaping a line of Inter costs more than drawing its glyphs, and
// the rows a search keystroke or a scroll shows were often painted moments before. Holds at most
// `capacity` lines, the least recently drawn going first; a new width starts afresh.
class ElidedTextCache
{
public:
    ElidedTextCache(const QFont &font, int capacity);

    // Draws `text` in the painter's pen from `baseline`: whole when it fits in `width`, else cut
    // at the right with an ellipsis, exactly as QPainter::drawText would draw that text.
    void draw(QPainter *painter, QPoint baseline, const QString &text, int width);

private:
    const QTextLayout &line(const QString &text, int width);
    QTextLayout *laidOut(const QString &text) const;

    const QFont m_font;
    const qreal m_ascent;
    int m_width = -1;
    QCache<QString, QTextLayout> m_lines;
};

} // namespace pexi
