#pragma once

#include "core/Inventory.h"
#include "core/SecureBytes.h"
#include "core/VaultFile.h"
#include "core/VaultWriter.h"

#include <QStringList>

#include <functional>
#include <future>
#include <memory>
#include <optional>

namespace pexi {

// The open vault: its key, its file and the decrypted inventory. Exists only while unlocked;
// destroying it wipes the key and drops the items.
class VaultSession : public VaultWriter
{
public:
    // Reads and decrypts every item of `file` with the key `deriveKey` returns, on every core;
    // the sealed items are read on another core meanwhile, since key derivation leaves it idle.
    // Null when there is no key. Items that fail authentication are skipped and listed in
    // unreadableItems(); the others load. Throws VaultError when the file cannot be read.
    // Touches nothing outside the session, so it may run on one thread and be used on another.
    static std::unique_ptr<VaultSession>
    open(std::unique_ptr<VaultFile> file,
         const std::function<std::optional<SecureBytes>()> &deriveKey);
    ~VaultSession() override;

    // Wipes the key and closes the file at once. What is left, the decrypted items, may then be
    // dropped on another thread; nothing else may be called.
    void close();

    Inventory &inventory() { return m_inventory; }
    // The vault this session opened; a re-created vault has another.
    const QString &vaultId() const { return m_file->header().vaultId; }
    const QStringList &unreadableItems() const { return m_unreadable; }

    // Folds in items written since the last read (by anyone). Returns whether any changed.
    bool reloadChangedItems();

    void saveItems(const QList<InventoryItem> &items) override;

private:
    struct SealedRows
    {
        QList<VaultFile::SealedItem> items;
        qint64 revision = 0;
    };

    VaultSession(std::unique_ptr<VaultFile> file, SecureBytes key, SealedRows rows);
    static SealedRows readRows(VaultFile &file, qint64 afterRevision);
    QList<InventoryItem> openRows(const SealedRows &rows);
    QList<InventoryItem> readItemsSinceLastRevision();
    std::optional<InventoryItem> openItem(const VaultFile::SealedItem &row) const;

    SecureBytes m_key;
    std::unique_ptr<VaultFile> m_file;
    Inventory m_inventory;
    QStringList m_unreadable;
    qint64 m_revision = 0;
    std::future<void> m_releasing; // what opening read, freed in the background
};

} // namespace pexi
