#include "extension/LockStateEvent.h"

#include "core/Locker.h"
#include "extension/JsonWriter.h"

namespace pexi {

using namespace Qt::StringLiterals;

LockStateEvent::LockStateEvent(const std::optional<QString> &session, bool locked)
    : MiniAppEvent(Command::LOCK_STATE), m_session(session), m_locked(locked)
{
}

QString LockStateEvent::toJson(const LockStateSource &lockState) const
{
    JsonWriter json(64 + (m_session ? m_session->size() : 0));
    json.beginObject();
    json.key("command"_L1).string(toRaw(command()));
    json.key("locked"_L1).boolean(lockState() == LockState::locked);
    json.key("session"_L1);
    if (m_session)
        json.string(*m_session);
    else
        json.null();
    return json.endObject().take();
}

LockState LockStateEvent::coreLockState()
{
    return Locker::instance().lockState();
}

} // namespace pexi
