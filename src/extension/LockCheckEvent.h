#pragma once

#include "extension/MiniAppEvent.h"

namespace pexi {

// "pexi_lock_check": an extension asks whether the vault is locked.
class LockCheckEvent : public MiniAppEvent
{
public:
    explicit LockCheckEvent(const std::optional<QString> &session = std::nullopt);
    // Needs "command"; "session" is optional here, unlike in the other requests. Throws
    // ExtensionError.
    explicit LockCheckEvent(const simdjson::dom::object &dictionary);

    const std::optional<QString> &session() const { return m_session; }

private:
    std::optional<QString> m_session;
};

} // namespace pexi
