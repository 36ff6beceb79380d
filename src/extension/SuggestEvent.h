#pragma once

#include "extension/MiniAppEvent.h"
#include "extension/PartialCredential.h"

#include <QList>

namespace pexi {

// "credentials_suggest": the answer to a search, the matching logins without passwords.
class SuggestEvent : public MiniAppEvent
{
public:
    SuggestEvent(const QString &session, const QList<PartialCredential> &credentials,
                 const std::optional<QString> &logInWithUUID = std::nullopt);

    const QString &session() const { return m_session; }
    const QList<PartialCredential> &credentials() const { return m_credentials; }
    // The login the user just asked to open in the browser for this host, if any.
    const std::optional<QString> &logInWithUUID() const { return m_logInWithUUID; }

    // "credentials" keeps the list order and is [] when empty; "logInWithUUID" is left out, not
    // null, when there is none.
    QString toJson() const;

private:
    QString m_session;
    QList<PartialCredential> m_credentials;
    std::optional<QString> m_logInWithUUID;
};

} // namespace pexi
