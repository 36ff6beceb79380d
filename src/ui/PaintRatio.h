#pragma once

#include <QPaintDevice>
#include <QPaintEngine>
#include <QPainter>

#include <cmath>

namespace pexi {

// The pixel ratio of what `painter` draws on: the screen's when a widget paints itself, the
// image's when the widget is rendered into one (QPainter::device() names the widget then).
// What a widget keeps drawn is drawn at this ratio, so that it stays crisp either way.
inline qreal paintRatio(QPainter &painter)
{
    return painter.paintEngine()->paintDevice()->devicePixelRatioF();
}

// The device pixels that cover `size` at `ratio`: rounded up, so that a picture kept at a
// fractional ratio leaves no strip of its widget unpainted.
inline QSize deviceSize(QSizeF size, qreal ratio)
{
    return {int(std::ceil(size.width() * ratio)), int(std::ceil(size.height() * ratio))};
}

} // namespace pexi
