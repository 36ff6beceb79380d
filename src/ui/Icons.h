#pragma once

#include <QIcon>
#include <QPixmap>
#include <QString>

class QColor;
class QSize;

namespace pexi {

// The screens' icons: monochrome SVGs in ui/icons, named as the screens name them ("iconCopy",
// "lock"). Only their shape counts; they are drawn in a colour of the palette, so one drawing
// serves light and dark.

// Follows the application palette as it is when drawn: the text colour, white on a highlight
// (QIcon::Selected), the disabled text colour when disabled. A dark-mode switch repaints the
// widgets and with them their icons, so nobody has to set the icon again. Null when no icon has
// that name.
QIcon tintedIcon(const QString &name);

// For a widget that paints in a palette of its own: the icon in `color`, `size` device-independent
// pixels at `ratio`.
QPixmap tintedPixmap(const QString &name, const QColor &color, const QSize &size, qreal ratio);

} // namespace pexi
