#include "extension/CommitEvent.h"

namespace pexi {

CommitEvent::CommitEvent() : MiniAppEvent(Command::CREDS_COMMIT)
{
}

CommitEvent::CommitEvent(const JsonObject &dictionary) : MiniAppEvent(Command::CREDS_COMMIT)
{
    requireCommand(dictionary);
}

} // namespace pexi
