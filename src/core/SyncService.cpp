#include "core/SyncService.h"

#include "core/Locker.h"
#include "core/Vault.h"
#include "core/VaultError.h"

#include <QFileInfo>

namespace pexi {

SyncService &SyncService::shared()
{
    static SyncService service(Vault::shared(), Locker::instance());
    return service;
}

SyncService::SyncService(Vault &vault, Locker &locker, int fallbackPollMs)
    : m_vault(vault), m_locker(locker)
{
    m_settle.setSingleShot(true);
    m_settle.setInterval(0);
    connect(&m_settle, &QTimer::timeout, this, &SyncService::checkNow);
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, &m_settle, qOverload<>(&QTimer::start));
    // The directory changes when the vault or its WAL file is made, replaced or removed; the
    // file watches follow the new files.
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, [this] {
        watch();
        m_settle.start();
    });
    m_fallbackPoll.setInterval(fallbackPollMs);
    connect(&m_fallbackPoll, &QTimer::timeout, this, [this] {
        watch();
        checkNow();
    });
}

// Watches the data directory, the vault and its WAL file where they exist. Where the directory
// cannot be watched (not there yet, or a file system without change events) a slow poll looks
// instead, until it can.
void SyncService::watch()
{
    const QString file = m_vault.filePath();
    for (const QString &path : {m_vault.dataDirectory(), file, file + QStringLiteral("-wal")}) {
        if (!m_watcher.files().contains(path) && !m_watcher.directories().contains(path) &&
            QFileInfo::exists(path))
            m_watcher.addPath(path);
    }
    if (m_watcher.directories().isEmpty())
        m_fallbackPoll.start();
    else
        m_fallbackPoll.stop();
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
    watch();
}

void SyncService::stop()
{
    m_fallbackPoll.stop();
    m_settle.stop();
    if (!m_watcher.files().isEmpty() || !m_watcher.directories().isEmpty())
        m_watcher.removePaths(m_watcher.files() + m_watcher.directories());
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
