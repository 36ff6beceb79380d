#pragma once

#include "extension/Credential.h"
#include "extension/MiniAppEvent.h"

namespace pexi {

// "navigate": part of the protocol's vocabulary, but the worker neither reads nor sends it; the
// server treats an incoming one as unknown.
class NavigateEvent : public MiniAppEvent
{
public:
    explicit NavigateEvent(const QString &site,
                           const std::optional<Credential> &credentials = std::nullopt)
        : MiniAppEvent(Command::NAVIGATE), m_site(site), m_credentials(credentials)
    {
    }

    const QString &site() const { return m_site; }
    const std::optional<Credential> &credentials() const { return m_credentials; }

private:
    QString m_site;
    std::optional<Credential> m_credentials;
};

} // namespace pexi
