#include "extension/ExtClickedEvent.h"

#include "extension/ExtensionError.h"

#include "extension/JsonValue.h"

namespace pexi {

using namespace Qt::StringLiterals;

ExtClickedEvent::ExtClickedEvent(const std::optional<QPointF> &coordinates)
    : MiniAppEvent(Command::EXT_CLICKED), m_coordinates(coordinates)
{
}

ExtClickedEvent::ExtClickedEvent(const JsonObject &dictionary) : MiniAppEvent(Command::EXT_CLICKED)
{
    requireCommand(dictionary);
    // Lenient and strict at once, on purpose: anything that is not a dictionary of numbers means
    // "no point" (the window opens at the mouse), but a dictionary of numbers must be a whole
    // point.
    const JsonValue value = dictionary.value("coordinates"_L1);
    if (!value.isObject())
        return;
    const JsonObject point = value.toObject();
    for (const auto &[key, member] : point) {
        if (!member.isDouble())
            return;
    }
    const JsonValue x = point.value("x"_L1);
    const JsonValue y = point.value("y"_L1);
    if (x.isUndefined() || y.isUndefined())
        throw ExtensionError(ExtensionError::Kind::parseError);
    m_coordinates = QPointF(x.toDouble(), y.toDouble());
}

} // namespace pexi
