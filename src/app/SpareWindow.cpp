#include "app/SpareWindow.h"

#include "app/FloatingWindow.h"
#include "app/RecallWrapperViewController.h"
#include "ui/PaintRatio.h"

#include <QImage>
#include <QLayout>
#include <QTimer>

namespace pexi {

namespace {

// Drawing a hidden window lays it out but leaves its layouts to be done again: each inner
// layout, once done, asks the ones around it to redo theirs, which a hidden window puts off
// until it shows. Done innermost first, every layout is left done, and showing the window
// lays out nothing.
void finishLayouts(QWidget *widget)
{
    for (QObject *child : widget->children())
        if (child->isWidgetType() && !static_cast<QWidget *>(child)->isWindow())
            finishLayouts(static_cast<QWidget *>(child));
    if (QLayout *layout = widget->layout())
        layout->activate();
}

} // namespace

SpareWindow::SpareWindow(RecallServices services, QObject *parent)
    : QObject(parent), m_services(services)
{
}

SpareWindow::~SpareWindow()
{
    delete m_spare;
}

void SpareWindow::prepareWhenIdle()
{
    if (m_spare || m_scheduled)
        return;
    m_scheduled = true;
    QTimer::singleShot(0, this, [this] {
        m_scheduled = false;
        if (m_spare)
            return;
        m_spareShows = current();
        const Window spare = build();
        m_spare = spare.window;
        m_spareRecall = spare.recall;
    });
}

SpareWindow::Window SpareWindow::take()
{
    FloatingWindow *spare = m_spare;
    m_spare.clear();
    if (spare && m_spareShows == current())
        return {spare, m_spareRecall};
    delete spare;
    return build();
}

SpareWindow::Shows SpareWindow::current() const
{
    if (!m_services.vault.exists())
        return {};
    return {true, m_services.grids.gridNames()};
}

SpareWindow::Window SpareWindow::build()
{
    auto *recall = new RecallWrapperViewController(m_services);
    auto *window = new FloatingWindow(recall);
    // Drawn once where no one sees it: this styles and lays out every screen in it now, and
    // draws what its screens keep drawn (the pictures with their boxes and letters, the laid
    // out texts), so that showing it only puts those on the screen.
    // At the screen's pixel ratio, so that what is drawn is what the screen will show.
    const qreal ratio = window->devicePixelRatioF();
    QImage canvas(deviceSize(window->size(), ratio), QImage::Format_ARGB32_Premultiplied);
    canvas.setDevicePixelRatio(ratio);
    window->render(&canvas);
    finishLayouts(window);
    // Its native window and backing store too; unmapped, nothing of it shows.
    window->winId();
    return {window, recall};
}

} // namespace pexi
