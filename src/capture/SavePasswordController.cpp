#include "capture/SavePasswordController.h"

#include "app/AnalyticsLogger.h"
#include "app/Log.h"
#include "app/Preferences.h"
#include "app/Window.h"
#include "capture/TopSites.h"
#include "core/HostnameInfo.h"
#include "core/Inventory.h"
#include "core/Locker.h"
#include "core/VaultError.h"
#include "extension/BrowserController.h"

#include <QCursor>
#include <QUrl>

#include <utility>

namespace pexi {

namespace {

// First letter of each blank-separated word upper case, the rest lower case.
QString capitalized(const QString &text)
{
    QString result;
    result.reserve(text.size());
    bool wordStart = true;
    for (const QChar c : text) {
        result.append(wordStart ? c.toUpper() : c.toLower());
        wordStart = c.isSpace();
    }
    return result;
}

} // namespace

SavePasswordController &SavePasswordController::instance()
{
    static SavePasswordController controller;
    return controller;
}

SavePasswordController::SavePasswordController() : SavePasswordController(Services{})
{
}

SavePasswordController::SavePasswordController(Services services) : m_services(std::move(services))
{
    if (!m_services.logEvent) {
        m_services.logEvent = [](const QString &name) {
            AnalyticsLogger::instance().logEvent(name);
        };
    }
    if (!m_services.mouseLocation)
        m_services.mouseLocation = [] { return QPointF(QCursor::pos()); };
    // A centre handed in may already hold our notifications, so listen to it from the start.
    if (m_services.notificationCenter)
        notificationCenter();
}

SavePasswordController::~SavePasswordController()
{
    if (m_isNotificationDelegate)
        notificationCenter().setActivationHandler({});
}

std::optional<QString> SavePasswordController::guessTitleForSite(const QString &site)
{
    const std::optional<QUrl> url = BrowserController::normalizedURL(site);
    if (!url || url->host().isEmpty())
        return std::nullopt;
    const QString host = url->host();
    for (const WebsiteInfo &row : TopSites::sites()) {
        if (row.urlHost == host)
            return row.title;
    }
    try {
        return capitalized(HostnameInfo::fromString(site).mainName());
    } catch (const HostnameError &) {
        return std::nullopt;
    }
}

void SavePasswordController::commitProvisionalItem()
{
    if (!m_pendingItem)
        return;
    const InventoryItem item = *std::exchange(m_pendingItem, std::nullopt);

    Preferences &settings = preferences();
    if (settings.autoSavePasswords()) {
        bool saved = false;
        locker().runWithInventory([&](Inventory &inventory) { saved = save(inventory, item); });
        if (saved && settings.showSaveNotifications()) {
            deliverNotification(item, QStringLiteral("Password Saved"), QStringLiteral("Edit"),
                                QStringLiteral("Keep"), true);
        }
    } else if (settings.showSaveNotifications()) {
        // Always the case while saving is not automatic; the login is dropped otherwise.
        deliverNotification(item, QStringLiteral("Save Password?"), QStringLiteral("Save"),
                            QStringLiteral("Skip"), false);
    }
}

void SavePasswordController::abortProvisionalItem()
{
    m_pendingItem.reset();
}

void SavePasswordController::userNotificationCenterDidActivate(
    UserNotificationCenter::NotificationId id, const QVariantMap &userInfo,
    UserNotificationCenter::ActivationType type)
{
    // Anything not written by deliverNotification() below is someone else's and ignored.
    const QVariant saved = userInfo.value(savedKey);
    const QVariant itemJson = userInfo.value(itemJsonKey);
    if (saved.typeId() != QMetaType::Bool || itemJson.typeId() != QMetaType::QString)
        return;

    const std::optional<InventoryItem> item = InventoryItem::fromJsonText(itemJson.toString());
    if (!item)
        return;

    notificationCenter().removeDeliveredNotification(id);

    if (!saved.toBool() && type == UserNotificationCenter::ActivationType::actionButtonClicked)
        locker().runWithInventory([&](Inventory &inventory) { save(inventory, *item); });

    // Saved or not, the user gets to see the login and correct it.
    window().showAt(m_services.mouseLocation(), *item);
}

bool SavePasswordController::save(Inventory &inventory, const InventoryItem &item)
{
    const QString username = item.username().value_or(QString());
    const QString site = item.site().value_or(QString());
    if (inventory.containsLogin(username, site, item.password()))
        return false;

    m_services.logEvent(QStringLiteral("Mac_PasswordCaptured"));
    try {
        inventory.upsert(item, true);
    } catch (const VaultError &error) {
        logLine(QStringLiteral("captured login not saved: %1").arg(error.message()));
        return false;
    }
    return true;
}

void SavePasswordController::deliverNotification(const InventoryItem &item, const QString &title,
                                                 const QString &actionButtonTitle,
                                                 const QString &otherButtonTitle, bool saved)
{
    UserNotification notification;
    notification.title = title;
    notification.subtitle = item.title();
    notification.informativeText = item.username().value_or(item.site().value_or(QString()));
    notification.actionButtonTitle = actionButtonTitle;
    notification.otherButtonTitle = otherButtonTitle;
    // The only copy of an offered login from here on.
    notification.userInfo = {{savedKey, saved}, {itemJsonKey, item.toJson()}};
    notificationCenter().deliverNotification(notification);
}

Preferences &SavePasswordController::preferences()
{
    return m_services.preferences ? *m_services.preferences : Preferences::instance();
}

Locker &SavePasswordController::locker()
{
    return m_services.locker ? *m_services.locker : Locker::instance();
}

Window &SavePasswordController::window()
{
    // Looked up at every use: the floating window installs itself after launch.
    return m_services.window ? *m_services.window : Window::shared();
}

UserNotificationCenter &SavePasswordController::notificationCenter()
{
    if (!m_services.notificationCenter)
        m_services.notificationCenter = &UserNotificationCenter::shared();
    if (!m_isNotificationDelegate) {
        m_isNotificationDelegate = true;
        m_services.notificationCenter->setActivationHandler(
            [this](UserNotificationCenter::NotificationId id, const QVariantMap &userInfo,
                   UserNotificationCenter::ActivationType type) {
                userNotificationCenterDidActivate(id, userInfo, type);
            });
    }
    return *m_services.notificationCenter;
}

} // namespace pexi
