#pragma once

#include "app/FloatingWindow.h"

#include <QObject>
#include <QPointF>
#include <QPointer>
#include <QRect>

namespace pexi {

// Shows a screen in a new floating window hanging from a point, centred on it and kept clear of
// the screen's edges. Each showing makes a new window; the one before goes.
class FloatingWindowController : public QObject
{
    Q_OBJECT
public:
    // The least distance kept between the window and the edges of its screen.
    static constexpr int screenEdgeBuffer = 10;

    // Where a window of `size` hanging from `anchor` goes on `screen`: centred horizontally on
    // the anchor, its top at the anchor, `buffer` away from every edge; where it cannot be, the
    // right and the top edges win.
    static QRect frameFor(const QRect &screen, QPointF anchor, QSize size,
                          int buffer = screenEdgeBuffer);
    // False on Wayland, where the compositor alone places a client's windows.
    static bool canPlaceWindows();

    using QObject::QObject;
    ~FloatingWindowController() override;

    // `keepPosition` leaves the window where the window system puts it.
    void show(QWidget *contentViewController, QPointF anchor, bool keepPosition = false);
    // The same for a window made earlier and never shown.
    void show(FloatingWindow *window, QPointF anchor, bool keepPosition = false);
    FloatingWindow *window() const { return m_window; }

private:
    QPointer<FloatingWindow> m_window;
};

} // namespace pexi
