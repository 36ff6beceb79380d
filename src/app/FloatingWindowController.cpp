#include "app/FloatingWindowController.h"

#include "app/FloatingWindow.h"

#include <QGuiApplication>
#include <QScreen>

#include <algorithm>

namespace pexi {

QRect FloatingWindowController::frameFor(const QRect &screen, QPointF anchor, QSize size,
                                         int buffer)
{
    const int left = qRound(anchor.x() - 0.5 * size.width());
    const int x = std::min(std::max(left, screen.x() + buffer),
                           screen.x() + screen.width() - size.width() - buffer);
    const int top = qRound(anchor.y());
    const int y = std::max(std::min(top, screen.y() + screen.height() - size.height() - buffer),
                           screen.y() + buffer);
    return {QPoint(x, y), size};
}

bool FloatingWindowController::canPlaceWindows()
{
    return !QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

FloatingWindowController::~FloatingWindowController()
{
    delete m_window;
}

void FloatingWindowController::show(QWidget *contentViewController, QPointF anchor,
                                    bool keepPosition)
{
    show(new FloatingWindow(contentViewController), anchor, keepPosition);
}

void FloatingWindowController::show(FloatingWindow *window, QPointF anchor, bool keepPosition)
{
    QScreen *screen = QGuiApplication::screenAt(anchor.toPoint());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    if (!keepPosition && screen && canPlaceWindows())
        window->move(frameFor(screen->availableGeometry(), anchor, window->size()).topLeft());
    // Showing raises it too: Qt raises a tool window as it maps it.
    window->show();
    window->activateWindow();
    // Only now: closing the previous window first could leave none of ours with the focus for
    // a moment, which would close the new one too.
    if (m_window)
        m_window->close();
    m_window = window;
}

} // namespace pexi
