#include "core/VaultSession.h"

#include "core/Parallel.h"
#include "core/VaultCipher.h"
#include "core/VaultError.h"

#include <sodium.h>

#include <future>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace pexi {

namespace {

// glibc grows a thread's heap a page at a time, a system call each, and unmaps it once emptied:
// for the items of a 100k vault that was a tenth of an unlock's CPU. Heaps taken in large steps
// are also kept for the next unlock.
void growHeapsInLargeSteps()
{
#ifdef __GLIBC__
    static const int done = mallopt(M_TOP_PAD, 64 << 20);
    Q_UNUSED(done);
#endif
}

} // namespace

VaultSession::VaultSession(std::unique_ptr<VaultFile> file, SecureBytes key, SealedRows rows)
    : m_key(std::move(key)), m_file(std::move(file)), m_inventory(*this)
{
    QList<InventoryItem> items = openRows(rows);
    m_inventory.load(items);
    // Freeing 100k sealed rows, and the list the entries took their items from, is a tenth of
    // what preparing the entries was: on another core while the session is handed over, rather
    // than competing with the preparing.
    m_releasing = std::async(std::launch::async,
                             [spent = std::move(rows), read = std::move(items)]() mutable {
                                 spent = {};
                                 read = {};
                             });
}

std::unique_ptr<VaultSession>
VaultSession::open(std::unique_ptr<VaultFile> file,
                   const std::function<std::optional<SecureBytes>()> &deriveKey)
{
    growHeapsInLargeSteps();
    VaultFile &reading = *file;
    std::future<SealedRows> rows =
        std::async(std::launch::async, [&reading] { return readRows(reading, 0); });
    std::optional<SecureBytes> key;
    try {
        key = deriveKey();
    } catch (...) {
        rows.wait();
        throw;
    }
    SealedRows sealed = rows.get(); // rethrows what reading threw
    if (!key)
        return nullptr;
    return std::unique_ptr<VaultSession>(
        new VaultSession(std::move(file), std::move(*key), std::move(sealed)));
}

VaultSession::~VaultSession() = default;

void VaultSession::close()
{
    m_key.clear();
    m_file.reset();
}

VaultSession::SealedRows VaultSession::readRows(VaultFile &file, qint64 afterRevision)
{
    SealedRows rows;
    rows.items = file.readItems(afterRevision, &rows.revision);
    return rows;
}

QList<InventoryItem> VaultSession::readItemsSinceLastRevision()
{
    return openRows(readRows(*m_file, m_revision));
}

QList<InventoryItem> VaultSession::openRows(const SealedRows &rows)
{
    const QList<VaultFile::SealedItem> &sealed = rows.items;
    // Decrypting and reading the items is most of an unlock after the key: every core helps.
    std::vector<std::optional<InventoryItem>> opened(size_t(sealed.size()));
    forEachChunk(sealed.size(), 512, [&](qsizetype begin, qsizetype end) {
        for (qsizetype i = begin; i < end; ++i)
            opened[size_t(i)] = openItem(sealed.at(i));
    });
    QList<InventoryItem> items;
    items.reserve(sealed.size());
    for (qsizetype i = 0; i < sealed.size(); ++i) {
        const QString &uuid = sealed.at(i).uuid;
        if (!opened[size_t(i)]) {
            if (!m_unreadable.contains(uuid))
                m_unreadable.append(uuid);
            continue;
        }
        m_unreadable.removeOne(uuid);
        items.append(std::move(*opened[size_t(i)]));
    }
    m_revision = rows.revision;
    return items;
}

std::optional<InventoryItem> VaultSession::openItem(const VaultFile::SealedItem &row) const
{
    // Reused by each thread, with room behind the text for the JSON reader to read it in place.
    thread_local QByteArray plain;
    plain.reserve(row.ciphertext.size() + 64);
    if (!VaultCipher::openInto(m_key, {row.nonce, row.ciphertext}, row.uuid.toUtf8(), plain))
        return std::nullopt;
    // The uuid inside must be the row's: a row copied over another is not that item.
    std::optional<InventoryItem> item = InventoryItem::fromJson(plain, row.uuid);
    sodium_memzero(plain.data(), size_t(plain.size()));
    return item;
}

bool VaultSession::reloadChangedItems()
{
    if (m_file->revision() == m_revision)
        return false;
    const QList<InventoryItem> changed = readItemsSinceLastRevision();
    m_inventory.load(changed);
    return !changed.isEmpty();
}

void VaultSession::saveItems(const QList<InventoryItem> &items)
{
    QList<VaultFile::SealedItem> sealed;
    sealed.reserve(items.size());
    for (const InventoryItem &item : items) {
        QByteArray plain = item.toJson().toUtf8();
        const VaultCipher::Sealed box = VaultCipher::seal(m_key, plain, item.uuid().toUtf8());
        sodium_memzero(plain.data(), size_t(plain.size()));
        sealed.append({item.uuid(), box.nonce, box.ciphertext});
    }
    const qint64 before = m_revision;
    const qint64 written = m_file->writeItems(sealed);
    // Skip re-reading our own write, unless someone else wrote in between.
    if (written == before + 1)
        m_revision = written;
}

} // namespace pexi
