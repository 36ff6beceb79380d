#pragma once

#include <QObject>
#include <QTimer>

#include <functional>

namespace pexi {

class Locker;
class Vault;

// Watches the vault file for changes made by other processes (the command-line tool, another
// device's sync client). Item changes are folded into the open inventory and reported through
// the inventory-updated handler; a vault re-created underneath (new keys or grids) is reported
// through the remote-store-changed handler. Handlers run on the thread that owns the service.
class SyncService : public QObject
{
    Q_OBJECT
public:
    using Handler = std::function<void()>;

    static SyncService &shared();
    SyncService(Vault &vault, Locker &locker, int pollIntervalMs = 500);

    void setRemoteStoreChangedHandler(Handler handler);
    void setInventoryUpdatedHandler(Handler handler);
    void start();
    void stop();

    // One look at the vault file; the timer calls it, tests may too.
    void checkNow();

private:
    Vault &m_vault;
    Locker &m_locker;
    QTimer m_timer;
    Handler m_remoteStoreChanged;
    Handler m_inventoryUpdated;
    QString m_vaultId;
    QByteArray m_fileStamp;
};

} // namespace pexi
