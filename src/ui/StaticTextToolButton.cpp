#include "ui/StaticTextToolButton.h"

#include "ui/PaintRatio.h"

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
    QPainter painter(this);
    const QPixmap &drawn = m_text.drawn(
        text(), font(),
        palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::ButtonText),
        paintRatio(painter));
    const QSizeF size = drawn.deviceIndependentSize();
    painter.drawPixmap(
        QPointF(qRound((width() - size.width()) / 2), qRound((height() - size.height()) / 2)),
        drawn);
}

} // namespace pexi
