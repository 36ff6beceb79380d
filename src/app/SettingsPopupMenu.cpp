#include "app/SettingsPopupMenu.h"

#include "app/SettingsPopupMenuWindow.h"

#include <QCursor>

namespace pexi {

SettingsPopupMenu &SettingsPopupMenu::instance()
{
    static SettingsPopupMenu menu;
    return menu;
}

SettingsPopupMenu::SettingsPopupMenu(const SettingsPopupMenuViewController::Services &services,
                                     MouseLocation mouseLocation, QObject *parent)
    : QObject(parent), m_services(services),
      m_mouseLocation(mouseLocation ? std::move(mouseLocation)
                                    : MouseLocation([] { return QPointF(QCursor::pos()); }))
{
}

void SettingsPopupMenu::open(QWidget *sender)
{
    if (m_windowController)
        m_windowController->close();
    auto *window = new SettingsPopupMenuWindow(new SettingsPopupMenuViewController(m_services));
    m_windowController = window;
    window->popUp(sender ? sender->mapToGlobal(QRectF(sender->rect()).center()).toPoint()
                         : m_mouseLocation().toPoint());
}

} // namespace pexi
