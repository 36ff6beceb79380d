#pragma once

#include "extension/MiniAppEvent.h"

namespace pexi {

// "credentials_search": an extension asks for the saved logins of the site it shows.
class SearchEvent : public MiniAppEvent
{
public:
    SearchEvent(const QString &site, const QString &session);
    // Needs "command", "site" and "session" strings. Throws ExtensionError.
    explicit SearchEvent(const simdjson::dom::object &dictionary);

    const QString &site() const { return m_site; }
    const QString &session() const { return m_session; }

private:
    QString m_site;
    QString m_session;
};

} // namespace pexi
