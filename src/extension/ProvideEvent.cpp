#include "extension/ProvideEvent.h"

#include "extension/JsonWriter.h"

namespace pexi {

using namespace Qt::StringLiterals;

ProvideEvent::ProvideEvent(const Credential &credential, const QString &session)
    : MiniAppEvent(Command::CREDS_PROVIDE), m_credential(credential), m_session(session)
{
}

QString ProvideEvent::toJson() const
{
    JsonWriter json(192);
    json.beginObject();
    json.key("command"_L1).string(toRaw(command()));
    json.key("credential"_L1);
    m_credential.writeJson(json);
    json.key("session"_L1).string(m_session);
    return json.endObject().take();
}

} // namespace pexi
