#pragma once

#include <QString>
#include <QVariantMap>

#include <functional>

namespace pexi {

// What the user sees of one notification. userInfo never leaves the process: it stays with the
// centre until the notification is activated or closed.
struct UserNotification
{
    QString title;
    QString subtitle;
    QString informativeText;
    QString actionButtonTitle;
    QString otherButtonTitle;
    QVariantMap userInfo;
};

// The desktop's user notifications: shown even while the worker is in front, with an action
// button and a dismissing "other" button. Used from the main thread only.
class UserNotificationCenter
{
public:
    using NotificationId = quint32;

    enum class ActivationType {
        contentClicked,
        actionButtonClicked,
    };

    // The other button only dismisses: it never activates.
    using ActivationHandler =
        std::function<void(NotificationId id, const QVariantMap &userInfo, ActivationType type)>;

    virtual ~UserNotificationCenter() = default;

    // Returns the centre's own id for the notification (never 0).
    virtual NotificationId deliverNotification(const UserNotification &notification) = 0;
    // Takes the notification off the screen and forgets it. Unknown ids are ignored.
    virtual void removeDeliveredNotification(NotificationId id) = 0;

    void setActivationHandler(ActivationHandler handler)
    {
        m_activationHandler = std::move(handler);
    }

protected:
    void activate(NotificationId id, const QVariantMap &userInfo, ActivationType type)
    {
        if (m_activationHandler)
            m_activationHandler(id, userInfo, type);
    }

private:
    ActivationHandler m_activationHandler;
};

} // namespace pexi
