#pragma once

#include "core/InventoryItem.h"

#include <QList>

namespace pexi {

// Persists changed items; the inventory calls it before it changes anything in memory.
class VaultWriter
{
public:
    virtual ~VaultWriter() = default;
    // All items in one transaction. Throws VaultError; then nothing was written.
    virtual void saveItems(const QList<InventoryItem> &items) = 0;
};

} // namespace pexi
