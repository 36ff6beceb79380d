#include "capture/SavePasswordController.h"

#include "capture/CapturePreferences.h"
#include "capture/EventLogger.h"
#include "capture/TopSites.h"
#include "capture/WindowPresenter.h"
#include "core/HostnameInfo.h"
#include "core/Inventory.h"
#include "core/Locker.h"
#include "core/Log.h"
#include "core/VaultError.h"

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

SavePasswordController::SavePasswordController(Services services) : m_services(std::move(services))
{
    m_services.notificationCenter.setActivationHandler(
        [this](UserNotificationCenter::NotificationId id, const QVariantMap &userInfo,
               UserNotificationCenter::ActivationType type) {
            userNotificationCenterDidActivate(id, userInfo, type);
        });
}

SavePasswordController::~SavePasswordController()
{
    m_services.notificationCenter.setActivationHandler({});
}

std::optional<QString> SavePasswordController::guessTitleForSite(const QString &site,
                                                                 const QString &host)
{
    if (host.isEmpty())
        return std::nullopt;
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

    const CapturePreferences &settings = m_services.preferences;
    if (settings.autoSavePasswords()) {
        bool saved = false;
        m_services.locker.runWithInventory(
            [&](Inventory &inventory) { saved = save(inventory, item); });
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

    m_services.notificationCenter.removeDeliveredNotification(id);

    if (!saved.toBool() && type == UserNotificationCenter::ActivationType::actionButtonClicked)
        m_services.locker.runWithInventory([&](Inventory &inventory) { save(inventory, *item); });

    // Saved or not, the user gets to see the login and correct it.
    m_services.window.showAt(m_services.mouseLocation(), *item);
}

bool SavePasswordController::save(Inventory &inventory, const InventoryItem &item)
{
    const QString username = item.username().value_or(QString());
    const QString site = item.site().value_or(QString());
    if (inventory.containsLogin(username, site, item.password()))
        return false;

    m_services.events.logEvent(QStringLiteral("Mac_PasswordCaptured"));
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
    m_services.notificationCenter.deliverNotification(notification);
}

} // namespace pexi
