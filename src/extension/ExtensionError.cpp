#include "extension/ExtensionError.h"

namespace pexi {

const char *ExtensionError::what() const noexcept
{
    switch (m_kind) {
    case Kind::parseError:
        return "parse error: the message is not a valid event";
    }
    return "extension error";
}

} // namespace pexi
