#include "app/RoundedCorners.h"

#include <QPainter>
#include <QPainterPath>

#include <functional>

namespace pexi {

RoundedCorners::RoundedCorners(int radius, QWidget *window) : QWidget(window), m_radius(radius)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
}

const RoundedCorners::Tiles &RoundedCorners::tiles(qreal ratio, QRgb outline) const
{
    // Every window of ours has the same corners: one set serves them all.
    static Tiles drawn;
    if (drawn.radius == m_radius && drawn.ratio == ratio && drawn.outline == outline)
        return drawn;
    const int side = 2 * (m_radius + 1);
    const QRectF frame = QRectF(0, 0, side, side).adjusted(0.5, 0.5, -0.5, -0.5);
    QPainterPath outside;
    outside.addRect(0, 0, side, side);
    // Filled odd-even, the rectangle around the outline is what lies outside it.
    outside.addRoundedRect(frame, m_radius, m_radius);
    const auto draw = [&](const std::function<void(QPainter &)> &paint) {
        QImage image(QSize(side, side) * ratio, QImage::Format_ARGB32_Premultiplied);
        image.setDevicePixelRatio(ratio);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        paint(painter);
        return image;
    };
    drawn.radius = m_radius;
    drawn.ratio = ratio;
    drawn.outline = outline;
    drawn.outside = draw([&](QPainter &painter) { painter.fillPath(outside, Qt::black); });
    drawn.arcs = draw([&](QPainter &painter) {
        painter.setPen(QPen(QColor::fromRgba(outline), 1));
        painter.drawRoundedRect(frame, m_radius, m_radius);
    });
    return drawn;
}

void RoundedCorners::paintEvent(QPaintEvent *)
{
    const QColor outline = palette().color(QPalette::Mid);
    const qreal ratio = devicePixelRatioF();
    const Tiles &corners = tiles(ratio, outline.rgba());
    const int quarter = m_radius + 1;
    const QSize corner(quarter, quarter);
    QPainter painter(this);
    // Each corner of the window from the same corner of the tiles.
    for (const QPoint &from : {QPoint(0, 0), QPoint(1, 0), QPoint(0, 1), QPoint(1, 1)}) {
        const QRect target(QPoint(from.x() * (width() - quarter), from.y() * (height() - quarter)),
                           corner);
        const QRectF source(QPointF(from.x() * quarter, from.y() * quarter) * ratio,
                            QSizeF(corner) * ratio);
        painter.setCompositionMode(QPainter::CompositionMode_DestinationOut);
        painter.drawImage(target, corners.outside, source);
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
        painter.drawImage(target, corners.arcs, source);
    }
    // The straight edges between the corners, a pixel wide on the window's edge.
    painter.fillRect(QRect(quarter, 0, width() - 2 * quarter, 1), outline);
    painter.fillRect(QRect(quarter, height() - 1, width() - 2 * quarter, 1), outline);
    painter.fillRect(QRect(0, quarter, 1, height() - 2 * quarter), outline);
    painter.fillRect(QRect(width() - 1, quarter, 1, height() - 2 * quarter), outline);
}

} // namespace pexi
