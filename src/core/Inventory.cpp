#include "core/Inventory.h"

#include "core/Parallel.h"
#include "core/VaultWriter.h"

#include <QCollatorSortKey>
#include <QLocale>
#include <QMutex>

#include <algorithm>
#include <future>
#include <unordered_set>
#include <utility>

namespace pexi {

namespace {

// Below this many items a batch is prepared on the calling thread and ordered item by item.
constexpr qsizetype bulkBatch = 256;

// Case and accents do not matter when ordering or searching: "Éclair" sits with "eclair".
QString fold(const QString &text)
{
    // Most of what people type is ASCII, where folding is lower-casing.
    if (std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; }))
        return text.toLower();
    const QString decomposed = text.normalized(QString::NormalizationForm_D);
    QString folded;
    folded.reserve(decomposed.size());
    for (const QChar c : decomposed) {
        if (c.category() != QChar::Mark_NonSpacing)
            folded.append(c);
    }
    return folded.toCaseFolded();
}

// Separates the folded title, username and site in an entry's search text. Search text that
// holds it matches nothing, so no match can run across two fields.
constexpr QChar fieldSeparator = QChar(0x1f);

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

// Each distinct site parsed once: a large vault holds many logins on the same sites, and finding
// a host's registrable domain in the public suffix list is the costliest step of preparing one.
class SiteHosts
{
public:
    const std::optional<HostnameInfo> &of(const std::optional<QString> &site)
    {
        static const std::optional<HostnameInfo> none;
        if (!site)
            return none;
        auto found = m_parsed.constFind(*site);
        if (found == m_parsed.cend())
            found = m_parsed.insert(*site, parseHost(site));
        return *found;
    }

private:
    QHash<QString, std::optional<HostnameInfo>> m_parsed;
};

// The host a login was typed on; sites that are not hosts compare as typed.
QString typedHost(const QString &site, const std::optional<HostnameInfo> &host)
{
    return host ? host->host() : site.trimmed().toLower();
}

QCollator listCollator()
{
    QCollator collator{QLocale()};
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    collator.setNumericMode(true);
    return collator;
}

// The folded title, username and site in one text, what search scans; the title comes first.
struct SearchText
{
    explicit SearchText(const InventoryItem &item)
    {
        const QString &username = item.username() ? *item.username() : QString();
        const QString &site = item.site() ? *item.site() : QString();
        text.reserve(item.title().size() + username.size() + site.size() + 2);
        appendFolded(item.title());
        titleLength = text.size();
        text += fieldSeparator;
        appendFolded(username);
        text += fieldSeparator;
        appendFolded(site);
    }

    void appendFolded(const QString &part)
    {
        // Most of what people type is ASCII, where folding is lower-casing, written in place.
        const qsizetype at = text.size();
        text.resize(at + part.size());
        char16_t *out = reinterpret_cast<char16_t *>(text.data()) + at;
        for (const QChar c : part) {
            const char16_t u = c.unicode();
            if (u >= 0x80) {
                text.truncate(at);
                text += fold(part);
                return;
            }
            *out++ = u >= 'A' && u <= 'Z' ? char16_t(u + 32) : u;
        }
    }

    QString text;
    qsizetype titleLength = 0;
};

} // namespace

struct Inventory::Entry
{
    Entry(const InventoryItem &item, const QCollator &collator,
          const std::optional<HostnameInfo> &host)
        : Entry(item, collator, SearchText(item), host)
    {
    }
    Entry(const InventoryItem &item, const QCollator &collator, const SearchText &search,
          const std::optional<HostnameInfo> &host)
        : item(item), sortKey(collator.sortKey(
                          QString::fromRawData(search.text.constData(), search.titleLength))),
          searchText(search.text),
          typedHost(pexi::typedHost(item.site().value_or(QString()), host)),
          domain(host ? host->matchKey() : QString())
    {
    }

    bool listed() const { return !item.deleted(); }

    InventoryItem item;
    QCollatorSortKey sortKey;
    QString searchText;
    QString typedHost;
    QString domain; // empty when the site is missing or not a host
};

bool Inventory::listedBefore(const Entry *a, const Entry *b)
{
    const int byTitle = a->sortKey.compare(b->sortKey);
    return byTitle != 0 ? byTitle < 0 : a->item.uuid() < b->item.uuid();
}

