#include "app/StatusMenuController.h"

#include "app/Preferences.h"
#include "capture/WindowPresenter.h"
#include "core/Locker.h"
#include "core/Log.h"
#include "ui/Appearance.h"

#include <QCoreApplication>
#include <QCursor>
#include <QGuiApplication>
#include <QIcon>
#include <QScreen>

namespace pexi {

StatusMenuController::StatusMenuController(const Services &services, QObject *parent)
    : QObject(parent), m_services(services)
{
    m_statusMenu.setAccessibleName(tr("Pexi"));
    m_statusMenu.addAction(tr("Open Pexi"), this, &StatusMenuController::openPexiClicked);
    m_statusMenu.addAction(tr("Preferences…"), this, &StatusMenuController::preferencesClicked);
    m_statusMenu.addSeparator();
    m_statusMenu.addAction(tr("Quit Pexi"), this, &StatusMenuController::quitClicked);
    m_statusItem.setContextMenu(&m_statusMenu);
    // A click on the icon itself opens the window, as "Open Pexi" does; the menu is the other
    // button's.
    connect(&m_statusItem, &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger)
                    openPexiClicked();
            });

    updateStatusIconTheme();
    m_lockedObserver =
        observe(Locker::PexiLockedNotification, &StatusMenuController::updateStatusIconLocked);
    m_unlockedObserver =
        observe(Locker::PexiUnlockedNotification, &StatusMenuController::updateStatusIconUnlocked);
    connect(&m_services.appearance, &Appearance::changed, this,
            &StatusMenuController::updateStatusIconTheme);
    connect(&m_services.preferences, &Preferences::showStatusBarIconChanged, this,
            [this](bool show) { show ? showStatusIcon() : hideStatusIcon(); });

    if (!QSystemTrayIcon::isSystemTrayAvailable())
        logLine(
            QStringLiteral("no system tray on this desktop: open the window with "
                           "\"pexi-worker open_window\"; the browser extensions still connect"));
    if (m_services.preferences.showStatusBarIcon())
        showStatusIcon();
}

StatusMenuController::~StatusMenuController()
{
    m_services.center.removeObserver(m_lockedObserver);
    m_services.center.removeObserver(m_unlockedObserver);
}

QString StatusMenuController::iconName(bool locked, bool dark)
{
    return QStringLiteral("iconMenuBar%1%2")
        .arg(locked ? QStringLiteral("Locked") : QStringLiteral("Unlocked"),
             dark ? QStringLiteral("Dark") : QStringLiteral("Light"));
}

QPointF StatusMenuController::anchor(const QRect &statusItem, std::optional<QRect> screen,
                                     QPointF mouse)
{
    if (statusItem.isValid()) {
        const QRectF item(statusItem);
        return {item.center().x(), item.bottom()};
    }
    if (!screen)
        return mouse;
    return {mouse.x(), qreal(screen->top())};
}

void StatusMenuController::updateStatusIconTheme()
{
    setStatusIcon(m_services.locker.lockState() == LockState::locked);
}

void StatusMenuController::updateStatusIconLocked()
{
    setStatusIcon(true);
}

void StatusMenuController::updateStatusIconUnlocked()
{
    setStatusIcon(false);
}

void StatusMenuController::showStatusIcon()
{
    m_statusItem.show();
}

void StatusMenuController::hideStatusIcon()
{
    m_statusItem.hide();
}

void StatusMenuController::openPexiClicked()
{
    const QScreen *screen = QGuiApplication::primaryScreen();
    m_services.window.showAt(anchor(m_statusItem.geometry(),
                                    screen ? std::optional(screen->geometry()) : std::nullopt,
                                    QCursor::pos()));
}

void StatusMenuController::preferencesClicked()
{
    m_services.preferences.showWindow(sender());
}

void StatusMenuController::quitClicked()
{
    QCoreApplication::quit();
}

void StatusMenuController::setStatusIcon(bool locked)
{
    const QString name = iconName(locked, m_services.appearance.isDark());
    if (name == m_iconName)
        return;
    m_iconName = name;
    m_statusItem.setIcon(QIcon(QStringLiteral(":/status/%1.svg").arg(name)));
    m_statusItem.setToolTip(locked ? tr("Pexi (locked)") : tr("Pexi (unlocked)"));
}

ObserverToken StatusMenuController::observe(const QString &notification,
                                            void (StatusMenuController::*update)())
{
    return m_services.center.addObserver(
        notification, &m_services.locker,
        [this, update](const QString &, const void *) { QMetaObject::invokeMethod(this, update); });
}

} // namespace pexi
