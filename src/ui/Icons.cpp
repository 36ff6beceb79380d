#include "ui/Icons.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>

namespace pexi {

namespace {

QString iconPath(const QString &name)
{
    return QStringLiteral(":/icons/") + name + QStringLiteral(".svg");
}

// The shape filled with `color`, at `pixels` device pixels.
QPixmap tinted(const QIcon &shape, const QColor &color, const QSize &pixels)
{
    QPixmap pixmap = shape.pixmap(pixels, 1.0);
    QPainter painter(&pixmap);
    // Keeps the shape, takes the colour.
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(pixmap.rect(), color);
    return pixmap;
}

// Reads the colour when asked for a picture, not when made: the palette may have changed since.
class TintedIconEngine : public QIconEngine
{
public:
    explicit TintedIconEngine(const QIcon &shape) : m_shape(shape) {}

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State) override
    {
        const QPalette palette = QGuiApplication::palette();
        const QColor color = mode == QIcon::Selected ? palette.color(QPalette::HighlightedText)
                             : mode == QIcon::Disabled
                                 ? palette.color(QPalette::Disabled, QPalette::Text)
                                 : palette.color(QPalette::Text);
        return tinted(m_shape, color, size);
    }
    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override
    {
        const qreal ratio = painter->device()->devicePixelRatioF();
        QPixmap picture = pixmap(rect.size() * ratio, mode, state);
        picture.setDevicePixelRatio(ratio);
        painter->drawPixmap(rect.topLeft(), picture);
    }
    QIconEngine *clone() const override { return new TintedIconEngine(m_shape); }
    QString key() const override { return QStringLiteral("pexi-tinted"); }
    bool isNull() override { return m_shape.isNull(); }

private:
    QIcon m_shape;
};

} // namespace

QIcon tintedIcon(const QString &name)
{
    const QIcon shape(iconPath(name));
    return shape.isNull() ? QIcon() : QIcon(new TintedIconEngine(shape));
}

QPixmap tintedPixmap(const QString &name, const QColor &color, const QSize &size, qreal ratio)
{
    QPixmap pixmap = tinted(QIcon(iconPath(name)), color, size * ratio);
    pixmap.setDevicePixelRatio(ratio);
    return pixmap;
}

} // namespace pexi
