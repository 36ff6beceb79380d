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
    m_text.prepare(
        text(), font(),
        palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::ButtonText),
        paintRatio(painter));
    const QSize size = m_text.size();
    m_text.paint(painter, {qRound((width() - size.width()) / 2.0),
                           qRound((height() - size.height()) / 2.0)});
}

} // namespace pexi
