#include "extension/LockCheckEvent.h"

namespace pexi {

LockCheckEvent::LockCheckEvent(const std::optional<QString> &session)
    : MiniAppEvent(Command::LOCK_CHECK), m_session(session)
{
}

LockCheckEvent::LockCheckEvent(const simdjson::dom::object &dictionary)
    : MiniAppEvent(Command::LOCK_CHECK)
{
    requireCommand(dictionary);
    m_session = optionalString(dictionary, "session");
}

} // namespace pexi
