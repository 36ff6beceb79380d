#pragma once

#include <QImage>
#include <QWidget>

namespace pexi {

// Laid over everything in a window: clears what the screens painted outside the rounded
// outline and draws the outline. Screens fill their rectangles, so the rounding cannot be left
// to the window's own background.
class RoundedCorners : public QWidget
{
    Q_OBJECT
public:
    RoundedCorners(int radius, QWidget *window);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    // A window of two corners' width and height, its four corners drawn: what lies outside the
    // outline (its alpha is what to clear) and the outline. Each corner of a window of any size
    // is a quarter of these; drawn once per colour and pixel ratio, as drawing the curves anew
    // cost more than the rest of the window's first paint.
    struct Tiles
    {
        int radius = 0;
        qreal ratio = 0;
        QRgb outline = 0;
        QImage outside;
        QImage arcs;
    };
    const Tiles &tiles(qreal ratio, QRgb outline) const;

    int m_radius;
};

} // namespace pexi
