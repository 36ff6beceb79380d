#include "extension/StoreEvent.h"

#include "extension/ExtensionError.h"

namespace pexi {

using namespace Qt::StringLiterals;

StoreEvent::StoreEvent(const QString &title, const QString &site, const QString &username,
                       const QString &password)
    : MiniAppEvent(Command::CREDS_STORE), m_title(title), m_site(site), m_username(username),
      m_password(password)
{
}

StoreEvent::StoreEvent(const JsonObject &dictionary) : MiniAppEvent(Command::CREDS_STORE)
{
    requireCommand(dictionary);
    m_site = requiredString(dictionary, "site"_L1);
    const JsonValue credential = dictionary.value("credential"_L1);
    if (!credential.isObject() || credential.toObject().isEmpty())
        throw ExtensionError(ExtensionError::Kind::parseError);
    const JsonObject fields = credential.toObject();
    m_title = requiredString(fields, "title"_L1);
    m_username = requiredString(fields, "username"_L1);
    m_password = requiredString(fields, "password"_L1);
}

} // namespace pexi
