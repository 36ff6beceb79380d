#pragma once

#include "core/NotificationCenter.h"

#include <QWidget>

namespace pexi {

class InventoryViewController;

// Holds the password list while it is presented over the unlock, and slides it away when the
// vault locks, whoever locked it, which shows the unlock again.
class InventoryWrapperViewController : public QWidget
{
    Q_OBJECT
public:
    InventoryWrapperViewController(InventoryViewController *mainViewController,
                                   NotificationCenter &center = NotificationCenter::defaultCenter(),
                                   QWidget *parent = nullptr);
    ~InventoryWrapperViewController() override;

    InventoryViewController *mainViewController() const { return m_mainViewController; }

    void pexiDidLock();

private:
    InventoryViewController *m_mainViewController;
    NotificationCenter &m_center;
    ObserverToken m_lockObserver;
};

} // namespace pexi
