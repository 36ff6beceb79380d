#include "ui/StaticTextToolButton.h"

#include <QPainter>

namespace pexi {

StaticTextToolButton::StaticTextToolButton(QWidget *parent) : QToolButton(parent)
{
    m_laidOut.setTextFormat(Qt::PlainText);
    m_laidOut.setPerformanceHint(QStaticText::AggressiveCaching);
}

bool StaticTextToolButton::isAtRest() const
{
    return autoRaise() && icon().isNull() && !underMouse() && !isDown() && !isChecked() &&
           !hasFocus() && !menu();
}

void StaticTextToolButton::paintEvent(QPaintEvent *event)
{
    if (!isAtRest()) {
        QToolButton::paintEvent(event);
        return;
    }
    if (m_text != text() || m_font != font()) {
        m_text = text();
        m_font = font();
        m_laidOut.setText(m_text);
        m_laidOut.prepare(QTransform(), m_font);
    }
    QPainter painter(this);
    painter.setFont(m_font);
    painter.setPen(
        palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::ButtonText));
    const QSizeF size = m_laidOut.size();
    painter.drawStaticText(
        QPointF(qRound((width() - size.width()) / 2), qRound((height() - size.height()) / 2)),
        m_laidOut);
}

} // namespace pexi
