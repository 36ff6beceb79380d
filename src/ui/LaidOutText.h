#pragma once

#include <QColor>
#include <QFont>
#include <QPixmap>

class QPainter;

namespace pexi {

// One line of plain text drawn once and kept until its text, font, colour or pixel ratio
// changes: Qt's widgets shape and draw their text anew on every paint, which for short texts
// costs more than putting a finished picture of them on the screen. Kept in grey levels: the
// floating window it is used in is translucent, where Qt draws text in grey levels too.
class LaidOutText
{
public:
    // Draws the text again if one of these differs from the last call.
    void prepare(const QString &text, const QFont &font, const QColor &color, qreal ratio);
    // The line's box, as its font lays it out.
    QSize size() const { return m_size; }
    // Puts the line with its box's top left at `topLeft`.
    void paint(QPainter &painter, QPoint topLeft) const;

private:
    // Room around the box for glyphs that reach past it (a slanted letter, a wide accent).
    static constexpr int margin = 2;

    QPixmap m_drawn;
    QSize m_size;
    // What `m_drawn` was drawn from.
    QString m_text;
    QFont m_font;
    QRgb m_color = 0;
    qreal m_ratio = 0;
};

} // namespace pexi
