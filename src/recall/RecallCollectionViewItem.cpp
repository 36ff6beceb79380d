#include "recall/RecallCollectionViewItem.h"

#include "core/PictureLibrary.h"
#include "ui/Appearance.h"

#include <QPainter>

namespace pexi {

namespace {

constexpr int boxRadius = 8;
constexpr int pictureMargin = 10;

// The pick is drawn in the accent colour, faint enough for the picture to stay the thing seen.
constexpr qreal selectedAlpha = 0.3;
constexpr int selectedWidth = 3;

} // namespace

void RecallCollectionViewItem::showSelected()
{
    m_selected = true;
    m_borderAlpha = selectedAlpha;
    m_borderWidth = selectedWidth;
}

void RecallCollectionViewItem::showUnselected()
{
    m_selected = false;
    m_borderAlpha = 0;
    m_borderWidth = 1;
}

void RecallCollectionViewItem::paint(QPainter &painter, const QRect &cell) const
{
    const Appearance &appearance = Appearance::instance();
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF box = QRectF(cell).adjusted(1.5, 1.5, -1.5, -1.5);
    painter.setPen(Qt::NoPen);
    painter.setBrush(appearance.color(Appearance::Color::Surface));
    painter.drawRoundedRect(box, boxRadius, boxRadius);

    const int side = std::min(cell.width(), cell.height()) - 2 * pictureMargin;
    if (side > 0 && !m_pictureName.isEmpty()) {
        const qreal ratio = painter.device()->devicePixelRatioF();
        QImage picture = PictureLibrary::render(m_pictureName, qRound(side * ratio));
        picture.setDevicePixelRatio(ratio);
        if (!picture.isNull())
            painter.drawImage(
                QRectF(QPointF(cell.center()) - QPointF(side, side) / 2.0, QSizeF(side, side)),
                picture);
    }

    painter.setFont(Appearance::mediumFont(11));
    painter.setPen(appearance.color(Appearance::Color::SecondaryText));
    painter.drawText(box.adjusted(6, 3, -6, -3), Qt::AlignLeft | Qt::AlignTop, m_letter);
    painter.restore();
}

void RecallCollectionViewItem::paintPick(QPainter &painter, const QRect &cell) const
{
    if (m_borderAlpha == 0)
        return;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QColor border = Appearance::instance().color(Appearance::Color::Accent);
    border.setAlphaF(m_borderAlpha);
    painter.setPen(QPen(border, m_borderWidth));
    painter.setBrush(Qt::NoBrush);
    const qreal inset = 1.5 + m_borderWidth / 2.0;
    painter.drawRoundedRect(QRectF(cell).adjusted(inset, inset, -inset, -inset), boxRadius,
                            boxRadius);
    painter.restore();
}

} // namespace pexi
