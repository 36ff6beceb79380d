#include "app/InventoryWrapperViewController.h"

#include "core/Locker.h"
#include "inventory/InventoryViewController.h"
#include "ui/SlidePresentationAnimator.h"

#include <QPointer>
#include <QVBoxLayout>

namespace pexi {

InventoryWrapperViewController::InventoryWrapperViewController(
    InventoryViewController *mainViewController, NotificationCenter &center, QWidget *parent)
    : QWidget(parent), m_mainViewController(mainViewController), m_center(center)
{
    setAccessibleName(QStringLiteral("Passwords"));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_mainViewController);
    // Posted on the locking thread: the dismissal runs on this screen's own.
    m_lockObserver = m_center.addObserver(
        Locker::PexiLockedNotification, nullptr,
        [screen = QPointer(this)](const QString &, const void *) {
            if (screen)
                QMetaObject::invokeMethod(screen, &InventoryWrapperViewController::pexiDidLock);
        });
}

InventoryWrapperViewController::~InventoryWrapperViewController()
{
    m_center.removeObserver(m_lockObserver);
}

void InventoryWrapperViewController::pexiDidLock()
{
    m_center.removeObserver(m_lockObserver); // once is enough
    SlidePresentationAnimator::dismiss(this);
}

} // namespace pexi
