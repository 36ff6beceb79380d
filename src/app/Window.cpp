#include "app/Window.h"

#include "app/InventoryWrapperViewController.h"
#include "app/RecallWrapperViewController.h"
#include "app/WelcomeViewController.h"
#include "core/Log.h"
#include "recall/RecallCollectionViewController.h"
#include "ui/SlidePresentationAnimator.h"

#include <QPointer>

namespace pexi {

Window::Window(WindowServices services)
    : m_services(std::move(services)), m_spare(m_services.recall)
{
}

void Window::showAt(QPointF point)
{
    show(point, nullptr);
}

void Window::showAt(QPointF point, const InventoryItem &item)
{
    show(point, &item);
}

void Window::show(QPointF point, const InventoryItem *item)
{
    // Not the item's title: what the vault holds stays out of the log. Whole pixels,
    // which are quicker to write than fractions on every showing.
    logLine(QStringLiteral("floating window opens at (%1, %2)%3")
                .arg(QString::number(qRound(point.x())), QString::number(qRound(point.y())),
                     item ? QStringLiteral(" for an item") : QString()));
    const auto [window, wrapper] = m_spare.take();
    QObject::connect(window, &QObject::destroyed, &m_spare, &SpareWindow::prepareWhenIdle);
    m_windowController.show(window, point);
    RecallViewController *recall = wrapper->mainViewController();
    recall->setDelegate(this);

    if (!item && m_services.preferences.showWelcomeScreen()) {
        // Even when the vault is open: after the welcome the user unlocks with the pictures.
        presentWelcome(recall);
        return;
    }
    if (m_services.recall.locker.lockState() == LockState::locked)
        return;
    InventoryWrapperViewController *inventory = presentInventory(wrapper, 0.0);
    if (item)
        inventory->mainViewController()->presentSavePassword(*item);
}

void Window::presentWelcome(RecallViewController *recall)
{
    auto *welcome = new WelcomeViewController;
    // The grid the window gave the keyboard to (or the first run's), which gets it back.
    const QPointer<QWidget> grid = recall->window()->focusWidget();
    welcome->didDismiss = [this, welcome, grid] {
        m_services.preferences.setShowWelcomeScreen(false);
        SlidePresentationAnimator::dismiss(welcome);
        // At once, not after the slide: letters typed meanwhile are picks.
        if (grid)
            grid->setFocus(Qt::OtherFocusReason);
    };
    auto *animator =
        new SlidePresentationAnimator(SlidePresentationAnimator::SlideRight, 0.0,
                                      SlidePresentationAnimator::defaultDuration, true);
    SlidePresentationAnimator::present(welcome, recall, animator);
    animator->originalFirstResponder = grid;
}

void Window::recallViewControllerDidUnlock(RecallViewController *controller)
{
    if (QWidget *wrapper = controller->parentWidget())
        presentInventory(wrapper, SlidePresentationAnimator::defaultDuration);
}

InventoryWrapperViewController *Window::presentInventory(QWidget *recallWrapper, double duration)
{
    auto *inventory = new InventoryWrapperViewController(
        new InventoryViewController(m_services.inventory), m_services.center);
    SlidePresentationAnimator::present(
        inventory, recallWrapper,
        new SlidePresentationAnimator(SlidePresentationAnimator::SlideLeft, duration,
                                      SlidePresentationAnimator::defaultDuration, true));
    return inventory;
}

} // namespace pexi
