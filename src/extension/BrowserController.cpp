#include "extension/BrowserController.h"

#include <QStringList>

namespace pexi {

using namespace Qt::StringLiterals;

namespace {

constexpr double activeSeconds = 30.0;
constexpr double loginHintSeconds = 30.0;

// Long before any message could have arrived.
QDateTime distantPast()
{
    return QDateTime(QDate(1, 1, 1), QTime(0, 0), Qt::UTC);
}

} // namespace

QString toRaw(Browser browser)
{
    switch (browser) {
    case Browser::chrome:
        return u"chrome"_s;
    case Browser::safari:
        return u"safari"_s;
    }
    Q_UNREACHABLE();
    return {};
}

std::optional<Browser> browserFromRaw(QStringView raw)
{
    for (Browser browser : {Browser::chrome, Browser::safari}) {
        if (raw == toRaw(browser))
            return browser;
    }
    return std::nullopt;
}

BrowserController &BrowserController::instance()
{
    static BrowserController controller;
    return controller;
}

BrowserController::BrowserController(BrowserLauncher &launcher, Clock clock)
    : m_launcher(launcher),
      m_clock(clock ? std::move(clock) : Clock(&QDateTime::currentDateTimeUtc)),
      m_timestampMap{{Browser::chrome, distantPast()}, {Browser::safari, distantPast()}},
      m_buildMap{{Browser::chrome, u"None"_s}, {Browser::safari, u"None"_s}}
{
}

const QHash<QString, QString> &BrowserController::bundleIdentifiers()
{
    static const QHash<QString, QString> table{
        {u"chrome"_s, u"com.google.Chrome"_s},
        {u"safari"_s, u"com.apple.Safari"_s},
    };
    return table;
}

void BrowserController::recordMessage(const std::optional<QString> &sender,
                                      const std::optional<QString> &build)
{
    const std::optional<Browser> browser = sender ? browserFromRaw(*sender) : std::nullopt;
    if (!browser)
        return;
    m_mostRecentBrowser = browser;
    m_timestampMap[*browser] = m_clock();
    if (build)
        m_buildMap[*browser] = *build;
}

bool BrowserController::isActive(Browser browser) const
{
    return intervalSinceNow(m_timestampMap.at(browser)) > -activeSeconds;
}

bool BrowserController::isInstalled(Browser browser) const
{
    return m_launcher.isInstalled(bundleIdentifiers().value(toRaw(browser)));
}

QString BrowserController::build(Browser browser) const
{
    return m_buildMap.at(browser);
}

std::optional<QUrl> BrowserController::normalizedURL(const QString &text)
{
    const QUrl parsed(text);
    if (parsed.isValid() && !parsed.scheme().isEmpty() && !parsed.host().isEmpty())
        return parsed;

    const QStringList pieces = text.split(u"://"_s);
    const QString scheme = pieces.size() < 2 ? u"https"_s : pieces.first();
    const QString rest = pieces.size() < 2 ? text : pieces.mid(1).join(u"://"_s);
    const QStringList parts = rest.split(u'/');
    const QString host = parts.first();

    QUrl url;
    url.setScheme(scheme);
    url.setHost(host);
    url.setPath(parts.mid(1).join(u'/'));
    // QUrl drops a scheme or host it cannot take instead of failing; that is no address either.
    if (!url.isValid() || url.scheme().isEmpty() || (!host.isEmpty() && url.host().isEmpty()))
        return std::nullopt;
    return url;
}

void BrowserController::recordLogin(const QString &host, const QString &uuid)
{
    m_loginMap.insert(host, LoginRecord{uuid, m_clock()});
}

void BrowserController::open(const QUrl &url)
{
    const QString raw = m_mostRecentBrowser ? toRaw(*m_mostRecentBrowser) : QString();
    if (!m_launcher.openUrl(url, bundleIdentifiers().value(raw)))
        m_launcher.openWithDefaultHandler(url);
}

std::optional<QString> BrowserController::loginUUID(const QString &site) const
{
    const std::optional<QUrl> url = normalizedURL(site);
    if (!url || url->host().isEmpty())
        return std::nullopt;
    const auto entry = m_loginMap.constFind(url->host());
    if (entry == m_loginMap.constEnd())
        return std::nullopt;
    if (intervalSinceNow(entry->moment) < loginHintSeconds)
        return entry->uuid;
    return std::nullopt;
}

double BrowserController::intervalSinceNow(const QDateTime &moment) const
{
    return m_clock().msecsTo(moment) / 1000.0;
}

} // namespace pexi
