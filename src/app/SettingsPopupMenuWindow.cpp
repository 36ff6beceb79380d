#include "app/SettingsPopupMenuWindow.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QScreen>
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

void SettingsPopupMenuWindow::popUp(const QPoint &anchor)
{
    show();
    adjustSize();
    QRect frame(QPoint(anchor.x() - width(), anchor.y()), size());
    // A menu opened from the last rows of a list near the bottom of the screen goes up instead.
    if (const QScreen *screen = QGuiApplication::screenAt(anchor)) {
        const QRect available = screen->availableGeometry();
        if (frame.bottom() > available.bottom())
            frame.moveBottom(anchor.y());
        frame.moveLeft(qMax(frame.left(), available.left()));
    }
    move(frame.topLeft());
    raise();
    activateWindow();
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
