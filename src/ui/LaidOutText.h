#pragma once

#include <QColor>
#include <QFont>
#include <QPixmap>

namespace pexi {

// One line of plain text drawn once and kept until its text, font, colour or pixel ratio
// changes: Qt's widgets shape and draw their text anew on every paint, which for short texts
// costs more than putting a finished picture of them on the screen.
class LaidOutText
{
public:
    // The text in `font` and `color`, at `ratio` device pixels a pixel; drawn again only when
    // one of those differs from the last call.
    const QPixmap &drawn(const QString &text, const QFont &font, const QColor &color, qreal ratio);

private:
    QPixmap m_drawn;
    // What `m_drawn` was drawn from.
    QString m_text;
    QFont m_font;
    QRgb m_color = 0;
};

} // namespace pexi
