#pragma once

#include "capture/EventLogger.h"

#include <QObject>
#include <QString>
#include <QUrl>
#include <QUuid>

#include <functional>
#include <optional>

class QNetworkAccessManager;
class QNetworkReply;

namespace pexi {

// Reports a handful of usage events to the analytics service. Fire and forget: nothing is
// stored, queued, retried, logged or shown, whatever the network does.
class AnalyticsLogger : public QObject, public EventLogger
{
    Q_OBJECT
public:
    using UserIdentifierSource = std::function<std::optional<QUuid>()>;

    static AnalyticsLogger &instance();

    // Without a source the account's identifier is used; without a network manager the logger
    // makes its own.
    explicit AnalyticsLogger(UserIdentifierSource userIdentifier = {},
                             QNetworkAccessManager *network = nullptr, QObject *parent = nullptr);
    ~AnalyticsLogger() override;

    // Sends the user's properties, once at launch; nothing without an account identifier.
    // A plain 200 answer is followed by the "AppLaunch_Mac" event.
    void userProperties();
    // Sends one custom event; callable from any thread.
    void logEvent(const QString &name) override;

    // Endpoint base + application id + `suffix` ("/activities", "/user_properties"); none when
    // that is not a valid URL.
    static std::optional<QUrl> address(const QString &suffix);
    static QString userPropertiesBody(const QString &userId);
    static QString eventBody(const QString &name, qint64 logTime, const QString &userId);

private:
    QString userIdText() const;
    QNetworkReply *post(const QString &suffix, const QString &body);

    UserIdentifierSource m_userIdentifier;
    QNetworkAccessManager *m_network;
};

} // namespace pexi
