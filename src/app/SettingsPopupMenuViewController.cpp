#include "app/SettingsPopupMenuViewController.h"

#include "app/Deployment.h"
#include "app/Preferences.h"
#include "app/SettingsPopupMenuItem.h"
#include "core/Locker.h"
#include "extension/BrowserController.h"
#include "platform/ApplicationLauncher.h"

#include <QFrame>
#include <QVBoxLayout>

namespace pexi {

SettingsPopupMenuViewController::Services SettingsPopupMenuViewController::Services::shared()
{
    return {Locker::instance(), BrowserController::instance(), BrowserLauncher::shared(),
            ApplicationLauncher::shared(), Preferences::instance()};
}

SettingsPopupMenuViewController::SettingsPopupMenuViewController(const Services &services,
                                                                 QWidget *parent)
    : QWidget(parent), m_services(services)
{
    setAccessibleName(tr("Settings"));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 5, 0, 5);
    layout->setSpacing(1);
    m_lockItemView = addItem(QStringLiteral("lock"), tr("Lock Pexi"),
                             &SettingsPopupMenuViewController::lockPexi);
    m_preferencesItemView = addItem(QStringLiteral("preferences"), tr("Preferences…"),
                                    &SettingsPopupMenuViewController::showPreferences);
    m_chromeItemDivider = addDivider();
    m_chromeItemView = addItem(QStringLiteral("extension"), tr("Get the Chrome Extension"),
                               &SettingsPopupMenuViewController::openChromeExtensionPage);
    m_safariItemDivider = addDivider();
    m_safariItemView = addItem(QStringLiteral("compass"), tr("Safari Extension Settings"),
                               &SettingsPopupMenuViewController::openSafariPreferences);
}

void SettingsPopupMenuViewController::lockPexi()
{
    m_services.locker.lock();
}

void SettingsPopupMenuViewController::showPreferences()
{
    m_services.preferences.showWindow(m_preferencesItemView);
}

void SettingsPopupMenuViewController::openChromeExtensionPage()
{
    m_services.browserLauncher.openUrl(
        QUrl(Deployment::chromeExtensionStorePage),
        BrowserController::bundleIdentifiers().value(toRaw(Browser::chrome)));
}

void SettingsPopupMenuViewController::openSafariPreferences()
{
    m_services.applications.launch(MacAppController::bundleIdentifier,
                                   PexiMacOSConstants::LaunchCommand::openSafariPreferences);
}

void SettingsPopupMenuViewController::viewWillAppear()
{
    const bool offerChrome = m_services.browsers.isInstalled(Browser::chrome) &&
                             !m_services.browsers.isActive(Browser::chrome);
    m_chromeItemView->setVisible(offerChrome);
    m_chromeItemDivider->setVisible(offerChrome);
    const bool offerSafari =
        m_services.applications.isInstalled(MacAppController::bundleIdentifier);
    m_safariItemView->setVisible(offerSafari);
    m_safariItemDivider->setVisible(offerSafari);
}

void SettingsPopupMenuViewController::showEvent(QShowEvent *event)
{
    viewWillAppear();
    QWidget::showEvent(event);
}

SettingsPopupMenuItem *SettingsPopupMenuViewController::addItem(const QString &icon,
                                                                const QString &title, Action action)
{
    auto *item = new SettingsPopupMenuItem(icon, title, [this, action] {
        // The pop-up goes first: what the entry opens (a window, the main application, a
        // browser) must not find it still in front.
        window()->close();
        (this->*action)();
    });
    layout()->addWidget(item);
    return item;
}

QFrame *SettingsPopupMenuViewController::addDivider()
{
    auto *divider = new QFrame(this);
    divider->setFrameShape(QFrame::HLine);
    divider->setFrameShadow(QFrame::Plain);
    divider->setForegroundRole(QPalette::Mid);
    divider->setContentsMargins(10, 0, 10, 0);
    layout()->addWidget(divider);
    return divider;
}

} // namespace pexi
