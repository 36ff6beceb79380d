#pragma once

#include <QPointF>

namespace pexi {

class InventoryItem;

// Presents the floating window: the unlock grid or, once unlocked, the password list. Code that
// only needs to open it (the extension bridge, captured logins) talks to this and never to the
// widgets behind it.
class Window
{
public:
    virtual ~Window() = default;

    virtual void showAt(QPointF point) = 0;
    // The list then offers to save `item`, filled in and ready to be corrected.
    virtual void showAt(QPointF point, const InventoryItem &item) = 0;

    // The presenter in use; a logging one until the floating window installs itself.
    static Window &shared();
    // Not owned; must outlive its use. nullptr goes back to the logging presenter.
    static void setShared(Window *window);
};

} // namespace pexi
