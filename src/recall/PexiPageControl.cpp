#include "recall/PexiPageControl.h"

#include "ui/Appearance.h"

#include <QPainter>

namespace pexi {

namespace {

constexpr int dotSize = 8;

QPixmap dot(const QColor &color, qreal devicePixelRatio)
{
    QPixmap pixmap(QSize(dotSize, dotSize) * devicePixelRatio);
    pixmap.setDevicePixelRatio(devicePixelRatio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawEllipse(QRectF(0, 0, dotSize, dotSize));
    return pixmap;
}

} // namespace

PexiPageControl::PexiPageControl(QWidget *parent) : PageControl(parent)
{
    setIndicatorSize({dotSize, dotSize});
    paintDots();
    connect(&Appearance::instance(), &Appearance::changed, this, &PexiPageControl::paintDots);
}

void PexiPageControl::paintDots()
{
    const qreal ratio = devicePixelRatioF();
    const Appearance &appearance = Appearance::instance();
    setSelectedImage(dot(appearance.color(Appearance::Color::Accent), ratio));
    setUnselectedImage(dot(appearance.color(Appearance::Color::Border), ratio));
}

} // namespace pexi
