#include "inventory/InventoryItemDelegate.h"

#include "inventory/InventoryListModel.h"
#include "ui/Appearance.h"
#include "ui/Icons.h"

#include <QMouseEvent>
#include <QPainter>

namespace pexi {

namespace {

constexpr int margin = 14;
constexpr int buttonSize = 28;
constexpr int iconSize = 20;
// The user name is tucked under the title: the two lines overlap a little by design.
constexpr int lineOverlap = 2;
// Titles, and user names, kept laid out: several screens of rows.
constexpr int cachedLines = 200;

} // namespace

InventoryItemDelegate::InventoryItemDelegate(QObject *parent)
    : QStyledItemDelegate(parent), m_titleMetrics(Appearance::mediumFont(13)),
      m_usernameMetrics(Appearance::regularFont(12)),
      m_titles(Appearance::mediumFont(13), cachedLines),
      m_usernames(Appearance::regularFont(12), cachedLines)
{
}

QRect InventoryItemDelegate::menuButtonRect(const QRect &row)
{
    return {row.right() - margin / 2 - buttonSize + 1, row.center().y() - buttonSize / 2 + 1,
            buttonSize, buttonSize};
}

void InventoryItemDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                                  const QModelIndex &index) const
{
    const Appearance &appearance = Appearance::instance();
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (option.state & QStyle::State_MouseOver)
        painter->fillRect(option.rect, appearance.color(Appearance::Color::Selection));

    const QRect button = menuButtonRect(option.rect);
    const QRect text(option.rect.left() + margin, option.rect.top(),
                     button.left() - option.rect.left() - margin - 4, option.rect.height());
    const QString title = index.data(Qt::DisplayRole).toString();
    const QString username = index.data(InventoryListModel::UsernameRole).toString();
    const int height = m_titleMetrics.height() +
                       (username.isEmpty() ? 0 : m_usernameMetrics.height() - lineOverlap);
    const int top = text.top() + (text.height() - height) / 2;
    painter->setPen(appearance.color(Appearance::Color::Text));
    m_titles.draw(painter, QPoint(text.left(), top + m_titleMetrics.ascent()), title, text.width());
    if (!username.isEmpty()) {
        painter->setPen(appearance.color(Appearance::Color::SecondaryText));
        m_usernames.draw(painter,
                         QPoint(text.left(), top + m_titleMetrics.height() - lineOverlap +
                                                 m_usernameMetrics.ascent()),
                         username, text.width());
    }

    const QRect icon(button.center() - QPoint(iconSize / 2, iconSize / 2),
                     QSize(iconSize, iconSize));
    painter->drawPixmap(icon, menuIcon(appearance.color(Appearance::Color::SecondaryText),
                                       painter->device()->devicePixelRatioF()));
    painter->restore();
}

// Drawn once per colour and pixel density rather than for every row painted.
const QPixmap &InventoryItemDelegate::menuIcon(const QColor &color, qreal ratio) const
{
    if (m_menuIcon.isNull() || m_menuIconColor != color || m_menuIcon.devicePixelRatio() != ratio) {
        m_menuIcon =
            tintedPixmap(QStringLiteral("iconMore"), color, QSize(iconSize, iconSize), ratio);
        m_menuIconColor = color;
    }
    return m_menuIcon;
}

QSize InventoryItemDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const
{
    return {option.rect.width(), rowHeight};
}

bool InventoryItemDelegate::editorEvent(QEvent *event, QAbstractItemModel *,
                                        const QStyleOptionViewItem &option,
                                        const QModelIndex &index)
{
    // The view hands over a release only when the press was on the same row: a click.
    if (event->type() != QEvent::MouseButtonRelease)
        return false;
    const auto *mouse = static_cast<QMouseEvent *>(event);
    if (mouse->button() != Qt::LeftButton)
        return false;
    if (menuButtonRect(option.rect).contains(mouse->position().toPoint()))
        emit menuButtonClicked(index);
    else
        emit itemClicked(index);
    return true;
}

} // namespace pexi