Inventory::Inventory(VaultWriter &writer) : m_writer(writer), m_collator(listCollator())
{
}

Inventory::~Inventory() = default;

void Inventory::setChangeListener(ChangeListener listener)
{
    m_changeListener = std::move(listener);
}

Inventory::Batch Inventory::prepare(const QList<InventoryItem> &items) const
{
    auto entries = std::make_shared<EntryBlock>(size_t(items.size()));
    Batch batch;
    batch.entries = entries;
    if (items.size() < bulkBatch) {
        for (qsizetype i = 0; i < items.size(); ++i)
            (*entries)[size_t(i)].emplace(items.at(i), m_collator, parseHost(items.at(i).site()));
        return batch;
    }
    // Folding, sort keys and host parsing are most of an unlock's work: spread them over the
    // cores, each thread also sorting the entries it prepared so that ordering the batch is one
    // merge. Each thread has its own collator; one is not meant to be shared between threads.
    QMutex runsLock;
    forEachWorker(items.size(), bulkBatch, [&](ChunkQueue &queue) {
        const QCollator collator = listCollator();
        SiteHosts hosts;
        std::vector<const Entry *> run;
        for (ChunkQueue::Range range = queue.take(); !range.isEmpty(); range = queue.take()) {
            for (qsizetype i = range.begin; i < range.end; ++i) {
                const InventoryItem &item = items.at(i);
                const Entry &entry =
                    (*entries)[size_t(i)].emplace(item, collator, hosts.of(item.site()));
                if (entry.listed())
                    run.push_back(&entry);
            }
        }
        std::sort(run.begin(), run.end(), listedBefore);
        const QMutexLocker locked(&runsLock);
        batch.sortedRuns.push_back(std::move(run));
    });
    return batch;
}

void Inventory::put(Batch batch)
{
    const EntryBlock &entries = *batch.entries;
    InventoryChange change;
    std::unordered_set<const Entry *> replaced;
    std::vector<const Entry *> listed;
    const bool bulk = qsizetype(entries.size()) >= bulkBatch;
    const bool told = bool(m_changeListener);
    m_entries.reserve(m_entries.size() + qsizetype(entries.size()));
    // Keeps each replaced entry alive until it has left the order.
    QList<EntryPointer> previousEntries;
    // A large batch's sorted runs are merged, and its listed entries put in their domains'
    // buckets, on another core while the uuid index takes it in here; the entries it replaces
    // leave their buckets once both are done.
    std::future<void> sortedAndBucketed;
    if (bulk) {
        sortedAndBucketed = std::async(std::launch::async, [&] {
            listed = mergeSortedRuns(std::move(batch.sortedRuns), listedBefore);
            for (const std::optional<Entry> &slot : entries) {
                if (slot->listed() && !slot->domain.isEmpty())
                    m_byDomain[slot->domain].append(&*slot);
            }
        });
    }
    for (const std::optional<Entry> &slot : entries) {
        const EntryPointer entry(batch.entries, &*slot);
        const QString &uuid = entry->item.uuid();
        // One hash lookup both finds the entry this one replaces and puts this one in its place.
        EntryPointer previous = std::exchange(m_entries[uuid], entry);
        const bool wasListed = previous && previous->listed();
        if (wasListed) {
            if (bulk) {
                replaced.insert(previous.get());
            } else {
                leaveDomainBucket(previous.get());
                const auto at =
                    std::lower_bound(m_order.begin(), m_order.end(), previous.get(), listedBefore);
                if (at != m_order.end() && *at == previous.get())
                    m_order.erase(at);
            }
        }
        if (entry->listed()) {
            if (!bulk) {
                if (!entry->domain.isEmpty())
                    m_byDomain[entry->domain].append(entry.get());
                m_order.insert(
                    std::upper_bound(m_order.begin(), m_order.end(), entry.get(), listedBefore),
                    entry.get());
            }
            if (told)
                (wasListed ? change.changed : change.added).append(uuid);
        } else if (wasListed && told) {
            change.removed.append(uuid);
        }
        if (previous)
            previousEntries.append(std::move(previous));
    }
    if (bulk) {
        // One merge of the batch into the order, rather than an insertion per item.
        sortedAndBucketed.get();
        for (const Entry *gone : replaced)
            leaveDomainBucket(gone);
        const auto wasReplaced = [&](const Entry *entry) { return replaced.contains(entry); };
        std::erase_if(m_order, wasReplaced);
        std::erase_if(listed, wasReplaced); // the same uuid twice in one batch
        std::vector<const Entry *> merged;
        merged.reserve(m_order.size() + listed.size());
        std::merge(m_order.begin(), m_order.end(), listed.begin(), listed.end(),
                   std::back_inserter(merged), listedBefore);
        m_order = std::move(merged);
    }
    if (told && !change.isEmpty())
        m_changeListener(change);
}

