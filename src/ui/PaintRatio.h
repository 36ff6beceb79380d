#pragma once

#include <QPaintDevice>
#include <QPaintEngine>
#include <QPainter>

namespace pexi {

// The pixel ratio of what `painter` draws on: the screen's when a widget paints itself, the
// image's when the widget is rendered into one (QPainter::device() names the widget then).
// What a widget keeps drawn is drawn at this ratio, so that it stays crisp either way.
inline qreal paintRatio(QPainter &painter)
{
    return painter.paintEngine()->paintDevice()->devicePixelRatioF();
}

} // namespace pexi
