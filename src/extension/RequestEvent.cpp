#include "extension/RequestEvent.h"

namespace pexi {

using namespace Qt::StringLiterals;

RequestEvent::RequestEvent(const QString &uuid, const QString &session)
    : MiniAppEvent(Command::CREDS_REQUEST), m_uuid(uuid), m_session(session)
{
}

RequestEvent::RequestEvent(const JsonObject &dictionary) : MiniAppEvent(Command::CREDS_REQUEST)
{
    requireCommand(dictionary);
    m_uuid = requiredString(dictionary, "uuid"_L1);
    m_session = requiredString(dictionary, "session"_L1);
}

} // namespace pexi
