#pragma once

#include <QMetaType>
#include <QStringList>

namespace pexi {

// What one change to the inventory did, by item uuid. An item that is deleted is "removed"; one
// that was listed before and after is "changed".
struct InventoryChange
{
    QStringList added;
    QStringList changed;
    QStringList removed;

    bool isEmpty() const { return added.isEmpty() && changed.isEmpty() && removed.isEmpty(); }
    bool operator==(const InventoryChange &) const = default;
};

} // namespace pexi

Q_DECLARE_METATYPE(pexi::InventoryChange)
