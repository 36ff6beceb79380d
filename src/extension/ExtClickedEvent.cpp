#include "extension/ExtClickedEvent.h"

#include "extension/ExtensionError.h"

#include <QJsonValue>

namespace pexi {

using namespace Qt::StringLiterals;

ExtClickedEvent::ExtClickedEvent(const std::optional<QPointF> &coordinates)
    : MiniAppEvent(Command::EXT_CLICKED), m_coordinates(coordinates)
{
}

ExtClickedEvent::ExtClickedEvent(const QJsonObject &dictionary) : MiniAppEvent(Command::EXT_CLICKED)
{
    requireCommand(dictionary);
    // Lenient and strict at once, on purpose: anything that is not a dictionary of numbers means
    // "no point" (the window opens at the mouse), but a dictionary of numbers must be a whole
    // point.
    const QJsonValue value = dictionary.value("coordinates"_L1);
    if (!value.isObject())
        return;
    const QJsonObject point = value.toObject();
    for (auto it = point.constBegin(); it != point.constEnd(); ++it) {
        if (!it.value().isDouble())
            return;
    }
    const QJsonValue x = point.value("x"_L1);
    const QJsonValue y = point.value("y"_L1);
    if (x.isUndefined() || y.isUndefined())
        throw ExtensionError(ExtensionError::Kind::parseError);
    m_coordinates = QPointF(x.toDouble(), y.toDouble());
}

} // namespace pexi
