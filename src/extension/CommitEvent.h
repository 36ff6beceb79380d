#pragma once

#include "extension/MiniAppEvent.h"

namespace pexi {

// "credentials_commit": the pending login from the last store may be saved.
class CommitEvent : public MiniAppEvent
{
public:
    CommitEvent();
    // Needs only a "command" string. Throws ExtensionError.
    explicit CommitEvent(const simdjson::dom::object &dictionary);
};

} // namespace pexi
