#include "core/VaultSession.h"

#include "core/Vault.h"
#include "core/VaultCipher.h"
#include "core/VaultError.h"

#include <QJsonDocument>

#include <sodium.h>

namespace pexi {

VaultSession::VaultSession(Vault &vault, SecureBytes key)
    : m_key(std::move(key)), m_file(vault.openFile()), m_inventory(*this)
{
    m_inventory.load(readItemsSinceLastRevision());
}

VaultSession::~VaultSession() = default;

QList<InventoryItem> VaultSession::readItemsSinceLastRevision()
{
    qint64 latest = 0;
    const QList<VaultFile::SealedItem> sealed = m_file->readItems(m_revision, &latest);
    QList<InventoryItem> items;
    items.reserve(sealed.size());
    for (const VaultFile::SealedItem &row : sealed) {
        std::optional<QByteArray> plain =
            VaultCipher::open(m_key, {row.nonce, row.ciphertext}, row.uuid.toUtf8());
        std::optional<InventoryItem> item;
        if (plain) {
            item = InventoryItem::fromJson(QJsonDocument::fromJson(*plain).object());
            sodium_memzero(plain->data(), size_t(plain->size()));
        }
        // The uuid inside must be the row's: a row copied over another is not that item.
        if (!item || item->uuid() != row.uuid) {
            if (!m_unreadable.contains(row.uuid))
                m_unreadable.append(row.uuid);
            continue;
        }
        m_unreadable.removeOne(row.uuid);
        items.append(*item);
    }
    m_revision = latest;
    return items;
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
