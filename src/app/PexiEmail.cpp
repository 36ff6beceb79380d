#include "app/PexiEmail.h"

#include "app/Deployment.h"

#include <utility>

namespace pexi {

PexiEmail::PexiEmail(Address address, QString subject, QString body)
    : address(address), subject(std::move(subject)), body(std::move(body))
{
}

QString PexiEmail::addressString(Address address)
{
    switch (address) {
    case Address::support:
        return Deployment::supportAddress;
    case Address::feedback:
        return Deployment::feedbackAddress;
    }
    Q_UNREACHABLE();
    return {};
}

QString PexiEmail::text() const
{
    return QStringLiteral("mailto:") + addressString(address) + QStringLiteral("?subject=") +
           subject + QStringLiteral("&body=") + body;
}

std::optional<QUrl> PexiEmail::url() const
{
    // Strict, so that text the caller forgot to encode is refused rather than guessed at.
    QUrl url(text(), QUrl::StrictMode);
    if (!url.isValid())
        return std::nullopt;
    return url;
}

bool PexiEmail::send(BrowserLauncher &launcher) const
{
    const std::optional<QUrl> mail = url();
    return mail && launcher.openWithDefaultHandler(*mail);
}

} // namespace pexi
