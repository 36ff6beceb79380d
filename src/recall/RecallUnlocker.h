#pragma once

#include "core/SecureBytes.h"

#include <QFutureWatcher>
#include <QObject>
#include <QTimer>

#include <functional>
#include <memory>

namespace pexi {

class Locker;
class Vault;
class VaultSession;

// Opens the vault with a recall secret without holding up the thread that shows it: the key
// derivation and the decryption (a tenth of a second to over a second) run on a worker, the
// session is installed back on this thread, where Locker posts PexiUnlockedNotification.
class RecallUnlocker : public QObject
{
    Q_OBJECT
public:
    // Long enough that a quick unlock never flashes a busy sign.
    static constexpr int busyDelayMs = 150;

    RecallUnlocker(Vault &vault, Locker &locker, QObject *parent = nullptr);
    ~RecallUnlocker() override;

    bool isRunning() const { return m_running; }
    // Ends in exactly one of unlocked() or failed(), never before returning. The secret is
    // wiped when the attempt ends. Ignored while an attempt runs.
    void start(SecureBytes secret);
    // The same for any slow half that ends in a session, such as making a vault and opening
    // it: `opening` runs on a worker and touches nothing of this thread; its VaultError is the
    // failure's reason, a null session a failure without one.
    void start(std::function<std::unique_ptr<VaultSession>()> opening);

signals:
    void unlocked();
    // `reason` is a sentence for the user when the vault could not be read; empty when the
    // pictures were wrong.
    void failed(const QString &reason);
    // On once the attempt has taken busyDelayMs, off when it ends.
    void busyChanged(bool busy);

private:
    // What the worker hands back: a session, or none and why (empty: wrong pictures).
    struct Outcome
    {
        std::unique_ptr<VaultSession> session;
        QString error;
    };
    void finish(Outcome outcome);

    Vault &m_vault;
    Locker &m_locker;
    QFutureWatcher<Outcome> m_watcher;
    QTimer m_busyTimer;
    bool m_running = false;
};

} // namespace pexi
