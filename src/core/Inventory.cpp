#include "core/Inventory.h"

#include "core/VaultWriter.h"

#include <QCollatorSortKey>
#include <QLocale>

#include <algorithm>

namespace pexi {

namespace {

// Case and accents do not matter when ordering or searching: "Éclair" sits with "eclair".
QString fold(const QString &text)
{
    const QString decomposed = text.normalized(QString::NormalizationForm_D);
    QString folded;
    folded.reserve(decomposed.size());
    for (const QChar c : decomposed) {
        if (c.category() != QChar::Mark_NonSpacing)
            folded.append(c);
    }
    return folded.toCaseFolded();
}

std::optional<HostnameInfo> parseHost(const std::optional<QString> &site)
{
    if (!site)
        return std::nullopt;
    try {
        return HostnameInfo::fromString(*site);
    } catch (const HostnameError &) {
        return std::nullopt;
    }
}

// The host a login was typed on; sites that are not hosts compare as typed.
QString siteHost(const QString &site)
{
    try {
        return HostnameInfo::fromString(site).host();
    } catch (const HostnameError &) {
        return site.trimmed().toLower();
    }
}

} // namespace

struct Inventory::Entry
{
    Entry(InventoryItem item, const QCollator &collator)
        : item(std::move(item)), foldedTitle(fold(this->item.title())),
          sortKey(collator.sortKey(foldedTitle)),
          foldedUsername(fold(this->item.username().value_or(QString()))),
          foldedSite(fold(this->item.site().value_or(QString()))),
          typedHost(this->item.site() ? siteHost(*this->item.site()) : QString())
    {
        if (const std::optional<HostnameInfo> host = parseHost(this->item.site()))
            domain = host->matchKey();
    }

    bool listed() const { return !item.deleted(); }

    InventoryItem item;
    QString foldedTitle;
    QCollatorSortKey sortKey;
    QString foldedUsername;
    QString foldedSite;
    QString typedHost;
    QString domain; // empty when the site is missing or not a host
};

bool Inventory::listedBefore(const Entry *a, const Entry *b)
{
    const int byTitle = a->sortKey.compare(b->sortKey);
    return byTitle != 0 ? byTitle < 0 : a->item.uuid() < b->item.uuid();
}

Inventory::Inventory(VaultWriter &writer) : m_writer(writer), m_collator(QLocale())
{
    m_collator.setCaseSensitivity(Qt::CaseInsensitive);
    m_collator.setNumericMode(true);
}

Inventory::~Inventory() = default;

void Inventory::put(const InventoryItem &item)
{
    auto entry = std::make_shared<Entry>(item, m_collator);
    if (const auto previous = m_entries.value(item.uuid())) {
        if (!previous->domain.isEmpty())
            m_byDomain[previous->domain].removeOne(previous.get());
    }
    if (entry->listed() && !entry->domain.isEmpty())
        m_byDomain[entry->domain].append(entry.get());
    m_entries.insert(item.uuid(), std::move(entry));
    m_orderDirty = true;
}

void Inventory::load(const QList<InventoryItem> &items)
{
    for (const InventoryItem &item : items)
        put(item);
}

void Inventory::save(const QList<InventoryItem> &items)
{
    m_writer.saveItems(items); // throws before memory changes when the write fails
    load(items);
}

const std::vector<const Inventory::Entry *> &Inventory::ordered() const
{
    if (m_orderDirty) {
        m_order.clear();
        m_order.reserve(size_t(m_entries.size()));
        for (const auto &entry : m_entries) {
            if (entry->listed())
                m_order.push_back(entry.get());
        }
        std::sort(m_order.begin(), m_order.end(), listedBefore);
        m_orderDirty = false;
    }
    return m_order;
}

QList<InventoryItem> Inventory::itemList() const
{
    QList<InventoryItem> items;
    items.reserve(qsizetype(ordered().size()));
    for (const Entry *entry : ordered())
        items.append(entry->item);
    return items;
}

QList<InventoryItem> Inventory::search(const QString &text) const
{
    const QString needle = fold(text.trimmed());
    QList<InventoryItem> found;
    for (const Entry *entry : ordered()) {
        if (entry->foldedTitle.contains(needle) || entry->foldedUsername.contains(needle) ||
            entry->foldedSite.contains(needle))
            found.append(entry->item);
    }
    return found;
}

QList<InventoryItem> Inventory::itemsMatchingHost(const HostnameInfo &host) const
{
    const auto bucket = m_byDomain.constFind(host.matchKey());
    if (bucket == m_byDomain.constEnd())
        return {};
    // A bucket holds one site's logins: sorting it is cheaper than keeping the whole list
    // ordered after every change.
    QList<const Entry *> entries = *bucket;
    std::sort(entries.begin(), entries.end(), listedBefore);
    QList<InventoryItem> items;
    items.reserve(entries.size());
    for (const Entry *entry : entries)
        items.append(entry->item);
    return items;
}

bool Inventory::containsLogin(const QString &username, const QString &site,
                              const QString &password) const
{
    const QString host = siteHost(site);
    const auto sameLogin = [&](const Entry *entry) {
        return entry->listed() && entry->typedHost == host &&
               entry->item.username().value_or(QString()) == username &&
               entry->item.password() == password;
    };
    // A host's logins all sit in its domain's bucket; only sites that are no host need a scan.
    if (const std::optional<HostnameInfo> parsed = parseHost(site))
        return std::ranges::any_of(m_byDomain.value(parsed->matchKey()), sameLogin);
    return std::ranges::any_of(m_entries,
                               [&](const auto &entry) { return sameLogin(entry.get()); });
}

std::optional<InventoryItem> Inventory::item(const QString &uuid) const
{
    const auto entry = m_entries.value(uuid);
    if (!entry)
        return std::nullopt;
    return entry->item;
}

int Inventory::count() const
{
    return int(ordered().size());
}

const Inventory::Entry *Inventory::findSameLogin(const InventoryItem &item) const
{
    const std::optional<HostnameInfo> host = parseHost(item.site());
    if (!host)
        return nullptr;
    const QString username = item.username().value_or(QString());
    const auto bucket = m_byDomain.constFind(host->matchKey());
    if (bucket == m_byDomain.constEnd())
        return nullptr;
    const Entry *first = nullptr;
    for (const Entry *entry : *bucket) {
        if (entry->item.username().value_or(QString()) == username &&
            (!first || listedBefore(entry, first)))
            first = entry;
    }
    return first;
}

UpsertReturnVal Inventory::upsert(const InventoryItem &item, bool preserveTitle)
{
    if (m_entries.contains(item.uuid())) {
        save({item});
        return UpsertReturnVal::updated;
    }
    if (preserveTitle) {
        if (const Entry *same = findSameLogin(item)) {
            InventoryItem merged = same->item;
            merged.setPassword(item.password());
            merged.setTimestamp(item.timestamp());
            save({merged});
            return UpsertReturnVal::merged;
        }
    }
    save({item});
    return UpsertReturnVal::inserted;
}

void Inventory::add(const QList<InventoryItem> &items)
{
    if (!items.isEmpty())
        save(items);
}

void Inventory::deleteItem(const QString &uuid)
{
    const auto entry = m_entries.value(uuid);
    if (!entry || entry->item.deleted())
        return;
    InventoryItem tombstone = entry->item;
    tombstone.setDeleted(true);
    tombstone.setTimestamp(InventoryItem::currentTimestamp());
    save({tombstone});
}

} // namespace pexi
