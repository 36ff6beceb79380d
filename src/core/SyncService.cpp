#include "core/SyncService.h"

#include "core/Locker.h"
#include "core/Vault.h"
#include "core/VaultError.h"

namespace pexi {

SyncService &SyncService::shared()
{
    static SyncService service(Vault::shared(), Locker::instance());
    return service;
}

SyncService::SyncService(Vault &vault, Locker &locker, int pollIntervalMs)
    : m_vault(vault), m_locker(locker)
{
    // Polling two stat() calls is cheaper and more dependable than file watches, which miss
    // writes to an already open WAL file on some file systems and all of them on network mounts.
    m_timer.setInterval(pollIntervalMs);
    connect(&m_timer, &QTimer::timeout, this, &SyncService::checkNow);
}

void SyncService::setRemoteStoreChangedHandler(Handler handler)
{
    m_remoteStoreChanged = std::move(handler);
}

void SyncService::setInventoryUpdatedHandler(Handler handler)
{
    m_inventoryUpdated = std::move(handler);
}

void SyncService::start()
{
    m_fileStamp = m_vault.fileStamp();
    try {
        m_vaultId = m_vault.exists() ? m_vault.header().vaultId : QString();
    } catch (const VaultError &) {
        m_vaultId.clear();
    }
    m_timer.start();
}

void SyncService::stop()
{
    m_timer.stop();
}

void SyncService::checkNow()
{
    const QByteArray stamp = m_vault.fileStamp();
    if (stamp == m_fileStamp)
        return;
    m_fileStamp = stamp;

    m_vault.reloadHeader();
    QString vaultId;
    try {
        vaultId = m_vault.exists() ? m_vault.header().vaultId : QString();
    } catch (const VaultError &) {
        // Half-written or damaged: treat it like a different store; the lock keeps items safe.
    }
    if (vaultId != m_vaultId) {
        m_vaultId = vaultId;
        if (m_remoteStoreChanged)
            m_remoteStoreChanged();
        return;
    }
    try {
        if (m_locker.reloadChangedItems() && m_inventoryUpdated)
            m_inventoryUpdated();
    } catch (const VaultError &) {
        // A vault we cannot read right now is tried again on the next change.
    }
}

} // namespace pexi
