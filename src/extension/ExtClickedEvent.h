#pragma once

#include "extension/MiniAppEvent.h"

#include <QPointF>

namespace pexi {

// "ext_icon_clicked": the user clicked the extension's toolbar icon; the floating window opens at
// the given screen point, or at the mouse when there is none.
class ExtClickedEvent : public MiniAppEvent
{
public:
    explicit ExtClickedEvent(const std::optional<QPointF> &coordinates = std::nullopt);
    // Needs "command". "coordinates" that is not a dictionary of numbers only is ignored; a
    // dictionary of numbers without both "x" and "y" throws ExtensionError.
    explicit ExtClickedEvent(const simdjson::dom::object &dictionary);

    const std::optional<QPointF> &coordinates() const { return m_coordinates; }

private:
    std::optional<QPointF> m_coordinates;
};

} // namespace pexi
