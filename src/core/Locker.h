#pragma once

#include "core/InventoryChange.h"
#include "core/LockState.h"
#include "core/NotificationCenter.h"

#include <QObject>
#include <QStringList>

#include <functional>
#include <future>
#include <memory>

namespace pexi {

class Account;
class EncryptionService;
class Inventory;
class Vault;
class VaultSession;

// Owns the lock: the key and the decrypted items exist only while unlocked.
class Locker : public QObject
{
    Q_OBJECT
public:
    static const QString PexiLockedNotification;
    static const QString PexiUnlockedNotification;

    static Locker &instance();
    Locker(Vault &vault, Account &account, EncryptionService &encryption,
           NotificationCenter &center = NotificationCenter::defaultCenter());
    ~Locker() override;

    LockState lockState() const;
    // Wipes the key, closes the vault file and posts PexiLockedNotification, at once; the items
    // are dropped on another thread meanwhile. No-op while locked.
    void lock();
    // Opens the vault with the secret handed to Account (and checked by EncryptionService) and
    // posts PexiUnlockedNotification. False when there is no secret or it does not open the vault.
    // Throws VaultError when the vault cannot be read at all.
    bool unlock();
    // The quick half of an unlock whose slow half (VaultOpener::open) ran elsewhere, typically
    // on a worker thread: makes `session` the open vault and posts PexiUnlockedNotification on
    // the calling thread. Already unlocked, it keeps the open session and drops this one. False,
    // dropping it too, when the vault was re-created since the session was opened.
    bool install(std::unique_ptr<VaultSession> session);

    // Runs `block` synchronously on the calling thread, before returning; not at all while
    // locked. Returns whether it ran.
    bool runWithInventory(const std::function<void(Inventory &)> &block);

    // Items of the open vault that failed authentication (damaged or tampered) and were skipped.
    QStringList unreadableItems() const;

    // Sync: folds in what another process wrote since the last look. Returns whether any item
    // changed; no-op while locked.
    bool reloadChangedItems();

signals:
    // Items listed, changed or removed in the open vault, whoever changed them: this process
    // or, folded in by sync, another one. Emitted on the thread that made the change.
    void inventoryChanged(const pexi::InventoryChange &change);

private:
    Vault &m_vault;
    Account &m_account;
    EncryptionService &m_encryption;
    NotificationCenter &m_center;
    std::unique_ptr<VaultSession> m_session;
    // The items of the last session locked, being dropped; waited for by the next lock and on
    // destruction.
    std::future<void> m_dropping;
};

} // namespace pexi
