#include "extension/ExtClickedEvent.h"

#include "extension/ExtensionError.h"

#include <simdjson.h>

namespace pexi {

ExtClickedEvent::ExtClickedEvent(const std::optional<QPointF> &coordinates)
    : MiniAppEvent(Command::EXT_CLICKED), m_coordinates(coordinates)
{
}

ExtClickedEvent::ExtClickedEvent(const simdjson::dom::object &dictionary)
    : MiniAppEvent(Command::EXT_CLICKED)
{
    requireCommand(dictionary);
    // Lenient and strict at once, on purpose: anything that is not a dictionary of numbers means
    // "no point" (the window opens at the mouse), but a dictionary of numbers must be a whole
    // point.
    simdjson::dom::object point;
    if (dictionary["coordinates"].get(point) != simdjson::SUCCESS)
        return;
    for (const simdjson::dom::key_value_pair member : point) {
        if (!member.value.is_number())
            return;
    }
    double x = 0, y = 0;
    if (point["x"].get(x) != simdjson::SUCCESS || point["y"].get(y) != simdjson::SUCCESS)
        throw ExtensionError(ExtensionError::Kind::parseError);
    m_coordinates = QPointF(x, y);
}

} // namespace pexi
