#include "extension/LockStateEvent.h"

#include "core/Locker.h"

#include <QJsonValue>

namespace pexi {

using namespace Qt::StringLiterals;

LockStateEvent::LockStateEvent(const std::optional<QString> &session, bool locked)
    : MiniAppEvent(Command::LOCK_STATE), m_session(session), m_locked(locked)
{
}

QString LockStateEvent::toJson(const LockStateSource &lockState) const
{
    return writeJson({
        {"command"_L1, toRaw(command())},
        {"session"_L1, m_session ? QJsonValue(*m_session) : QJsonValue(QJsonValue::Null)},
        {"locked"_L1, lockState() == LockState::locked},
    });
}

LockState LockStateEvent::coreLockState()
{
    return Locker::instance().lockState();
}

} // namespace pexi
