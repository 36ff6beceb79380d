#pragma once

#include "extension/Credential.h"
#include "extension/MiniAppEvent.h"

namespace pexi {

// "provide_credential": the answer to a request by uuid; the one message that carries a password.
class ProvideEvent : public MiniAppEvent
{
public:
    ProvideEvent(const Credential &credential, const QString &session);

    const Credential &credential() const { return m_credential; }
    const QString &session() const { return m_session; }

    QString toJson() const;

private:
    Credential m_credential;
    QString m_session;
};

} // namespace pexi
