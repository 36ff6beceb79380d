#include "recall/RecallCollectionViewItem.h"

#include "core/PictureLibrary.h"

#include <QPainter>
#include <QPainterPath>

namespace pexi {

namespace {

constexpr int boxRadius = 8;
constexpr int pictureMargin = 10;

QColor accent(qreal alpha)
{
    QColor color(0x00, 0x7a, 0xff);
    color.setAlphaF(alpha);
    return color;
}

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
    m_borderColor = accent(0.3);
    m_borderWidth = 3;
    setChecked(true);
    update();
}

void RecallCollectionViewItem::showUnselected()
{
    m_borderColor = accent(0);
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
    painter.setBrush(palette().color(QPalette::Base));
    painter.drawRoundedRect(box, boxRadius, boxRadius);

    const int side = std::min(width(), height()) - 2 * pictureMargin;
    if (side > 0) {
        const QImage &image = picture(side);
        if (!image.isNull())
            painter.drawImage(
                QRectF(QPointF(rect().center()) - QPointF(side, side) / 2.0, QSizeF(side, side)),
                image);
    }

    QFont font = painter.font();
    font.setPixelSize(11);
    font.setWeight(QFont::DemiBold);
    painter.setFont(font);
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.drawText(box.adjusted(6, 3, -6, -3), Qt::AlignLeft | Qt::AlignTop, m_letter);

    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(m_borderColor, m_borderWidth));
    const qreal inset = m_borderWidth / 2.0;
    painter.drawRoundedRect(box.adjusted(inset, inset, -inset, -inset), boxRadius, boxRadius);
}

} // namespace pexi
