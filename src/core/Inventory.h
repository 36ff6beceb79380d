#pragma once

#include "core/HostnameInfo.h"
#include "core/InventoryChange.h"
#include "core/InventoryItem.h"

#include <QCollator>
#include <QHash>
#include <QList>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace pexi {

class VaultWriter;

enum class UpsertReturnVal { inserted, updated, merged };

// The unlocked collection of items. Only reachable inside Locker::runWithInventory().
//
// Order everywhere is the inventory order: title compared case- and accent-insensitively,
// then uuid. Deleted items are tombstones: kept (sync needs them), never listed or found.
// Each item's folded text, sort key and registrable domain are computed once, when it is loaded
// or changed, and the order is kept up to date by each change, so neither listing, search nor
// host lookup parses, sorts or decrypts anything.
class Inventory
{
public:
    using ChangeListener = std::function<void(const InventoryChange &change)>;

    // `writer` persists every change before the call that made it returns.
    explicit Inventory(VaultWriter &writer);
    ~Inventory();
    Inventory(const Inventory &) = delete;
    Inventory &operator=(const Inventory &) = delete;

    QList<InventoryItem> itemList() const;
    // Items whose title, username or site contains `text` (trimmed; case and accents ignored).
    QList<InventoryItem> search(const QString &text) const;
    // The same, given `among`: what search() gave for a text that `text` contains, so that each
    // key typed into a search looks only at what the previous one found.
    QList<InventoryItem> search(const QString &text, const QList<InventoryItem> &among) const;
    // Items whose site shares the host's registrable domain, as HostnameInfo::matches() would say.
    QList<InventoryItem> itemsMatchingHost(const HostnameInfo &host) const;
    bool containsLogin(const QString &username, const QString &site, const QString &password) const;
    std::optional<InventoryItem> item(const QString &uuid) const;
    int count() const;
    // What a list that follows the changes needs to place one item among the rows it shows:
    // whether search(text) gives the listed item `uuid`, and whether item `a` comes before item
    // `b` in the inventory order. Unknown uuids match nothing and come last.
    bool matches(const QString &uuid, const QString &text) const;
    bool isListedBefore(const QString &a, const QString &b) const;

    // Same uuid: that item is replaced. preserveTitle with no uuid match: an item for the same
    // registrable site and username takes the new password and time and keeps its title.
    // Otherwise the item is added. Throws VaultError when it cannot be saved; nothing changes then.
    UpsertReturnVal upsert(const InventoryItem &item, bool preserveTitle = false);
    // Adds new items (bulk import) in one write; all or nothing.
    void add(const QList<InventoryItem> &items);
    // Marks the item deleted (a tombstone). Unknown uuids are ignored.
    void deleteItem(const QString &uuid);

    // Loading and sync: puts items as read from the vault, without writing them back. A large
    // batch is prepared on every core.
    void load(const QList<InventoryItem> &items);

    // Told after every change that listed, changed or removed items, whoever made it (a save
    // here, or sync loading what another process wrote), on the thread that made it.
    void setChangeListener(ChangeListener listener);

private:
    struct Entry;
    using EntryPointer = std::shared_ptr<const Entry>;
    // A batch's entries in one allocation, each entry pointing into it and keeping it alive, so
    // that dropping a large inventory frees memory in the order it was taken rather than in hash
    // order: several times quicker for 100k items.
    using EntryBlock = std::vector<std::optional<Entry>>;

    // Entries ready to be put; a large batch also comes as sorted runs of its listed entries.
    struct Batch
    {
        std::shared_ptr<const EntryBlock> entries;
        std::vector<std::vector<const Entry *>> sortedRuns;
    };

    void put(Batch batch);
    void leaveDomainBucket(const Entry *entry);
    void save(const QList<InventoryItem> &items);
    Batch prepare(const QList<InventoryItem> &items) const;
    const Entry *findSameLogin(const InventoryItem &item) const;
    static bool listedBefore(const Entry *a, const Entry *b);

    VaultWriter &m_writer;
    QCollator m_collator;
    QHash<QString, EntryPointer> m_entries;
    QHash<QString, QList<const Entry *>> m_byDomain;
    std::vector<const Entry *> m_order; // the listed entries, in inventory order
    ChangeListener m_changeListener;
};

} // namespace pexi
