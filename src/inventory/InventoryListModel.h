#pragma once

#include "core/InventoryChange.h"
#include "core/InventoryItem.h"

#include <QAbstractListModel>
#include <QList>

namespace pexi {

class Inventory;

// The rows of the password list, as the core returns them: all items, or the matches of a
// search. It neither filters nor sorts; a change is placed with the core's own order and match.
class InventoryListModel : public QAbstractListModel
{
    Q_OBJECT
public:
    enum Role { UsernameRole = Qt::UserRole + 1 };

    // Beyond this many uuids a change is cheaper to follow by reading the rows again.
    static constexpr qsizetype largeChange = 64;

    using QAbstractListModel::QAbstractListModel;

    int rowCount(const QModelIndex &parent = {}) const override;
    // Qt::DisplayRole is the title; UsernameRole the user name, empty when absent.
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

    void setRows(const QList<InventoryItem> &rows);
    // Follows `change` row by row, given the inventory after it and the trimmed search text the
    // rows were found with (empty: all items). False when the change is too large to follow that
    // way; the caller reads the rows again then.
    bool apply(const InventoryChange &change, const Inventory &inventory, const QString &search);

    const InventoryItem &item(int row) const { return m_rows.at(row); }
    const QList<InventoryItem> &rows() const { return m_rows; }
    // The first row of the item with this uuid, or -1.
    int rowOf(const QString &uuid) const;

private:
    void remove(int row);
    void place(const InventoryItem &item, const Inventory &inventory);
    int position(const QString &uuid, const Inventory &inventory) const;
    bool inPlace(int row, const Inventory &inventory) const;

    QList<InventoryItem> m_rows;
};

} // namespace pexi
