#include "extension/BrowserController.h"
#include "platform/BrowserLauncher.h"
#include "platform/LinuxBrowserLauncher.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

using namespace pexi;

Q_DECLARE_METATYPE(Browser)
Q_DECLARE_METATYPE(std::optional<Browser>)

namespace {

// Contents by path under the fake desktop.
using Files = QMap<QString, QString>;

// Browsers cannot be started here, so the controller's tests watch what it asks of the launcher.
class RecordingLauncher : public BrowserLauncher
{
public:
    QStringList calls;
    QSet<QString> installed;
    QSet<QString> failing;

    bool openUrl(const QUrl &url, const QString &bundleIdentifier) override
    {
        calls << "open " + url.toString() + " in " +
                     (bundleIdentifier.isEmpty() ? QStringLiteral("system choice")
                                                 : bundleIdentifier);
        return !failing.contains(bundleIdentifier);
    }
    bool openWithDefaultHandler(const QUrl &url) override
    {
        calls << "default " + url.toString();
        return true;
    }
    bool isInstalled(const QString &bundleIdentifier) const override
    {
        return installed.contains(bundleIdentifier);
    }
};

const QDateTime start(QDate(2024, 5, 1), QTime(12, 0), Qt::UTC);

// "sender|build", with "-" for a member the envelope did not have.
void record(BrowserController &controller, const QStringList &messages)
{
    for (const QString &message : messages) {
        const QStringList parts = message.split(u'|');
        const auto member = [](const QString &part) {
            return part == "-" ? std::nullopt : std::optional<QString>(part);
        };
        controller.recordMessage(member(parts.value(0)), member(parts.value(1)));
    }
}

QString describe(const std::optional<Browser> &browser)
{
    return browser ? toRaw(*browser) : QStringLiteral("none");
}

// A desktop for LinuxBrowserLauncher: XDG data directories and a PATH inside a temporary
// directory, whose programs write their name and arguments to a file when started.
class FakeDesktop
{
public:
    FakeDesktop()
    {
        for (const char *name : {"XDG_DATA_HOME", "XDG_DATA_DIRS", "PATH"})
            m_saved.append({name, qgetenv(name)});
        for (const char *dir : {"home/applications", "system/applications", "bin", "out"})
            QDir(m_root.path()).mkpath(dir);
        qputenv("XDG_DATA_HOME", path("home").toLocal8Bit());
        qputenv("XDG_DATA_DIRS", path("system").toLocal8Bit());
        qputenv("PATH", path("bin").toLocal8Bit());
    }
    ~FakeDesktop()
    {
        for (const auto &[name, value] : m_saved)
            qputenv(name, value);
    }

    QString path(const QString &relative) const { return m_root.filePath(relative); }

    void addProgram(const QString &name)
    {
        const QString out = path("out/launched");
        write("bin/" + name,
              QStringLiteral("#!/bin/sh\nprintf '%s\\n' '%1' \"$@\" > '%2.tmp' && /bin/mv '%2.tmp' "
                             "'%2'\n")
                  .arg(name, out),
              true);
    }

    void write(const QString &relative, const QString &content, bool executable = false)
    {
        QFile file(path(relative));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QString(content).replace("@BIN@", path("bin")).toUtf8());
        file.close();
        if (executable)
            file.setPermissions(file.permissions() | QFileDevice::ExeOwner);
    }

    // The name and arguments of the program that was started, empty when none was.
    QStringList launched(bool expectLaunch) const
    {
        QFile file(path("out/launched"));
        if (expectLaunch && !QTest::qWaitFor([&] { return file.exists(); }, 10000))
            return {};
        if (!file.open(QIODevice::ReadOnly))
            return {};
        QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
        lines.removeLast();
        return lines;
    }

private:
    QTemporaryDir m_root;
    QList<std::pair<const char *, QByteArray>> m_saved;
};

} // namespace

class TestBrowserController : public QObject
{
    Q_OBJECT

private slots:
    void browserNames_data();
    void browserNames();

