#pragma once

#include "platform/BrowserLauncher.h"

#include <QDateTime>
#include <QHash>
#include <QString>
#include <QUrl>

#include <functional>
#include <map>
#include <optional>

namespace pexi {

// The browsers whose extensions talk to the worker.
enum class Browser { chrome, safari };

// "chrome", "safari": the "sender" of an extension message.
QString toRaw(Browser browser);
std::optional<Browser> browserFromRaw(QStringView raw);

// Which browser's extension spoke last, when each was last heard from and which extension build it
// runs; opens addresses in the browser used most recently; and remembers the login the user just
// asked to open, so that the next search for that host can log in with it.
class BrowserController
{
public:
    using Clock = std::function<QDateTime()>;

    static BrowserController &instance();
    explicit BrowserController(BrowserLauncher &launcher = BrowserLauncher::shared(),
                               Clock clock = {});

    // Application bundle identifiers keyed by the browsers' raw values.
    static const QHash<QString, QString> &bundleIdentifiers();

    // From the envelope of every incoming message. A sender that names no browser changes
    // nothing; a build is stored only together with a known sender.
    void recordMessage(const std::optional<QString> &sender, const std::optional<QString> &build);
    // Heard from less than 30 seconds ago.
    bool isActive(Browser browser) const;
    bool isInstalled(Browser browser) const;
    // "None" until the browser's extension reports a build.
    QString build(Browser browser) const;

    // `text` as an address: unchanged when it has a scheme and a host; otherwise "https" unless
    // the text names a scheme before "://", and the text up to the first "/" is the host. Nothing
    // when no valid address comes of it: a host or scheme the URL refuses, or a bare "host/path",
    // whose path is relative.
    static std::optional<QUrl> normalizedURL(const QString &text);

    void recordLogin(const QString &host, const QString &uuid);
    // In the most recent browser, or with the default handler when there is none or it fails.
    void open(const QUrl &url);
    // The login last opened for the site's host. The 30-second bound only rejects moments in the
    // future, so an entry keeps answering until another login is opened for the same host; unlike
    // isActive, which looks back, and kept that way on purpose.
    std::optional<QString> loginUUID(const QString &site) const;

    std::optional<Browser> mostRecentBrowser() const { return m_mostRecentBrowser; }

private:
    struct LoginRecord
    {
        QString uuid;
        QDateTime moment;
    };

    // Seconds from now to `moment`: negative for the past.
    double intervalSinceNow(const QDateTime &moment) const;

    BrowserLauncher &m_launcher;
    Clock m_clock;
    QHash<QString, LoginRecord> m_loginMap;
    std::optional<Browser> m_mostRecentBrowser;
    std::map<Browser, QDateTime> m_timestampMap;
    std::map<Browser, QString> m_buildMap;
};

} // namespace pexi
