#include "extension/LockCheckEvent.h"

namespace pexi {

using namespace Qt::StringLiterals;

LockCheckEvent::LockCheckEvent(const std::optional<QString> &session)
    : MiniAppEvent(Command::LOCK_CHECK), m_session(session)
{
}

LockCheckEvent::LockCheckEvent(const JsonObject &dictionary) : MiniAppEvent(Command::LOCK_CHECK)
{
    requireCommand(dictionary);
    m_session = optionalString(dictionary, "session"_L1);
}

} // namespace pexi
