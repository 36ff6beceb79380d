#include "extension/ExtensionError.h"

namespace pexi {

const char *ExtensionError::what() const noexcept
{
    switch (m_kind) {
    case Kind::parseError:
        return "parse error: the message is not a valid event";
    case Kind::eventTypeError:
        return "event type error: the event is not of the expected kind";
    case Kind::jsonSerializeError:
        return "json serialize error: the event could not be written as JSON text";
    }
    return "extension error";
}

} // namespace pexi
