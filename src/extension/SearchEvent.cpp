#include "extension/SearchEvent.h"

namespace pexi {

SearchEvent::SearchEvent(const QString &site, const QString &session)
    : MiniAppEvent(Command::CREDS_SEARCH), m_site(site), m_session(session)
{
}

SearchEvent::SearchEvent(const simdjson::dom::object &dictionary)
    : MiniAppEvent(Command::CREDS_SEARCH)
{
    requireCommand(dictionary);
    m_site = requiredString(dictionary, "site");
    m_session = requiredString(dictionary, "session");
}

} // namespace pexi
