#include "extension/CommitEvent.h"

namespace pexi {

CommitEvent::CommitEvent() : MiniAppEvent(Command::CREDS_COMMIT)
{
}

CommitEvent::CommitEvent(const simdjson::dom::object &dictionary)
    : MiniAppEvent(Command::CREDS_COMMIT)
{
    requireCommand(dictionary);
}

} // namespace pexi