    void initialState_data();
    void initialState();
    void recordMessage_data();
    void recordMessage();
    void activity_data();
    void activity();
    void isInstalled_data();
    void isInstalled();

    void normalizedURL_data();
    void normalizedURL();
    void open_data();
    void open();
    void loginHint_data();
    void loginHint();

    void linuxLauncher_data();
    void linuxLauncher();
};

void TestBrowserController::browserNames_data()
{
    QTest::addColumn<QString>("raw");
    QTest::addColumn<std::optional<Browser>>("browser");
    QTest::addColumn<QString>("bundleIdentifier");

    QTest::newRow("chrome") << "chrome" << std::optional(Browser::chrome) << "com.google.Chrome";
    QTest::newRow("safari") << "safari" << std::optional(Browser::safari) << "com.apple.Safari";
    QTest::newRow("capitalised") << "Chrome" << std::optional<Browser>() << "";
    QTest::newRow("other browser") << "firefox" << std::optional<Browser>() << "";
    QTest::newRow("empty") << "" << std::optional<Browser>() << "";
    QTest::newRow("padded") << " safari" << std::optional<Browser>() << "";
}

void TestBrowserController::browserNames()
{
    QFETCH(QString, raw);
    QFETCH(std::optional<Browser>, browser);
    QFETCH(QString, bundleIdentifier);

    QCOMPARE(browserFromRaw(raw), browser);
    if (browser)
        QCOMPARE(toRaw(*browser), raw);
    QCOMPARE(BrowserController::bundleIdentifiers().value(raw), bundleIdentifier);
}

void TestBrowserController::initialState_data()
{
    QTest::addColumn<Browser>("browser");

    QTest::newRow("chrome") << Browser::chrome;
    QTest::newRow("safari") << Browser::safari;
}

void TestBrowserController::initialState()
{
    QFETCH(Browser, browser);

    RecordingLauncher launcher;
    BrowserController controller(launcher, [] { return start; });
    QVERIFY(!controller.isActive(browser));
    QCOMPARE(controller.build(browser), "None");
    QVERIFY(controller.timestampMap().at(browser).date().year() < 1900);
    QCOMPARE(controller.mostRecentBrowser(), std::nullopt);
    QVERIFY(controller.loginMap().isEmpty());

    controller.open(QUrl("https://example.com"));
    QCOMPARE(launcher.calls, QStringList{"open https://example.com in system choice"});
}

void TestBrowserController::recordMessage_data()
{
    QTest::addColumn<QStringList>("messages");
    QTest::addColumn<QString>("mostRecent");
    QTest::addColumn<QString>("chromeBuild");
    QTest::addColumn<QString>("safariBuild");
    QTest::addColumn<bool>("chromeActive");
    QTest::addColumn<bool>("safariActive");

    const auto row = [](const char *name, const QStringList &messages, const QString &recent,
                        const QString &chromeBuild, const QString &safariBuild, bool chromeActive,
                        bool safariActive) {
        QTest::newRow(name) << messages << recent << chromeBuild << safariBuild << chromeActive
                            << safariActive;
    };
    row("chrome with build", {"chrome|1.4.2"}, "chrome", "1.4.2", "None", true, false);
    row("safari without build", {"safari|-"}, "safari", "None", "None", false, true);
    row("unknown sender", {"firefox|9"}, "none", "None", "None", false, false);
    row("no sender", {"-|9"}, "none", "None", "None", false, false);
    row("sender in capitals", {"Chrome|9"}, "none", "None", "None", false, false);
    row("both browsers", {"chrome|1", "safari|2"}, "safari", "1", "2", true, true);
    row("build kept when not reported again", {"chrome|1", "chrome|-"}, "chrome", "1", "None", true,
        false);
    row("newer build replaces", {"chrome|1", "chrome|2"}, "chrome", "2", "None", true, false);
    row("empty build is a build", {"chrome|1", "chrome|"}, "chrome", "", "None", true, false);
    row("never returns to none", {"safari|3", "opera|4", "-|-"}, "safari", "None", "3", false,
        true);
}

