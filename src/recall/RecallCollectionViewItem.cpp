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
    m_face = {};
    describe();
    update();
}

void RecallCollectionViewItem::setLetter(const QString &letter)
{
    m_letter = letter;
    m_face = {};
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

const QPixmap &RecallCollectionViewItem::face()
{
    const qreal ratio = devicePixelRatioF();
    const Appearance &appearance = Appearance::instance();
    const QRgb surface = appearance.color(Appearance::Color::Surface).rgba();
    const QRgb text = appearance.color(Appearance::Color::SecondaryText).rgba();
    if (m_face.deviceIndependentSize() == QSizeF(size()) && m_face.devicePixelRatio() == ratio &&
        m_faceSurface == surface && m_faceText == text)
        return m_face;
    m_face = {};
    if (size().isEmpty())
        return m_face;
    m_faceSurface = surface;
    m_faceText = text;
    m_face = QPixmap(size() * ratio);
    m_face.setDevicePixelRatio(ratio);
    m_face.fill(Qt::transparent);

    QPainter painter(&m_face);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF box = QRectF(rect()).adjusted(1.5, 1.5, -1.5, -1.5);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgba(surface));
    painter.drawRoundedRect(box, boxRadius, boxRadius);

    const int side = std::min(width(), height()) - 2 * pictureMargin;
    if (side > 0 && !m_pictureName.isEmpty()) {
        QImage picture = PictureLibrary::render(m_pictureName, qRound(side * ratio));
        picture.setDevicePixelRatio(ratio);
        if (!picture.isNull())
            painter.drawImage(
                QRectF(QPointF(rect().center()) - QPointF(side, side) / 2.0, QSizeF(side, side)),
                picture);
    }

    painter.setFont(Appearance::mediumFont(11));
    painter.setPen(QColor::fromRgba(text));
    painter.drawText(box.adjusted(6, 3, -6, -3), Qt::AlignLeft | Qt::AlignTop, m_letter);
    return m_face;
}

void RecallCollectionViewItem::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.drawPixmap(0, 0, face());
    if (m_borderAlpha == 0)
        return;
    painter.setRenderHint(QPainter::Antialiasing);
    QColor border = Appearance::instance().color(Appearance::Color::Accent);
    border.setAlphaF(m_borderAlpha);
    painter.setPen(QPen(border, m_borderWidth));
    const qreal inset = 1.5 + m_borderWidth / 2.0;
    painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), boxRadius,
                            boxRadius);
}

} // namespace pexi
