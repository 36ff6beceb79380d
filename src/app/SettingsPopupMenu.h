#pragma once

#include "app/SettingsPopupMenuViewController.h"
#include "app/SettingsPopupMenuWindow.h"

#include <QObject>
#include <QPointF>
#include <QPointer>

#include <functional>

namespace pexi {

// Opens the settings pop-up hanging to the left of and below the middle of the button that asked
// for it, or from the mouse pointer when no button did (a keyboard shortcut).
class SettingsPopupMenu : public QObject
{
    Q_OBJECT
public:
    using MouseLocation = std::function<QPointF()>;

    static SettingsPopupMenu &instance();
    explicit SettingsPopupMenu(const SettingsPopupMenuViewController::Services &services =
                                   SettingsPopupMenuViewController::Services::shared(),
                               MouseLocation mouseLocation = {}, QObject *parent = nullptr);

    // A pop-up already open gives way to the new one.
    void open(QWidget *sender = nullptr);
    // The open pop-up, if any.
    SettingsPopupMenuWindow *windowController() const { return m_windowController; }

private:
    SettingsPopupMenuViewController::Services m_services;
    MouseLocation m_mouseLocation;
    QPointer<SettingsPopupMenuWindow> m_windowController;
};

} // namespace pexi
