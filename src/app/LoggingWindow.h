#pragma once

#include "capture/WindowPresenter.h"

namespace pexi {

// Stands in for the floating window where there is none: says where it would have opened.
class LoggingWindow : public WindowPresenter
{
public:
    void showAt(QPointF point) override;
    void showAt(QPointF point, const InventoryItem &item) override;
};

} // namespace pexi
