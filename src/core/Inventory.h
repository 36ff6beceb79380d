#pragma once

#include "core/HostnameInfo.h"
#include "core/InventoryItem.h"

#include <QCollator>
#include <QHash>
#include <QList>

#include <memory>
#include <vector>

namespace pexi {

class VaultWriter;

enum class UpsertReturnVal { inserted, updated, merged };

// The unlocked collection of items. Only reachable inside Locker::runWithInventory().
//
// Order everywhere is the inventory order: title compared case- and accent-insensitively,
// then uuid. Deleted items are tombstones: kept (sync needs them), never listed or found.
// Each item's folded text and registrable domain are computed once, when it is loaded or
// changed, so neither search nor host lookup parses or decrypts anything.
class Inventory
{
public:
    // `writer` persists every change before the call that made it returns.
    explicit Inventory(VaultWriter &writer);
    ~Inventory();
    Inventory(const Inventory &) = delete;
    Inventory &operator=(const Inventory &) = delete;

    QList<InventoryItem> itemList() const;
    // Items whose title, username or site contains `text` (trimmed; case and accents ignored).
    QList<InventoryItem> search(const QString &text) const;
    // Items whose site shares the host's registrable domain, as HostnameInfo::matches() would say.
    QList<InventoryItem> itemsMatchingHost(const HostnameInfo &host) const;
    bool containsLogin(const QString &username, const QString &site, const QString &password) const;
    std::optional<InventoryItem> item(const QString &uuid) const;
    int count() const;

    // Same uuid: that item is replaced. preserveTitle with no uuid match: an item for the same
    // registrable site and username takes the new password and time and keeps its title.
    // Otherwise the item is added. Throws VaultError when it cannot be saved; nothing changes then.
    UpsertReturnVal upsert(const InventoryItem &item, bool preserveTitle = false);
    // Adds new items (bulk import) in one write; all or nothing.
    void add(const QList<InventoryItem> &items);
    // Marks the item deleted (a tombstone). Unknown uuids are ignored.
    void deleteItem(const QString &uuid);

    // Loading and sync: puts items as read from the vault, without writing them back.
    void load(const QList<InventoryItem> &items);

private:
    struct Entry;

    void put(const InventoryItem &item);
    void save(const QList<InventoryItem> &items);
    const std::vector<const Entry *> &ordered() const;
    const Entry *findSameLogin(const InventoryItem &item) const;
    static bool listedBefore(const Entry *a, const Entry *b);

    VaultWriter &m_writer;
    QCollator m_collator;
    QHash<QString, std::shared_ptr<Entry>> m_entries;
    QHash<QString, QList<const Entry *>> m_byDomain;
    mutable std::vector<const Entry *> m_order;
    mutable bool m_orderDirty = true;
};

} // namespace pexi
