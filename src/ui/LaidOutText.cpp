#include "ui/LaidOutText.h"

#include <QPainter>
#include <QStaticText>
#include <QTransform>

#include <cmath>

namespace pexi {

const QPixmap &LaidOutText::drawn(const QString &text, const QFont &font, const QColor &color,
                                  qreal ratio)
{
    if (m_text == text && m_font == font && m_color == color.rgba() &&
        m_drawn.devicePixelRatio() == ratio)
        return m_drawn;
    m_text = text;
    m_font = font;
    m_color = color.rgba();
    QStaticText laidOut(text);
    laidOut.setTextFormat(Qt::PlainText);
    laidOut.prepare(QTransform(), font);
    const QSize size(int(std::ceil(laidOut.size().width())),
                     int(std::ceil(laidOut.size().height())));
    m_drawn = QPixmap(size * ratio);
    m_drawn.setDevicePixelRatio(ratio);
    m_drawn.fill(Qt::transparent);
    if (size.isEmpty())
        return m_drawn;
    QPainter painter(&m_drawn);
    painter.setFont(font);
    painter.setPen(color);
    painter.drawStaticText(QPointF(), laidOut);
    return m_drawn;
}

} // namespace pexi
