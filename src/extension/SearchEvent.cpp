#include "extension/SearchEvent.h"

namespace pexi {

using namespace Qt::StringLiterals;

SearchEvent::SearchEvent(const QString &site, const QString &session)
    : MiniAppEvent(Command::CREDS_SEARCH), m_site(site), m_session(session)
{
}

SearchEvent::SearchEvent(const JsonObject &dictionary) : MiniAppEvent(Command::CREDS_SEARCH)
{
    requireCommand(dictionary);
    m_site = requiredString(dictionary, "site"_L1);
    m_session = requiredString(dictionary, "session"_L1);
}

} // namespace pexi
