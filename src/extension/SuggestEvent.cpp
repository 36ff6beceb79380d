#include "extension/SuggestEvent.h"

#include <QJsonArray>

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
    QJsonArray credentials;
    for (const PartialCredential &credential : m_credentials)
        credentials.append(credential.toJsonObject());
    QJsonObject dictionary{
        {"command"_L1, toRaw(command())},
        {"session"_L1, m_session},
        {"credentials"_L1, credentials},
    };
    if (m_logInWithUUID)
        dictionary.insert("logInWithUUID"_L1, *m_logInWithUUID);
    return writeJson(dictionary);
}

} // namespace pexi
