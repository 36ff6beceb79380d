#include "recall/RecallUnlocker.h"

#include "core/Locker.h"
#include "core/VaultError.h"
#include "core/VaultOpener.h"
#include "core/VaultSession.h"

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
    m_running = true;
    m_busyTimer.start();
    std::shared_ptr<const VaultOpener> opener;
    try {
        opener = std::make_shared<const VaultOpener>(m_vault);
    } catch (const VaultError &error) {
        // Reported from the event loop like any other outcome, never inside start().
        QMetaObject::invokeMethod(
            this,
            [this, message = error.message()] {
                finish({nullptr, message});
            },
            Qt::QueuedConnection);
        return;
    }
    auto held = std::make_shared<SecureBytes>(std::move(secret));
    m_watcher.setFuture(QtConcurrent::run([opener, held]() -> Outcome {
        Outcome outcome;
        try {
            outcome.session = opener->open(*held);
        } catch (const VaultError &error) {
            outcome.error = error.message();
        }
        held->clear();
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
