#pragma once

#include <QPointF>
#include <QRect>
#include <QStringList>

#include <optional>

namespace pexi {

// What a launch asks of the worker, and where the window it opens hangs from.
namespace Launch {

// Whether the window opens once launch finishes: exactly when the first argument after the
// program is the launch command "open_window".
bool showsWindow(const QStringList &arguments);

// The middle of the primary screen, 100 pixels below its top; the mouse position without a
// screen.
QPointF position(std::optional<QRect> primaryScreen, QPointF mouse);
// The same for this desktop, as it is now.
QPointF position();

} // namespace Launch

} // namespace pexi
