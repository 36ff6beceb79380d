#pragma once

#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>

#include <functional>

namespace pexi {

class Locker;
class Vault;

// Watches the vault file for changes made by other processes (the command-line tool, another
// device's sync client). Item changes are folded into the open inventory (listeners hear them
// through Locker::inventoryChanged) and reported through the inventory-updated handler; a vault
// re-created underneath (new keys or grids) is reported through the remote-store-changed
// handler. Handlers run on the thread that owns the service.
class SyncService : public QObject
{
    Q_OBJECT
public:
    using Handler = std::function<void()>;

    static SyncService &shared();
    // `fallbackPollMs`: how often to look where the file system cannot be watched.
    SyncService(Vault &vault, Locker &locker, int fallbackPollMs = 2000);

    void setRemoteStoreChangedHandler(Handler handler);
    void setInventoryUpdatedHandler(Handler handler);
    void start();
    void stop();

    // One look at the vault file; the watcher calls it, tests may too.
    void checkNow();

private:
    void watch();

    Vault &m_vault;
    Locker &m_locker;
    QFileSystemWatcher m_watcher;
    // Coalesces the burst of events one write makes into one look.
    QTimer m_settle;
    QTimer m_fallbackPoll;
    Handler m_remoteStoreChanged;
    Handler m_inventoryUpdated;
    QString m_vaultId;
    QByteArray m_fileStamp;
};

} // namespace pexi
