#include "recall/RecallCollectionViewItem.h"

#include "core/PictureLibrary.h"
#include "ui/Appearance.h"

#include <QPainter>
#include <QPainterPath>

namespace pexi {

namespace {

constexpr int boxRadius = 8;
constexpr int pictureMargin = 10;

// The pick is drawn in the accent colour, faint enough for the picture to stay the thing seen.
constexpr qreal selectedAlpha = 0.3;
constexpr int selectedWidth = 3;

} // namespace

RecallCollectionViewItem::RecallCollectionViewItem(QWidget *parent) : QAbstractButton(parent)
{
    setCheckable(true);
    // The grid keeps the keyboard focus, so its letter keys keep working after a click.
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    showUnselected();
}

void RecallCollectionViewItem::setPictureName(const QString &name)
{
    m_pictureName = name;
    m_picture = {};
    describe();
    update();
}

void RecallCollectionViewItem::setLetter(const QString &letter)
{
    m_letter = letter;
    describe();
    update();
}

void RecallCollectionViewItem::describe()
{
    setAccessibleName(QStringLiteral("Picture %1").arg(m_letter));
    setAccessibleDescription(m_pictureName);
}

void RecallCollectionViewItem::showSelected()
{
    m_borderAlpha = selectedAlpha;
    m_borderWidth = selectedWidth;
    setChecked(true);
    update();
}

void RecallCollectionViewItem::showUnselected()
{
    m_borderAlpha = 0;
    m_borderWidth = 1;
    setChecked(false);
    update();
}

QSize RecallCollectionViewItem::sizeHint() const
{
    return {88, 72};
}

const QImage &RecallCollectionViewItem::picture(int side)
{
    const int pixels = qRound(side * devicePixelRatioF());
    if (!m_pictureName.isEmpty() && m_picture.width() != pixels) {
        m_picture = PictureLibrary::render(m_pictureName, pixels);
        m_picture.setDevicePixelRatio(devicePixelRatioF());
    }
    return m_picture;
}

void RecallCollectionViewItem::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF box = QRectF(rect()).adjusted(1.5, 1.5, -1.5, -1.5);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Appearance::instance().color(Appearance::Color::Surface));
    painter.drawRoundedRect(box, boxRadius, boxRadius);

    const int side = std::min(width(), height()) - 2 * pictureMargin;
    if (side > 0) {
        const QImage &image = picture(side);
        if (!image.isNull())
            painter.drawImage(
                QRectF(QPointF(rect().center()) - QPointF(side, side) / 2.0, QSizeF(side, side)),
                image);
    }

    painter.setFont(Appearance::mediumFont(11));
    painter.setPen(Appearance::instance().color(Appearance::Color::SecondaryText));
    painter.drawText(box.adjusted(6, 3, -6, -3), Qt::AlignLeft | Qt::AlignTop, m_letter);

    QColor border = Appearance::instance().color(Appearance::Color::Accent);
    border.setAlphaF(m_borderAlpha);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(border, m_borderWidth));
    const qreal inset = m_borderWidth / 2.0;
    painter.drawRoundedRect(box.adjusted(inset, inset, -inset, -inset), boxRadius, boxRadius);
}

} // namespace pexi
