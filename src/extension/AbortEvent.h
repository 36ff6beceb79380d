#pragma once

#include "extension/MiniAppEvent.h"

namespace pexi {

// "credentials_abort": the pending login from the last store is dropped.
class AbortEvent : public MiniAppEvent
{
public:
    AbortEvent();
    // Needs only a "command" string. Throws ExtensionError.
    explicit AbortEvent(const simdjson::dom::object &dictionary);
};

} // namespace pexi
