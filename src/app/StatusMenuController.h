#pragma once

#include "core/NotificationCenter.h"

#include <QMenu>
#include <QObject>
#include <QPointF>
#include <QRect>
#include <QSystemTrayIcon>

#include <optional>

namespace pexi {

class Appearance;
class Locker;
class Preferences;
class WindowPresenter;

// The status item: an icon in the tray that tells whether the vault is locked, and its menu
// ("Open Pexi", "Preferences…", "Quit Pexi"). The icon is the truth: it follows every lock
// notification, whoever locked, and every change between light and dark.
class StatusMenuController : public QObject
{
    Q_OBJECT
public:
    struct Services
    {
        WindowPresenter &window;
        Locker &locker;
        NotificationCenter &center;
        Preferences &preferences;
        Appearance &appearance;
    };

    explicit StatusMenuController(const Services &services, QObject *parent = nullptr);
    ~StatusMenuController() override;

    // The icon's resource name: "iconMenuBar" + Locked/Unlocked + Dark/Light.
    static QString iconName(bool locked, bool dark);
    // Where the floating window hangs from: the middle of the bottom of the status item when the
    // tray says where it is; else the mouse's x on the top edge of the screen, or the mouse
    // itself without a screen.
    static QPointF anchor(const QRect &statusItem, std::optional<QRect> screen, QPointF mouse);

    QSystemTrayIcon &statusItem() { return m_statusItem; }
    QMenu &statusMenu() { return m_statusMenu; }
    // The name of the icon shown now.
    QString statusIconName() const { return m_iconName; }

    void updateStatusIconTheme();
    void updateStatusIconLocked();
    void updateStatusIconUnlocked();
    void showStatusIcon();
    void hideStatusIcon();

    void openPexiClicked();
    void preferencesClicked();
    void quitClicked();

private:
    void setStatusIcon(bool locked);
    // Lock notifications run on the thread that locked; the icon changes on ours.
    ObserverToken observe(const QString &notification, void (StatusMenuController::*update)());

    Services m_services;
    QMenu m_statusMenu;
    QSystemTrayIcon m_statusItem;
    QString m_iconName;
    ObserverToken m_lockedObserver;
    ObserverToken m_unlockedObserver;
};

} // namespace pexi
