#include "core/Locker.h"

#include "core/Account.h"
#include "core/EncryptionService.h"
#include "core/Vault.h"
#include "core/VaultError.h"
#include "core/VaultSession.h"

namespace pexi {

const QString Locker::PexiLockedNotification = QStringLiteral("PexiLockedNotification");
const QString Locker::PexiUnlockedNotification = QStringLiteral("PexiUnlockedNotification");

Locker &Locker::instance()
{
    static Locker locker(Vault::shared(), Account::shared(), EncryptionService::shared());
    return locker;
}

Locker::Locker(Vault &vault, Account &account, EncryptionService &encryption,
               NotificationCenter &center)
    : m_vault(vault), m_account(account), m_encryption(encryption), m_center(center)
{
}

Locker::~Locker() = default;

LockState Locker::lockState() const
{
    return m_session ? LockState::unlocked : LockState::locked;
}

void Locker::lock()
{
    m_account.forgetRecallSecret();
    m_encryption.forgetKeys();
    if (!m_session)
        return;
    m_session->close();
    // Freeing 100k items takes a tenth of a second of CPU: not the locking thread's to wait for.
    m_dropping = std::async(std::launch::async,
                            [session = std::move(m_session)]() mutable { session.reset(); });
    m_center.post(PexiLockedNotification, this);
}

bool Locker::unlock()
{
    if (m_session)
        return true;
    if (m_account.recallSecret().isEmpty())
        return false;
    std::unique_ptr<VaultSession> session = VaultSession::open(
        m_vault.openFile(), [this] { return m_encryption.keyForSecret(m_account.recallSecret()); });
    m_account.forgetRecallSecret();
    m_encryption.forgetKeys();
    return session && install(std::move(session));
}

bool Locker::install(std::unique_ptr<VaultSession> session)
{
    if (m_session)
        return true;
    try {
        if (session->vaultId() != m_vault.header().vaultId)
            return false;
    } catch (const VaultError &) {
        return false; // gone or damaged since
    }
    m_session = std::move(session);
    m_session->inventory().setChangeListener(
        [this](const InventoryChange &change) { emit inventoryChanged(change); });
    m_center.post(PexiUnlockedNotification, this);
    return true;
}

bool Locker::runWithInventory(const std::function<void(Inventory &)> &block)
{
    if (!m_session)
        return false;
    block(m_session->inventory());
    return true;
}

QStringList Locker::unreadableItems() const
{
    return m_session ? m_session->unreadableItems() : QStringList();
}

bool Locker::reloadChangedItems()
{
    return m_session && m_session->reloadChangedItems();
}

} // namespace pexi
