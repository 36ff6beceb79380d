#pragma once

#include "core/LockState.h"
#include "extension/MiniAppEvent.h"

#include <functional>

namespace pexi {

// "pexi_lock_state": the answer to a lock check, and the push sent to every extension whenever
// the vault locks or unlocks.
class LockStateEvent : public MiniAppEvent
{
public:
    using LockStateSource = std::function<LockState()>;

    LockStateEvent(const std::optional<QString> &session, bool locked);

    const std::optional<QString> &session() const { return m_session; }
    // What the builder believed; the text reports the lock of the moment of writing instead.
    bool locked() const { return m_locked; }

    // {"command":"pexi_lock_state","locked":B,"session":S or null}. "locked" is asked of
    // `lockState` now, so a push built while a lock notification is still being delivered is
    // right whichever notification fired.
    QString toJson(const LockStateSource &lockState = coreLockState) const;

    // The shared Locker's state.
    static LockState coreLockState();

private:
    std::optional<QString> m_session;
    bool m_locked;
};

} // namespace pexi
