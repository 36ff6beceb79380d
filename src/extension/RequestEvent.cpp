#include "extension/RequestEvent.h"

namespace pexi {

RequestEvent::RequestEvent(const QString &uuid, const QString &session)
    : MiniAppEvent(Command::CREDS_REQUEST), m_uuid(uuid), m_session(session)
{
}

RequestEvent::RequestEvent(const simdjson::dom::object &dictionary)
    : MiniAppEvent(Command::CREDS_REQUEST)
{
    requireCommand(dictionary);
    m_uuid = requiredString(dictionary, "uuid");
    m_session = requiredString(dictionary, "session");
}

} // namespace pexi
