#include "extension/StoreEvent.h"

#include "extension/ExtensionError.h"

#include <simdjson.h>

namespace pexi {

StoreEvent::StoreEvent(const QString &title, const QString &site, const QString &username,
                       const QString &password)
    : MiniAppEvent(Command::CREDS_STORE), m_title(title), m_site(site), m_username(username),
      m_password(password)
{
}

StoreEvent::StoreEvent(const simdjson::dom::object &dictionary) : MiniAppEvent(Command::CREDS_STORE)
{
    requireCommand(dictionary);
    m_site = requiredString(dictionary, "site");
    simdjson::dom::object fields;
    if (dictionary["credential"].get(fields) != simdjson::SUCCESS || fields.size() == 0)
        throw ExtensionError(ExtensionError::Kind::parseError);
    m_title = requiredString(fields, "title");
    m_username = requiredString(fields, "username");
    m_password = requiredString(fields, "password");
}

} // namespace pexi
