#include "app/AnalyticsLogger.h"

#include "app/AnalyticsConfig.h"
#include "core/Account.h"

#include <QDateTime>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QThread>

namespace pexi {

namespace {

const QString &applicationId()
{
    static const QString id = QString::fromLatin1(AnalyticsConfig::applicationId);
    return id;
}

} // namespace

AnalyticsLogger &AnalyticsLogger::instance()
{
    // Never destroyed: a network manager must not outlive the application object.
    static AnalyticsLogger *logger = new AnalyticsLogger;
    return *logger;
}

AnalyticsLogger::AnalyticsLogger(UserIdentifierSource userIdentifier,
                                 QNetworkAccessManager *network, QObject *parent)
    : QObject(parent), m_userIdentifier(std::move(userIdentifier)),
      m_network(network ? network : new QNetworkAccessManager(this))
{
    if (!m_userIdentifier)
        m_userIdentifier = [] { return Account::shared().userIdentifier(); };
}

AnalyticsLogger::~AnalyticsLogger() = default;

void AnalyticsLogger::userProperties()
{
    const std::optional<QUuid> user = m_userIdentifier();
    if (!user)
        return;
    const QString body = userPropertiesBody(user->toString(QUuid::WithoutBraces).toUpper());
    QNetworkReply *reply = post(QStringLiteral("/user_properties"), body);
    if (!reply)
        return;
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
        if (status.isValid() && status.toInt() == 200)
            logEvent(QStringLiteral("AppLaunch_Mac"));
    });
}

void AnalyticsLogger::logEvent(const QString &name)
{
    // The moment is the caller's, whichever thread the request then leaves from.
    const QString body = eventBody(name, QDateTime::currentSecsSinceEpoch(), userIdText());
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(this,
                                  [this, body] { post(QStringLiteral("/activities"), body); });
        return;
    }
    post(QStringLiteral("/activities"), body);
}

std::optional<QUrl> AnalyticsLogger::address(const QString &suffix)
{
    const QString base = qEnvironmentVariable(AnalyticsConfig::endpointBaseVariable,
                                              QString::fromLatin1(AnalyticsConfig::endpointBase));
    const QUrl url(base + applicationId() + suffix, QUrl::StrictMode);
    if (!url.isValid() || url.scheme().isEmpty() || url.host().isEmpty())
        return std::nullopt;
    return url;
}

QString AnalyticsLogger::userPropertiesBody(const QString &userId)
{
    // The service's own loose format: single quotes and unquoted keys.
    return QStringLiteral("data=[{user_unique_id:'") + userId +
           QStringLiteral("', custom_data: {CustomerType: '") +
           QLatin1String(AnalyticsConfig::customerType) + QStringLiteral("'}}]");
}

QString AnalyticsLogger::eventBody(const QString &name, qint64 logTime, const QString &userId)
{
    // Not form-encoded: the service reads the name and id exactly as they are written here.
    return QStringLiteral("event=CUSTOM_APP_EVENTS&custom_events=[{\"_eventName\":\"") + name +
           QStringLiteral("\", \"_logTime\" : ") + QString::number(logTime) +
           QStringLiteral(", \"_appVersion\" : \"") + QLatin1String(AnalyticsConfig::appVersion) +
           QStringLiteral("\"}]&attribution=") + userId + QStringLiteral("&app_user_id=") + userId +
           QStringLiteral("&advertiser_tracking_enabled=1&application_tracking_enabled=1");
}

QString AnalyticsLogger::userIdText() const
{
    const std::optional<QUuid> user = m_userIdentifier();
    return user ? user->toString(QUuid::WithoutBraces).toUpper() : QString();
}

QNetworkReply *AnalyticsLogger::post(const QString &suffix, const QString &body)
{
    const std::optional<QUrl> url = address(suffix);
    if (!url)
        return nullptr;
    QNetworkRequest request(*url);
    // The content type every HTTP client assumes for a bare POST body; said out loud so that
    // Qt does not warn about guessing it.
    request.setHeader(QNetworkRequest::ContentTypeHeader,
                      QByteArrayLiteral("application/x-www-form-urlencoded"));
    QNetworkReply *reply = m_network->post(request, body.toUtf8());
    connect(reply, &QNetworkReply::finished, reply, &QObject::deleteLater);
    return reply;
}

} // namespace pexi
