#pragma once

#include <QCache>
#include <QFont>
#include <QStaticText>
#include <QString>

namespace pexi {

// Lines of plain text in one font, each laid out once, cut with an ellipsis to a width, and drawn
// from that layout afterwards. Shaping a line of Inter costs several times drawing its glyphs,
// and the rows a search keystroke or a scroll shows were mostly painted moments before. Holds at
// most `capacity` lines, the least recently drawn going first; a new width starts afresh.
class ElidedTextCache
{
public:
    ElidedTextCache(const QFont &font, int capacity);

    // `text` as drawn within `width`: whole when it fits, else cut at the right with an ellipsis.
    QStaticText line(const QString &text, int width);
    // The painter draws a line in its own font: set it to this one first.
    const QFont &font() const { return m_font; }
    // Where to draw a line so that its baseline falls on `baseline`.
    QPointF topLeft(QPoint baseline) const;

private:
    QStaticText laidOut(const QString &text) const;

    const QFont m_font;
    const qreal m_ascent;
    int m_width = -1;
    QCache<QString, QStaticText> m_lines;
};

} // namespace pexi
