#include "ui/PaddedLabel.h"

#include <QPainter>

namespace pexi {

PaddedLabel::PaddedLabel(const QString &text, QWidget *parent) : QLabel(text, parent)
{
}

void PaddedLabel::setPadding(const QMargins &padding)
{
    setContentsMargins(padding);
}

void PaddedLabel::setCornerRadius(qreal radius)
{
    m_cornerRadius = radius;
    update();
}

void PaddedLabel::setFillColor(const QColor &color)
{
    m_fillColor = color;
    update();
}

void PaddedLabel::paintEvent(QPaintEvent *event)
{
    if (m_fillColor.isValid()) {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(m_fillColor);
        painter.drawRoundedRect(rect(), m_cornerRadius, m_cornerRadius);
    }
    QLabel::paintEvent(event);
}

} // namespace pexi
