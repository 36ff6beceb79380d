#include "recall/RecallUnlocker.h"

#include "core/Locker.h"
#include "core/VaultError.h"
#include "core/VaultOpener.h"
#include "core/VaultSession.h"

#include <QScopeGuard>
#include <QtConcurrent/QtConcurrentRun>

namespace pexi {

RecallUnlocker::RecallUnlocker(Vault &vault, Locker &locker, QObject *parent)
    : QObject(parent), m_vault(vault), m_locker(locker)
{
    m_busyTimer.setSingleShot(true);
    m_busyTimer.setInterval(busyDelayMs);
    connect(&m_busyTimer, &QTimer::timeout, this, [this] { emit busyChanged(true); });
    connect(&m_watcher, &QFutureWatcherBase::finished, this,
            [this] { finish(m_watcher.future().takeResult()); });
}

// A worker still running finishes on its own; its session is dropped with the future.
RecallUnlocker::~RecallUnlocker() = default;

void RecallUnlocker::start(SecureBytes secret)
{
    if (m_running)
        return;
    std::shared_ptr<const VaultOpener> opener;
    try {
        opener = std::make_shared<const VaultOpener>(m_vault);
    } catch (const VaultError &error) {
        // Reported like any other outcome, from the event loop, never inside start().
        start([message = error.message()]() -> std::unique_ptr<VaultSession> {
            throw VaultError(message);
        });
        return;
    }
    auto held = std::make_shared<SecureBytes>(std::move(secret));
    start([opener, held] {
        const auto wipe = qScopeGuard([&held] { held->clear(); });
        return opener->open(*held);
    });
}

void RecallUnlocker::start(std::function<std::unique_ptr<VaultSession>()> opening)
{
    if (m_running)
        return;
    m_running = true;
    m_busyTimer.start();
    m_watcher.setFuture(QtConcurrent::run([opening = std::move(opening)]() -> Outcome {
        Outcome outcome;
        try {
            outcome.session = opening();
        } catch (const VaultError &error) {
            outcome.error = error.message();
        }
        return outcome;
    }));
}

void RecallUnlocker::finish(Outcome outcome)
{
    m_running = false;
    if (m_busyTimer.isActive())
        m_busyTimer.stop();
    else
        emit busyChanged(false);
    if (!outcome.session) {
        emit failed(outcome.error);
        return;
    }
    if (!m_locker.install(std::move(outcome.session))) {
        emit failed(QStringLiteral("The vault was replaced while it was being opened."));
        return;
    }
    emit unlocked();
}

} // namespace pexi
