#include "extension/SuggestEvent.h"

#include "extension/JsonWriter.h"

namespace pexi {

using namespace Qt::StringLiterals;

SuggestEvent::SuggestEvent(const QString &session, const QList<PartialCredential> &credentials,
                           const std::optional<QString> &logInWithUUID)
    : MiniAppEvent(Command::CREDS_SUGGEST), m_session(session), m_credentials(credentials),
      m_logInWithUUID(logInWithUUID)
{
}

QString SuggestEvent::toJson() const
{
    JsonWriter json(128 + 96 * m_credentials.size());
    json.beginObject();
    json.key("command"_L1).string(toRaw(command()));
    json.key("credentials"_L1).beginArray();
    for (const PartialCredential &credential : m_credentials)
        credential.writeJson(json);
    json.endArray();
    if (m_logInWithUUID)
        json.key("logInWithUUID"_L1).string(*m_logInWithUUID);
    json.key("session"_L1).string(m_session);
    return json.endObject().take();
}

} // namespace pexi
