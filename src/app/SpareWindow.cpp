#include "app/SpareWindow.h"

#include "app/FloatingWindow.h"
#include "app/RecallWrapperViewController.h"

#include <QImage>
#include <QTimer>

namespace pexi {

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
    return {m_services.vault.exists(), m_services.grids.grids()};
}

SpareWindow::Window SpareWindow::build()
{
    auto *recall = new RecallWrapperViewController(m_services);
    auto *window = new FloatingWindow(recall);
    // Drawn once where no one sees it: this styles and lays out every screen in it now, and
    // draws what its screens keep drawn (the pictures with their boxes and letters, the laid
    // out texts), so that showing it only puts those on the screen.
    QImage canvas(window->size(), QImage::Format_ARGB32_Premultiplied);
    window->render(&canvas);
    // Its native window and backing store too; unmapped, nothing of it shows.
    window->winId();
    return {window, recall};
}

} // namespace pexi