void Inventory::leaveDomainBucket(const Entry *entry)
{
    if (!entry->domain.isEmpty())
        m_byDomain[entry->domain].removeOne(entry);
}

void Inventory::load(const QList<InventoryItem> &items)
{
    put(prepare(items));
}

void Inventory::save(const QList<InventoryItem> &items)
{
    Batch batch = prepare(items);
    m_writer.saveItems(items); // throws before memory changes when the write fails
    put(std::move(batch));
}

QList<InventoryItem> Inventory::itemList() const
{
    QList<InventoryItem> items;
    items.reserve(qsizetype(m_order.size()));
    for (const Entry *entry : m_order)
        items.append(entry->item);
    return items;
}

namespace {

// What search looks for in the entries' texts; none when nothing can match.
std::optional<QString> needleFor(const QString &text)
{
    const QString needle = fold(text.trimmed());
    if (needle.contains(fieldSeparator))
        return std::nullopt;
    return needle;
}

} // namespace

QList<InventoryItem> Inventory::search(const QString &text) const
{
    QList<InventoryItem> found;
    const std::optional<QString> needle = needleFor(text);
    if (!needle)
        return found;
    for (const Entry *entry : m_order) {
        if (entry->searchText.contains(*needle))
            found.append(entry->item);
    }
    return found;
}

QList<InventoryItem> Inventory::search(const QString &text, const QList<InventoryItem> &among) const
{
    // Looking each one up costs more than scanning in order, once they are many.
    if (among.size() > count() / 4)
        return search(text);
    QList<InventoryItem> found;
    const std::optional<QString> needle = needleFor(text);
    if (!needle)
        return found;
    for (const InventoryItem &item : among) {
        const EntryPointer entry = m_entries.value(item.uuid());
        if (entry && entry->listed() && entry->searchText.contains(*needle))
            found.append(entry->item);
    }
    return found;
}

bool Inventory::matches(const QString &uuid, const QString &text) const
{
    const EntryPointer entry = m_entries.value(uuid);
    const std::optional<QString> needle = needleFor(text);
    return entry && entry->listed() && needle && entry->searchText.contains(*needle);
}

bool Inventory::isListedBefore(const QString &a, const QString &b) const
{
    const EntryPointer first = m_entries.value(a);
    const EntryPointer second = m_entries.value(b);
    if (!first || !second)
        return first && !second;
    return listedBefore(first.get(), second.get());
}

QList<InventoryItem> Inventory::itemsMatchingHost(const HostnameInfo &host) const
{
    const auto bucket = m_byDomain.constFind(host.matchKey());
    if (bucket == m_byDomain.constEnd())
        return {};
    // A bucket holds one site's logins: sorting it is cheaper than a second ordered index.
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
    const std::optional<HostnameInfo> parsed = parseHost(site);
    const QString host = typedHost(site, parsed);
    const auto sameLogin = [&](const Entry *entry) {
        return entry->listed() && entry->typedHost == host &&
               entry->item.username().value_or(QString()) == username &&
               entry->item.password() == password;
    };
    // A host's logins all sit in its domain's bucket; only sites that are no host need a scan.
    if (parsed)
        return std::ranges::any_of(m_byDomain.value(parsed->matchKey()), sameLogin);
    return std::ranges::any_of(m_order, sameLogin);
}

std::optional<InventoryItem> Inventory::item(const QString &uuid) const
{
    const EntryPointer entry = m_entries.value(uuid);
    if (!entry)
        return std::nullopt;
    return entry->item;
}

int Inventory::count() const
{
    return int(m_order.size());
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
    const EntryPointer entry = m_entries.value(uuid);
    if (!entry || entry->item.deleted())
        return;
    InventoryItem tombstone = entry->item;
    tombstone.setDeleted(true);
    tombstone.setTimestamp(InventoryItem::currentTimestamp());
    save({tombstone});
}

} // namespace pexi
