#pragma once

#include "app/Window.h"

namespace pexi {

// Stands in for the floating window where there is none: says where it would have opened.
class LoggingWindow : public Window
{
public:
    void showAt(QPointF point) override;
    void showAt(QPointF point, const InventoryItem &item) override;
};

} // namespace pexi
