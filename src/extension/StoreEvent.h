#pragma once

#include "extension/MiniAppEvent.h"

namespace pexi {

// "credentials_store": an extension hands over a login the user has just typed. It stays pending
// until a commit or an abort.
class StoreEvent : public MiniAppEvent
{
public:
    StoreEvent(const QString &title, const QString &site, const QString &username,
               const QString &password);
    // Needs "command", "site" and a non-empty "credential" dictionary with "title", "username"
    // and "password" strings. Throws ExtensionError.
    explicit StoreEvent(const simdjson::dom::object &dictionary);

    const QString &title() const { return m_title; }
    const QString &site() const { return m_site; }
    const QString &username() const { return m_username; }
    const QString &password() const { return m_password; }

private:
    QString m_title;
    QString m_site;
    QString m_username;
    QString m_password;
};

} // namespace pexi
