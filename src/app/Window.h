#pragma once

#include "app/FloatingWindowController.h"
#include "app/Preferences.h"
#include "app/SpareWindow.h"
#include "capture/WindowPresenter.h"
#include "core/NotificationCenter.h"
#include "inventory/InventoryViewController.h"
#include "recall/RecallViewController.h"
#include "recall/RecallViewControllerDelegate.h"

namespace pexi {

class InventoryWrapperViewController;

// What the floating window works with; the process-wide ones unless told otherwise.
struct WindowServices
{
    RecallServices recall = {};
    InventoryServices inventory = {};
    Preferences &preferences = Preferences::instance();
    // Where the locker posts its lock notifications.
    NotificationCenter &center = NotificationCenter::defaultCenter();
};

// Opens the floating window: the unlock, with the welcome over it until the user has read it
// once, or the password list over the unlock while the vault is open. Slides the list in after
// each unlock made in it. After each window goes, the next showing's window and unlock are made
// ahead while nothing else is happening.
class Window : public WindowPresenter, public RecallViewControllerDelegate
{
public:
    explicit Window(WindowServices services = {});

    void showAt(QPointF point) override;
    // Never with the welcome: the user came to save a login.
    void showAt(QPointF point, const InventoryItem &item) override;

    void recallViewControllerDidUnlock(RecallViewController *controller) override;

    FloatingWindowController &windowController() { return m_windowController; }

private:
    void show(QPointF point, const InventoryItem *item);
    void presentWelcome(RecallViewController *recall);
    InventoryWrapperViewController *presentInventory(QWidget *recallWrapper, double duration);

    WindowServices m_services;
    FloatingWindowController m_windowController;
    SpareWindow m_spare;
};

} // namespace pexi
