#include "ui/CenterAnchor.h"

#include <QEvent>
#include <QWidget>

namespace pexi {

CenterAnchor::CenterAnchor(QWidget *widget, QPoint offset)
    : QObject(widget), m_widget(widget), m_offset(offset)
{
    widget->installEventFilter(this);
    if (widget->parentWidget())
        widget->parentWidget()->installEventFilter(this);
    place();
}

QPoint CenterAnchor::position(const QWidget *widget, QPoint offset)
{
    const QSize area = widget->parentWidget() ? widget->parentWidget()->size() : QSize();
    return QPoint((area.width() - widget->width()) / 2, (area.height() - widget->height()) / 2) +
           offset;
}

void CenterAnchor::place()
{
    m_widget->move(position(m_widget, m_offset));
}

bool CenterAnchor::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize)
        place();
    return QObject::eventFilter(watched, event);
}

} // namespace pexi
