#include "app/SettingsPopupMenuWindow.h"

#include <QKeyEvent>
#include <QPainter>
#include <QVBoxLayout>

namespace pexi {

SettingsPopupMenuWindow::SettingsPopupMenuWindow(QWidget *content)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setAccessibleName(content->accessibleName());
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(1, 1, 1, 1);
    layout->addWidget(content);
    setMinimumWidth(220);
}

void SettingsPopupMenuWindow::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::ActivationChange && !isActiveWindow())
        close();
    QWidget::changeEvent(event);
}

void SettingsPopupMenuWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        close();
    else
        QWidget::keyPressEvent(event);
}

void SettingsPopupMenuWindow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Window));
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

} // namespace pexi
