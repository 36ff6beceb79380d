#pragma once

#include "core/Inventory.h"
#include "core/SecureBytes.h"
#include "core/VaultFile.h"
#include "core/VaultWriter.h"

#include <QStringList>

#include <memory>

namespace pexi {

class Vault;

// The open vault: its key, its file and the decrypted inventory. Exists only while unlocked;
// destroying it wipes the key and drops the items.
class VaultSession : public VaultWriter
{
public:
    // Reads and decrypts every item. Items that fail authentication are skipped and listed in
    // unreadableItems(); the others load. Throws VaultError when the file cannot be read.
    VaultSession(Vault &vault, SecureBytes key);
    ~VaultSession() override;

    Inventory &inventory() { return m_inventory; }
    const QStringList &unreadableItems() const { return m_unreadable; }

    // Folds in items written since the last read (by anyone). Returns whether any changed.
    bool reloadChangedItems();

    void saveItems(const QList<InventoryItem> &items) override;

private:
    QList<InventoryItem> readItemsSinceLastRevision();

    SecureBytes m_key;
    std::unique_ptr<VaultFile> m_file;
    Inventory m_inventory;
    QStringList m_unreadable;
    qint64 m_revision = 0;
};

} // namespace pexi