void TestBrowserController::recordMessage()
{
    QFETCH(QStringList, messages);
    QFETCH(QString, mostRecent);
    QFETCH(QString, chromeBuild);
    QFETCH(QString, safariBuild);
    QFETCH(bool, chromeActive);
    QFETCH(bool, safariActive);

    RecordingLauncher launcher;
    BrowserController controller(launcher, [] { return start; });
    record(controller, messages);
    QCOMPARE(describe(controller.mostRecentBrowser()), mostRecent);
    QCOMPARE(controller.build(Browser::chrome), chromeBuild);
    QCOMPARE(controller.build(Browser::safari), safariBuild);
    QCOMPARE(controller.isActive(Browser::chrome), chromeActive);
    QCOMPARE(controller.isActive(Browser::safari), safariActive);
}

void TestBrowserController::activity_data()
{
    QTest::addColumn<qint64>("msecsLater");
    QTest::addColumn<bool>("active");

    QTest::newRow("just now") << qint64(0) << true;
    QTest::newRow("29 s ago") << qint64(29'000) << true;
    QTest::newRow("just under 30 s ago") << qint64(29'999) << true;
    QTest::newRow("exactly 30 s ago") << qint64(30'000) << false;
    QTest::newRow("31 s ago") << qint64(31'000) << false;
    QTest::newRow("a day ago") << qint64(86'400'000) << false;
    QTest::newRow("clock set back") << qint64(-60'000) << true;
}

void TestBrowserController::activity()
{
    QFETCH(qint64, msecsLater);
    QFETCH(bool, active);

    QDateTime now = start;
    RecordingLauncher launcher;
    BrowserController controller(launcher, [&] { return now; });
    record(controller, {"chrome|1"});
    now = start.addMSecs(msecsLater);
    QCOMPARE(controller.isActive(Browser::chrome), active);
    QVERIFY(!controller.isActive(Browser::safari));
}

void TestBrowserController::isInstalled_data()
{
    QTest::addColumn<QStringList>("installed");
    QTest::addColumn<bool>("chrome");
    QTest::addColumn<bool>("safari");

    QTest::newRow("nothing") << QStringList() << false << false;
    QTest::newRow("chrome") << QStringList{"com.google.Chrome"} << true << false;
    QTest::newRow("safari") << QStringList{"com.apple.Safari"} << false << true;
    QTest::newRow("raw names are not identifiers")
        << QStringList{"chrome", "safari"} << false << false;
}

void TestBrowserController::isInstalled()
{
    QFETCH(QStringList, installed);
    QFETCH(bool, chrome);
    QFETCH(bool, safari);

    RecordingLauncher launcher;
    launcher.installed = QSet<QString>(installed.begin(), installed.end());
    BrowserController controller(launcher);
    QCOMPARE(controller.isInstalled(Browser::chrome), chrome);
    QCOMPARE(controller.isInstalled(Browser::safari), safari);
}

void TestBrowserController::normalizedURL_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");

    QTest::newRow("complete address unchanged") << "https://example.com/login?next=%2Fhome#top"
                                                << "https://example.com/login?next=%2Fhome#top";
    QTest::newRow("other scheme unchanged") << "ftp://files.example.org/pub"
                                            << "ftp://files.example.org/pub";
    QTest::newRow("host gets https") << "example.com"
                                     << "https://example.com";
    QTest::newRow("host in capitals") << "Example.COM"
                                      << "https://example.com";
    QTest::newRow("host with trailing slash") << "www.example.com/"
                                              << "https://www.example.com";
    QTest::newRow("bare host with path has a relative path") << "example.com/login"
                                                             << "none";
    QTest::newRow("scheme the parser refuses") << "ht tp://example.com/a/b"
                                               << "none";
    QTest::newRow("empty scheme") << "://example.com"
                                  << "none";
    QTest::newRow("host with port is no host") << "localhost:3000"
                                               << "none";
    QTest::newRow("host with a blank") << "exa mple.com"
                                       << "none";
    QTest::newRow("mail address") << "mailto:me@example.com"
                                  << "none";
}

void TestBrowserController::normalizedURL()
{
    QFETCH(QString, text);
    QFETCH(QString, expected);

    const std::optional<QUrl> url = BrowserController::normalizedURL(text);
    QCOMPARE(url ? url->toString() : QStringLiteral("none"), expected);
}

void TestBrowserController::open_data()
{
    QTest::addColumn<QStringList>("messages");
    QTest::addColumn<QStringList>("failing");
    QTest::addColumn<QStringList>("calls");

    const QString url = "https://example.com/a";
    QTest::newRow("no browser yet")
        << QStringList() << QStringList() << QStringList{"open " + url + " in system choice"};
    QTest::newRow("system choice fails")
        << QStringList() << QStringList{""}
        << QStringList{"open " + url + " in system choice", "default " + url};
    QTest::newRow("chrome") << QStringList{"chrome|1"} << QStringList()
                            << QStringList{"open " + url + " in com.google.Chrome"};
    QTest::newRow("chrome fails") << QStringList{"chrome|1"} << QStringList{"com.google.Chrome"}
                                  << QStringList{"open " + url + " in com.google.Chrome",
                                                 "default " + url};
    QTest::newRow("most recent wins")
        << QStringList{"chrome|1", "safari|2"} << QStringList{"com.apple.Safari"}
        << QStringList{"open " + url + " in com.apple.Safari", "default " + url};
    QTest::newRow("unknown sender keeps the last browser")
        << QStringList{"chrome|1", "edge|2"} << QStringList()
        << QStringList{"open " + url + " in com.google.Chrome"};
}

void TestBrowserController::open()
{
    QFETCH(QStringList, messages);
    QFETCH(QStringList, failing);
    QFETCH(QStringList, calls);

    RecordingLauncher launcher;
    launcher.failing = QSet<QString>(failing.begin(), failing.end());
    BrowserController controller(launcher, [] { return start; });
    record(controller, messages);
    controller.open(QUrl("https://example.com/a"));
    QCOMPARE(launcher.calls, calls);
}

void TestBrowserController::loginHint_data()
{
    // "host=uuid" opened at the start; the site is searched `secondsLater`.
    QTest::addColumn<QStringList>("logins");
    QTest::addColumn<int>("secondsLater");
    QTest::addColumn<QString>("site");
    QTest::addColumn<QString>("uuid");

    const QStringList one{"example.com=U-1"};
    QTest::newRow("right away") << one << 0 << "https://example.com/login"
                                << "U-1";
    QTest::newRow("bare host") << one << 5 << "example.com"
                               << "U-1";
    QTest::newRow("host in capitals") << one << 5 << "HTTPS://EXAMPLE.COM"
                                      << "U-1";
    QTest::newRow("29 s later") << one << 29 << "https://example.com"
                                << "U-1";
    QTest::newRow("an hour later, still") << one << 3600 << "https://example.com"
                                          << "U-1";
    QTest::newRow("a month later, still") << one << 30 * 86400 << "https://example.com"
                                          << "U-1";
    QTest::newRow("clock set back 29 s") << one << -29 << "https://example.com"
                                         << "U-1";
    QTest::newRow("clock set back 31 s") << one << -31 << "https://example.com"
                                         << "none";
    QTest::newRow("other host") << one << 0 << "https://example.org"
                                << "none";
    QTest::newRow("subdomain is another host") << one << 0 << "https://www.example.com"
                                               << "none";
    QTest::newRow("site without a usable address") << one << 0 << "example.com:443"
                                                   << "none";
    QTest::newRow("no logins") << QStringList() << 0 << "https://example.com"
                               << "none";
    QTest::newRow("replaced by the next login")
        << QStringList{"example.com=U-1", "example.org=U-9", "example.com=U-2"} << 10
        << "https://example.com"
        << "U-2";
    QTest::newRow("other hosts unaffected")
        << QStringList{"example.com=U-1", "example.org=U-9", "example.com=U-2"} << 10
        << "https://example.org"
        << "U-9";
    QTest::newRow("a site without host finds no login") << QStringList{"=U-1"} << 0 << ""
                                                        << "none";
}

void TestBrowserController::loginHint()
{
    QFETCH(QStringList, logins);
    QFETCH(int, secondsLater);
    QFETCH(QString, site);
    QFETCH(QString, uuid);

    QDateTime now = start;
    RecordingLauncher launcher;
    BrowserController controller(launcher, [&] { return now; });
    for (const QString &login : logins)
        controller.recordLogin(login.section(u'=', 0, 0), login.section(u'=', 1));
    now = start.addSecs(secondsLater);
    QCOMPARE(controller.loginUUID(site).value_or("none"), uuid);
}

void TestBrowserController::linuxLauncher_data()
{
    // Programs that record their start; files by path under the fake desktop ("@BIN@" is its
    // PATH); the identifier asked for; what was started, with "URL" for the address.
    QTest::addColumn<QStringList>("programs");
    QTest::addColumn<Files>("files");
    QTest::addColumn<QString>("bundleIdentifier");
    QTest::addColumn<QStringList>("launched");

    const QString chrome = "com.google.Chrome";
    const QString userEntry = "home/applications/google-chrome.desktop";
    const QString systemEntry = "system/applications/google-chrome.desktop";
    const auto entry = [](const QString &body) {
        return "[Desktop Entry]\nType=Application\n" + body;
    };

    QTest::newRow("nothing installed") << QStringList() << Files() << chrome << QStringList();
    QTest::newRow("chromium on the PATH")
        << QStringList{"chromium"} << Files() << chrome << QStringList{"chromium", "URL"};
    QTest::newRow("chrome stable on the PATH")
        << QStringList{"google-chrome-stable"} << Files() << chrome
        << QStringList{"google-chrome-stable", "URL"};
    QTest::newRow("chrome before chromium") << QStringList{"chromium", "google-chrome"} << Files()
                                            << chrome << QStringList{"google-chrome", "URL"};
    QTest::newRow("not executable")
        << QStringList() << Files{{"bin/chromium", "#!/bin/sh\n"}} << chrome << QStringList();
    QTest::newRow("entry with absolute program")
        << QStringList{"browser-a"}
        << Files{{userEntry, entry("Exec=@BIN@/browser-a --new-window %U\n")}} << chrome
        << QStringList{"browser-a", "--new-window", "URL"};
    QTest::newRow("entry program found on the PATH")
        << QStringList{"browser-a"} << Files{{userEntry, entry("Exec=browser-a %u\n")}} << chrome
        << QStringList{"browser-a", "URL"};
    QTest::newRow("entry without field code")
        << QStringList{"browser-a"} << Files{{userEntry, entry("Exec=browser-a --incognito\n")}}
        << chrome << QStringList{"browser-a", "--incognito", "URL"};
    QTest::newRow("quoted arguments")
        << QStringList{"browser-a"}
        << Files{{userEntry,
                  entry(
                      "Exec=\"@BIN@/browser-a\" \"--profile-directory=Profile 1\" \"100%\" %U\n")}}
        << chrome << QStringList{"browser-a", "--profile-directory=Profile 1", "100%", "URL"};
    QTest::newRow("escapes")
        << QStringList{"browser-a"}
        << Files{{userEntry, entry("Exec=browser-a \"say \\\\\"hi\\\\\"\" \"--dir=a\\sb\" %U\n")}}
        << chrome << QStringList{"browser-a", "say \"hi\"", "--dir=a b", "URL"};
    QTest::newRow("field codes") << QStringList{"browser-a"}
                                 << Files{{userEntry,
                                           entry("Name=Chrome\nIcon=chrome-icon\n"
                                                 "Exec=browser-a %i --class=%c 100%% %d %U\n")}}
                                 << chrome << QStringList{"browser-a",      "--icon", "chrome-icon",
                                                          "--class=Chrome", "100%",   "URL"};
    QTest::newRow("actions do not replace the main command")
        << QStringList{"browser-a", "browser-b"}
        << Files{{userEntry, entry("Exec=browser-a %U\n\n[Desktop Action new-window]\n"
                                   "Exec=browser-b --new-window\n")}}
        << chrome << QStringList{"browser-a", "URL"};
    QTest::newRow("user entry before system entry")
        << QStringList{"browser-a", "browser-b"}
        << Files{{userEntry, entry("Exec=browser-a --user %U\n")},
                 {systemEntry, entry("Exec=browser-b --system %U\n")}}
        << chrome << QStringList{"browser-a", "--user", "URL"};
    QTest::newRow("system chromium entry")
        << QStringList{"browser-b"}
        << Files{{"system/applications/chromium.desktop", entry("Exec=browser-b %U\n")}} << chrome
        << QStringList{"browser-b", "URL"};
    QTest::newRow("flatpak export")
        << QStringList{"browser-b"}
        << Files{{"system/applications/com.google.Chrome.desktop",
                  entry("Exec=browser-b run --branch=stable com.google.Chrome @@u %U @@\n")}}
        << chrome << QStringList{"browser-b", "run", "--branch=stable", "com.google.Chrome", "@@u",
                                 "URL",       "@@"};
    QTest::newRow("entry before PATH")
        << QStringList{"chromium", "browser-a"}
        << Files{{"home/applications/chromium.desktop", entry("Exec=browser-a --from-entry %U\n")}}
        << chrome << QStringList{"browser-a", "--from-entry", "URL"};
    QTest::newRow("hidden user entry masks the system one")
        << QStringList{"browser-a", "browser-b", "chromium"}
        << Files{{userEntry, entry("Hidden=true\nExec=browser-a %U\n")},
                 {systemEntry, entry("Exec=browser-b %U\n")}}
        << chrome << QStringList{"chromium", "URL"};
    QTest::newRow("entry whose program is gone")
        << QStringList() << Files{{userEntry, entry("Exec=@BIN@/gone %U\n")}} << chrome
        << QStringList();
    QTest::newRow("entry whose TryExec is gone")
        << QStringList{"browser-a"}
        << Files{{userEntry, entry("TryExec=gone\nExec=browser-a %U\n")}} << chrome
        << QStringList();
    QTest::newRow("entry with unbalanced quote")
        << QStringList{"browser-a"} << Files{{userEntry, entry("Exec=\"browser-a %U\n")}} << chrome
        << QStringList();
    QTest::newRow("safari is never installed")
        << QStringList{"chromium", "safari"} << Files() << "com.apple.Safari" << QStringList();
    QTest::newRow("unknown identifier")
        << QStringList{"firefox"} << Files() << "org.mozilla.firefox" << QStringList();
}

void TestBrowserController::linuxLauncher()
{
    QFETCH(QStringList, programs);
    QFETCH(Files, files);
    QFETCH(QString, bundleIdentifier);
    QFETCH(QStringList, launched);

    FakeDesktop desktop;
    for (const QString &program : programs)
        desktop.addProgram(program);
    for (auto it = files.cbegin(); it != files.cend(); ++it)
        desktop.write(it.key(), it.value());
    const QUrl url("https://example.com/a b?q=ü");
    launched.replaceInStrings(QRegularExpression("^URL$"), "https://example.com/a%20b?q=%C3%BC");

    LinuxBrowserLauncher launcher;
    QCOMPARE(launcher.isInstalled(bundleIdentifier), !launched.isEmpty());
    QCOMPARE(launcher.openUrl(url, bundleIdentifier), !launched.isEmpty());
    QCOMPARE(desktop.launched(!launched.isEmpty()), launched);
}

QTEST_MAIN(TestBrowserController)
#include "tst_browsercontroller.moc"
