#include "inventory/InventoryListModel.h"

#include "core/Inventory.h"

#include <algorithm>

namespace pexi {

int InventoryListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant InventoryListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    const InventoryItem &item = m_rows.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        return item.title();
    case UsernameRole:
        return item.username().value_or(QString());
    default:
        return {};
    }
}

void InventoryListModel::setRows(const QList<InventoryItem> &rows)
{
    beginResetModel();
    m_rows = rows;
    endResetModel();
}

bool InventoryListModel::apply(const InventoryChange &change, const Inventory &inventory,
                               const QString &search)
{
    if (change.added.size() + change.changed.size() + change.removed.size() > largeChange)
        return false;
    for (const QString &uuid : change.removed)
        remove(rowOf(uuid));
    for (const QStringList *listed : {&change.changed, &change.added}) {
        for (const QString &uuid : *listed) {
            const std::optional<InventoryItem> item = inventory.item(uuid);
            const bool shown = item && (search.isEmpty() || inventory.matches(uuid, search));
            const int row = rowOf(uuid);
            if (!shown) {
                remove(row);
            } else if (row >= 0 && inPlace(row, inventory)) {
                // Still in its place (the title kept its order): only what it shows changed.
                m_rows[row] = *item;
                emit dataChanged(index(row), index(row));
            } else {
                remove(row);
                place(*item, inventory);
            }
        }
    }
    return true;
}

int InventoryListModel::rowOf(const QString &uuid) const
{
    const auto found = std::find_if(m_rows.cbegin(), m_rows.cend(),
                                    [&](const InventoryItem &row) { return row.uuid() == uuid; });
    return found == m_rows.cend() ? -1 : int(found - m_rows.cbegin());
}

void InventoryListModel::remove(int row)
{
    if (row < 0)
        return;
    beginRemoveRows({}, row, row);
    m_rows.removeAt(row);
    endRemoveRows();
}

void InventoryListModel::place(const InventoryItem &item, const Inventory &inventory)
{
    const int row = position(item.uuid(), inventory);
    beginInsertRows({}, row, row);
    m_rows.insert(row, item);
    endInsertRows();
}

// Where `uuid` goes among the rows, which are in the core's order.
int InventoryListModel::position(const QString &uuid, const Inventory &inventory) const
{
    const auto at =
        std::partition_point(m_rows.cbegin(), m_rows.cend(), [&](const InventoryItem &row) {
            return inventory.isListedBefore(row.uuid(), uuid);
        });
    return int(at - m_rows.cbegin());
}

bool InventoryListModel::inPlace(int row, const Inventory &inventory) const
{
    const QString &uuid = m_rows.at(row).uuid();
    return (row == 0 || inventory.isListedBefore(m_rows.at(row - 1).uuid(), uuid)) &&
           (row + 1 == m_rows.size() || inventory.isListedBefore(uuid, m_rows.at(row + 1).uuid()));
}

} // namespace pexi
