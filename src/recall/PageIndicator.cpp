#include "recall/PageIndicator.h"

#include <QPainter>

namespace pexi {

PageIndicator::PageIndicator(QWidget *parent) : QAbstractButton(parent)
{
    setCheckable(true);
}

QSize PageIndicator::sizeHint() const
{
    // The room a flat tool button gave the same icon.
    return iconSize() + QSize(3, 3);
}

void PageIndicator::paintEvent(QPaintEvent *)
{
    const QSize size = iconSize();
    const QPixmap dot = icon().pixmap(size, devicePixelRatioF(), QIcon::Normal,
                                      isChecked() ? QIcon::On : QIcon::Off);
    QPainter painter(this);
    painter.drawPixmap(
        QRect(QPoint((width() - size.width()) / 2, (height() - size.height()) / 2), size), dot);
}

} // namespace pexi
