#pragma once

#include "extension/MiniAppEvent.h"

namespace pexi {

// "request_credential": an extension asks for one saved login, password included, by its uuid.
class RequestEvent : public MiniAppEvent
{
public:
    RequestEvent(const QString &uuid, const QString &session);
    // Needs "command", "uuid" and "session" strings. Throws ExtensionError.
    explicit RequestEvent(const simdjson::dom::object &dictionary);

    const QString &uuid() const { return m_uuid; }
    const QString &session() const { return m_session; }

private:
    QString m_uuid;
    QString m_session;
};

} // namespace pexi
