#include "ui/StaticTextToolButton.h"

#include <QPainter>

namespace pexi {

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
    const QStaticText &laidOut = m_text.in(text(), font());
    QPainter painter(this);
    painter.setFont(font());
    painter.setPen(
        palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::ButtonText));
    const QSizeF size = laidOut.size();
    painter.drawStaticText(
        QPointF(qRound((width() - size.width()) / 2), qRound((height() - size.height()) / 2)),
        laidOut);
}

} // namespace pexi
