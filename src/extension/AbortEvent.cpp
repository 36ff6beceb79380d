#include "extension/AbortEvent.h"

namespace pexi {

AbortEvent::AbortEvent() : MiniAppEvent(Command::CREDS_ABORT)
{
}

AbortEvent::AbortEvent(const simdjson::dom::object &dictionary) : MiniAppEvent(Command::CREDS_ABORT)
{
    requireCommand(dictionary);
}

} // namespace pexi
