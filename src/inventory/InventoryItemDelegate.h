#pragma once

#include "inventory/ElidedTextCache.h"

#include <QColor>
#include <QFontMetrics>
#include <QPixmap>
#include <QStyledItemDelegate>

namespace pexi {

// Paints one row of the password list: the title, the user name under it when there is one, and
// the menu button at the right. Rows are painted, never made into widgets, so that a list of
// 100,000 costs what is on screen. A click on a row reports the row's index: as the menu
// button's when it hit the button, as the row's otherwise.
class InventoryItemDelegate : public QStyledItemDelegate
{
    Q_OBJECT
public:
    static constexpr int rowHeight = 44;

    explicit InventoryItemDelegate(QObject *parent = nullptr);

    // The menu button's square within a row's rectangle.
    static QRect menuButtonRect(const QRect &row);

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    bool editorEvent(QEvent *event, QAbstractItemModel *model, const QStyleOptionViewItem &option,
                     const QModelIndex &index) override;

signals:
    void itemClicked(const QModelIndex &index);
    void menuButtonClicked(const QModelIndex &index);

private:
    const QPixmap &menuIcon(const QColor &color, qreal ratio) const;

    const QFontMetrics m_titleMetrics;
    const QFontMetrics m_usernameMetrics;
    mutable ElidedTextCache m_titles;
    mutable ElidedTextCache m_usernames;
    mutable QPixmap m_menuIcon;
    mutable QColor m_menuIconColor;
};

} // namespace pexi
