#include "extension/ProvideEvent.h"

namespace pexi {

using namespace Qt::StringLiterals;

ProvideEvent::ProvideEvent(const Credential &credential, const QString &session)
    : MiniAppEvent(Command::CREDS_PROVIDE), m_credential(credential), m_session(session)
{
}

QString ProvideEvent::toJson() const
{
    return writeJson({
        {"command"_L1, toRaw(command())},
        {"session"_L1, m_session},
        {"credential"_L1, m_credential.toJsonObject()},
    });
}

} // namespace pexi
