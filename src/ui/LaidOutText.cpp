#include "ui/LaidOutText.h"

#include "ui/PaintRatio.h"

#include <QPainter>
#include <QStaticText>
#include <QTransform>

namespace pexi {

void LaidOutText::prepare(const QString &text, const QFont &font, const QColor &color, qreal ratio)
{
    if (m_ratio == ratio && m_text == text && m_font == font && m_color == color.rgba())
        return;
    m_text = text;
    m_font = font;
    m_color = color.rgba();
    m_ratio = ratio;
    QStaticText laidOut(text);
    laidOut.setTextFormat(Qt::PlainText);
    laidOut.prepare(QTransform(), font);
    m_size = deviceSize(laidOut.size(), 1);
    m_drawn = QPixmap(deviceSize(m_size + QSize(2 * margin, 2 * margin), ratio));
    m_drawn.setDevicePixelRatio(ratio);
    m_drawn.fill(Qt::transparent);
    QPainter painter(&m_drawn);
    painter.setFont(font);
    painter.setPen(color);
    painter.drawStaticText(QPointF(margin, margin), laidOut);
}

void LaidOutText::paint(QPainter &painter, QPoint topLeft) const
{
    painter.drawPixmap(topLeft - QPoint(margin, margin), m_drawn);
}

} // namespace pexi
