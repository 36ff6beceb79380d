#pragma once

#include <QPointF>

namespace pexi {

class InventoryItem;

// Presents the floating window: the unlock grid or, once unlocked, the password list. The bridge
// below the screens (captured logins, the extensions' icon clicks) only ever opens it, so it
// talks to this and the screens implement it.
class WindowPresenter
{
public:
    virtual ~WindowPresenter() = default;

    virtual void showAt(QPointF point) = 0;
    // The list then offers to save `item`, filled in and ready to be corrected.
    virtual void showAt(QPointF point, const InventoryItem &item) = 0;
};

} // namespace pexi
