#include "extension/BrowserController.h"
#include "platform/BrowserLauncher.h"
#include "platform/LinuxBrowserLauncher.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

using namespace pexi;

namespace {

using Files = QMap<QString, QString>;

const QDateTime start(QDate(2024, 5, 1), QTime(12, 0), Qt::UTC);
const QUrl address("https://a.test/");

// Records what the controller asks for; Safari never starts, so it shows the fallback. Only the
// browser named `installed` is installed.
class RecordingLauncher : public BrowserLauncher
{
public:
    QStringList calls;
    QString installed;

    bool openUrl(const QUrl &url, const QString &id) override
    {
        calls << (url != address ? "wrong address" : id.isEmpty() ? "system choice" : id);
        return id != "com.apple.Safari";
    }
    bool openWithDefaultHandler(const QUrl &url) override
    {
        calls << (url != address ? "wrong address" : "by default");
        return true;
    }
    bool isInstalled(const QString &id) const override { return id == installed; }
};

} // namespace

class TestBrowserController : public QObject
{
    Q_OBJECT

private slots:
    // Messages "sender|build" ("-": member missing); `msecsLater` after them: "chrome build, safari
    // build, most recent browser, active browsers, where open() went".
    void recordMessage_data()
    {
        QTest::addColumn<QStringList>("messages");
        QTest::addColumn<int>("msecsLater");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const QString &messages, const QString &expected,
                            int later = 0) {
            QTest::newRow(name) << messages.split(u' ', Qt::SkipEmptyParts) << later << expected;
        };
        row("nothing heard yet", "", "None None none - system choice");
        row("chrome with build", "chrome|1.4", "1.4 None chrome c com.google.Chrome");
        row("safari, no build", "safari|-", "None None safari s com.apple.Safari, by default");
        row("unknown senders", "chrome|3 Safari|4 -|6", "3 None chrome c com.google.Chrome");
        row("both", "chrome|1 safari|2", "1 2 safari cs com.apple.Safari, by default");
        row("build kept", "chrome|1 chrome|-", "1 None chrome c com.google.Chrome");
        row("empty build replaces", "chrome|1 chrome|", " None chrome c com.google.Chrome");
        row("heard 29 s ago", "chrome|1", "1 None chrome c com.google.Chrome", 29'000);
        row("heard 30 s ago", "chrome|1", "1 None chrome - com.google.Chrome", 30'000);
    }
    void recordMessage()
    {
        QFETCH(QStringList, messages);
        QFETCH(int, msecsLater);
        QFETCH(QString, expected);
        QDateTime now = start;
        RecordingLauncher launcher;
        BrowserController controller(launcher, [&] { return now; });
        const auto member = [](const QString &part) {
            return part == "-" ? std::nullopt : std::optional<QString>(part);
        };
        for (const QString &message : messages)
            controller.recordMessage(member(message.section(u'|', 0, 0)),
                                     member(message.section(u'|', 1)));
        now = start.addMSecs(msecsLater);
        controller.open(address);
        const auto recent = controller.mostRecentBrowser();
        const QString active = QString(controller.isActive(Browser::chrome) ? "c" : "") +
                               (controller.isActive(Browser::safari) ? "s" : "");
        QCOMPARE(QStringList({controller.build(Browser::chrome), controller.build(Browser::safari),
                              recent ? toRaw(*recent) : "none", active.isEmpty() ? "-" : active,
                              launcher.calls.join(", ")})
                     .join(u' '),
                 expected);
    }

    void isInstalledAsksForEachBrowsersBundleIdentifier()
    {
        RecordingLauncher launcher;
        const BrowserController controller(launcher);
        launcher.installed = "com.google.Chrome";
        QVERIFY(controller.isInstalled(Browser::chrome) &&
                !controller.isInstalled(Browser::safari));
        launcher.installed = "com.apple.Safari";
        QVERIFY(!controller.isInstalled(Browser::chrome) &&
                controller.isInstalled(Browser::safari));
    }

    // The site normalised ("=": unchanged), and searched `secondsLater` after logins were opened
    // for example.com (U-0, then U-1), example.org (U-9) and no host (U-E).
    void addressAndLoginHint_data()
    {
        QTest::addColumn<QString>("site");
        QTest::addColumn<QString>("address");
        QTest::addColumn<QString>("uuid");
        QTest::addColumn<int>("secondsLater");
        const auto row = [](const char *name, const QString &site, const QString &address,
                            const QString &uuid, int later = 0) {
            QTest::newRow(name) << site << (address == "=" ? site : address) << uuid << later;
        };
        row("complete address unchanged", "ftp://example.com/a?b#c", "=", "U-1");
        row("host gets https, a month later", "example.com", "https://example.com", "U-1", 2592000);
        row("capitals, trailing slash", "Example.COM/", "https://example.com", "U-1");
        row("clock set back 29 s", "https://example.com", "=", "U-1", -29);
        row("clock set back 31 s", "https://example.com", "=", "none", -31);
        row("subdomain", "https://www.example.com", "=", "none");
        row("other host", "https://example.org/x", "=", "U-9");
        row("host with path: relative path", "example.com/login", "none", "none");
        row("scheme refused", "ht tp://example.com/a", "none", "none");
        row("empty scheme", "://example.com", "none", "none");
        row("host refused", "example.com:443", "none", "none");
        row("no host", "", "https://", "none");
    }
    void addressAndLoginHint()
    {
        QFETCH(QString, site);
        QFETCH(QString, address);
        QFETCH(QString, uuid);
        QFETCH(int, secondsLater);
        const std::optional<QUrl> url = BrowserController::normalizedURL(site);
        QCOMPARE(url ? url->toString() : QStringLiteral("none"), address);

        QDateTime now = start;
        RecordingLauncher launcher;
        BrowserController controller(launcher, [&] { return now; });
        for (const QString login :
             {"example.com=U-0", "example.org=U-9", "example.com=U-1", "=U-E"})
            controller.recordLogin(login.section(u'=', 0, 0), login.section(u'=', 1));
        now = start.addSecs(secondsLater);
        QCOMPARE(controller.loginUUID(site).value_or("none"), uuid);
    }

    // Programs on the PATH, desktop entries by path ("@BIN@" is the PATH), and the command line
    // started, arguments separated by "|" ("URL" for the address).
    void linuxLauncher_data()
    {
        QTest::addColumn<QStringList>("programs");
        QTest::addColumn<Files>("files");
        QTest::addColumn<QString>("id");
        QTest::addColumn<QStringList>("launched");
        const auto row = [](const char *name, const QString &programs, const Files &files,
                            const QString &launched, const QString &id = "com.google.Chrome") {
            QTest::newRow(name) << programs.split(u' ', Qt::SkipEmptyParts) << files << id
                                << launched.split(u'|', Qt::SkipEmptyParts);
        };
        const QString home = "home/applications/", system = "system/applications/";
        const QString chrome = "google-chrome.desktop";
        const auto entry = [](const QString &body) { return "[Desktop Entry]\n" + body; };
        const auto user = [&](const QString &body) { return Files{{home + chrome, entry(body)}}; };
        row("nothing installed", "", {}, "");
        row("chrome before chromium on the PATH", "chromium google-chrome", {},
            "google-chrome|URL");
        row("entry before PATH: quotes, escapes, field codes", "browser-a chromium",
            user("Name=Chrome\nIcon=ic\n"
                 R"(Exec="@BIN@/browser-a" "-p=Profile 1" "100%" )"
                 R"("say \\"hi\\"" "--dir=a\sb" %i --c=%c 9%% %d %U)"),
            R"(browser-a|-p=Profile 1|100%|say "hi"|--dir=a b|--icon|ic|--c=Chrome|9%|URL)");
        row("no field code, action ignored", "browser-a browser-b",
            user("Exec=browser-a -i\n[Desktop Action n]\nExec=browser-b %U"), "browser-a|-i|URL");
        row("hidden user entry masks the system one", "browser-a browser-b chromium",
            {{home + chrome, entry("Hidden=true\nExec=browser-a %U")},
             {system + chrome, entry("Exec=browser-b %U")}},
            "chromium|URL");
        row("flatpak export", "browser-b",
            {{system + "com.google.Chrome.desktop", entry("Exec=browser-b run x.y @@u %U @@")}},
            "browser-b|run|x.y|@@u|URL|@@");
        row("broken entries are skipped", "browser-a chromium",
            {{home + chrome, entry("TryExec=gone\nExec=browser-a %U")},
             {home + "com.google.Chrome.desktop", entry("Exec=@BIN@/gone %U")},
             {home + "chromium.desktop", entry("Exec=browser-a \"-x %U")}},
            "chromium|URL");
        row("safari", "safari", {}, "", "com.apple.Safari");
    }
    void linuxLauncher()
    {
        QFETCH(QStringList, programs);
        QFETCH(Files, files);
        QFETCH(QString, id);
        QFETCH(QStringList, launched);
        // A desktop in a temporary directory; its programs write their command line to a file.
        QTemporaryDir root;
        QMap<QByteArray, QByteArray> saved;
        for (const char *name : {"XDG_DATA_HOME=home", "XDG_DATA_DIRS=system", "PATH=bin"}) {
            const QByteArrayList parts = QByteArray(name).split('=');
            saved.insert(parts[0], qgetenv(parts[0]));
            qputenv(parts[0], root.filePath(parts[1]).toLocal8Bit());
        }
        const auto restore = qScopeGuard([&] {
            for (auto it = saved.cbegin(); it != saved.cend(); ++it)
                qputenv(it.key(), it.value());
        });
        const QString out = root.filePath("launched");
        for (const QString &program : programs)
            files.insert("bin/" + program, QStringLiteral("#!/bin/sh\nprintf '%s\\n' '%1' \"$@\" > "
                                                          "'%2.tmp' && /bin/mv '%2.tmp' '%2'")
                                               .arg(program, out));
        for (auto it = files.cbegin(); it != files.cend(); ++it) {
            QFile file(root.filePath(it.key()));
            QVERIFY(QDir().mkpath(QFileInfo(file).path()) && file.open(QIODevice::WriteOnly));
            file.write((QString(*it).replace("@BIN@", root.filePath("bin")) + "\n").toUtf8());
            file.setPermissions(file.permissions() | QFileDevice::ExeOwner);
        }
        launched.replaceInStrings("URL", "https://example.com/a%20b?q=%C3%BC");

        LinuxBrowserLauncher launcher;
        QCOMPARE(launcher.isInstalled(id), !launched.isEmpty());
        QCOMPARE(launcher.openUrl(QUrl("https://example.com/a b?q=ü"), id), !launched.isEmpty());
        QFile file(out);
        // Rows that start nothing still wait a little, for a start that comes late.
        QCOMPARE(QTest::qWaitFor([&] { return file.exists(); }, launched.isEmpty() ? 300 : 10000),
                 !launched.isEmpty());
        if (file.open(QIODevice::ReadOnly))
            QCOMPARE(QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts), launched);
    }
};

QTEST_MAIN(TestBrowserController)
#include "tst_browsercontroller.moc"
