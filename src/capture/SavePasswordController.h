#pragma once

#include "core/InventoryItem.h"
#include "platform/UserNotificationCenter.h"

#include <QPointF>
#include <QString>

#include <functional>
#include <optional>

namespace pexi {

class CapturePreferences;
class EventLogger;
class Inventory;
class Locker;
class WindowPresenter;

// Turns a login captured by a browser extension into a saved item. The extension hands the
// login over first (store) and confirms it once the site accepted it (commit) or withdraws it
// (abort). On commit the login is saved at once, offered through a notification, or dropped,
// as the preferences say; clicking the notification opens the floating window with it.
class SavePasswordController
{
public:
    using MouseLocation = std::function<QPointF()>;

    // Handed in by whoever wires the worker; all must outlive the controller. It answers the
    // notification centre's activations from construction to destruction.
    struct Services
    {
        const CapturePreferences &preferences;
        EventLogger &events;
        UserNotificationCenter &notificationCenter;
        WindowPresenter &window;
        Locker &locker;
        MouseLocation mouseLocation;
    };

    explicit SavePasswordController(Services services);
    ~SavePasswordController();
    SavePasswordController(const SavePasswordController &) = delete;
    SavePasswordController &operator=(const SavePasswordController &) = delete;

    // The captured login waiting for commit; a new store replaces it.
    const std::optional<InventoryItem> &pendingItem() const { return m_pendingItem; }
    void setPendingItem(const std::optional<InventoryItem> &item) { m_pendingItem = item; }

    // A readable title for a captured login: the service's name for well-known login pages,
    // else the capitalised main name of the host ("Bbc" for www.bbc.co.uk). `host` is the host of
    // the site's address as browser tracking reads it (BrowserController::normalizedURL); none
    // when it is empty.
    static std::optional<QString> guessTitleForSite(const QString &site, const QString &host);

    void commitProvisionalItem();
    void abortProvisionalItem();

    // The notification centre's call when the user clicks one of our notifications.
    void userNotificationCenterDidActivate(UserNotificationCenter::NotificationId id,
                                           const QVariantMap &userInfo,
                                           UserNotificationCenter::ActivationType type);

    static inline const QString savedKey = QStringLiteral("saved");
    static inline const QString itemJsonKey = QStringLiteral("item_json");

private:
    // Saves a login unless the vault already holds it; true when it was saved.
    bool save(Inventory &inventory, const InventoryItem &item);
    void deliverNotification(const InventoryItem &item, const QString &title,
                             const QString &actionButtonTitle, const QString &otherButtonTitle,
                             bool saved);

    Services m_services;
    std::optional<InventoryItem> m_pendingItem;
};

} // namespace pexi
